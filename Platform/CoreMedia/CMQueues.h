#pragma once

#include "Platform/CoreMedia/CMSampleBuffer.h"

#include <deque>
#include <functional>
#include <mutex>

inline constexpr OSStatus kCMBufferQueueError_InvalidBuffer = -12769;
inline constexpr OSStatus kCMBufferQueueError_RequiredParameterMissing = -12761;
inline constexpr OSStatus kCMBufferQueueError_QueueIsFull = -12764;
inline constexpr OSStatus kCMSimpleQueueError_QueueIsFull = -12773;
inline constexpr OSStatus kCMSimpleQueueError_ParameterOutOfRange = -12772;
inline constexpr OSStatus kCMSimpleQueueError_RequiredParameterMissing = -12771;

/// How a buffer queue looks at its buffers; only the unsorted form exists here.
struct CMBufferCallbacksStruct { };
const CMBufferCallbacksStruct* CMBufferQueueGetCallbacksForUnsortedSampleBuffers();

/// Samples in the order in which they came, up to a fixed number. Any thread may use it; nothing waits.
class CMBufferQueue final : public CFType {
public:
    explicit CMBufferQueue(std::size_t capacity)
        : mCapacity(capacity)
    {
    }
    OSStatus enqueue(CMSampleBufferRef sampleBuffer);
    Ref<CMSampleBuffer> dequeue();
    std::size_t count() const;
    CFTypeID typeID() const noexcept override;

private:
    const std::size_t mCapacity;
    mutable std::mutex mLock;
    std::deque<Ref<CMSampleBuffer>> mSamples;
};

using CMBufferQueueRef = CMBufferQueue*;

inline CFTypeID CMBufferQueueGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CMBufferQueue" };
    return identifier.value();
}
/// Fail point "CMBufferQueueCreate".
OSStatus CMBufferQueueCreate(
    CFAllocatorRef allocator, CFIndex capacity, const CMBufferCallbacksStruct* callbacks, Ref<CMBufferQueue>* result);
/// Adds \p sampleBuffer to the end of the queue and takes a reference to it.
/// \return 0; kCMBufferQueueError_QueueIsFull when `capacity` samples wait already, and then nothing is held;
/// kCMBufferQueueError_RequiredParameterMissing for a null queue or sample. Fail point "CMBufferQueueEnqueue".
OSStatus CMBufferQueueEnqueue(CMBufferQueueRef queue, CMSampleBufferRef sampleBuffer);
/// The first sample, now the caller's; null when the queue is null or empty.
Ref<CMSampleBuffer> CMBufferQueueDequeueAndRetain(CMBufferQueueRef queue);

/// Object pointers in the order in which they came, up to a fixed number. Takes no references: who enqueues gives one
/// away with each pointer and who dequeues gets it. Any thread may use it; nothing waits.
class CMSimpleQueue final : public CFType {
public:
    explicit CMSimpleQueue(std::size_t capacity)
        : mCapacity(capacity)
    {
    }
    OSStatus enqueue(CFType* element);
    CFType* dequeue();
    std::size_t count() const;
    std::size_t capacity() const noexcept { return mCapacity; }
    CFTypeID typeID() const noexcept override;

    /// Has \p added called after each element was added, on the thread that added it, with the queue unlocked. To be
    /// set before the queue is given to anybody.
    void setEnqueueHandler(std::function<void(CMSimpleQueue&, CFType* element)> added) { mAdded = std::move(added); }

private:
    const std::size_t mCapacity;
    mutable std::mutex mLock;
    std::deque<CFType*> mElements;
    std::function<void(CMSimpleQueue&, CFType*)> mAdded;
};

using CMSimpleQueueRef = CMSimpleQueue*;

inline CFTypeID CMSimpleQueueGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CMSimpleQueue" };
    return identifier.value();
}
/// Fail point "CMSimpleQueueCreate".
OSStatus CMSimpleQueueCreate(CFAllocatorRef allocator, std::int32_t capacity, Ref<CMSimpleQueue>* result);
/// Fail point "CMSimpleQueueEnqueue".
OSStatus CMSimpleQueueEnqueue(CMSimpleQueueRef queue, CFType* element);
CFType* CMSimpleQueueDequeue(CMSimpleQueueRef queue);
std::int32_t CMSimpleQueueGetCount(CMSimpleQueueRef queue);
std::int32_t CMSimpleQueueGetCapacity(CMSimpleQueueRef queue);
