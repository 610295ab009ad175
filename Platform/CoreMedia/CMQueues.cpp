#include "Platform/CoreMedia/CMQueues.h"

#include "Platform/CoreFoundation/FailPoint.h"

const CMBufferCallbacksStruct* CMBufferQueueGetCallbacksForUnsortedSampleBuffers()
{
    static const CMBufferCallbacksStruct callbacks;
    return &callbacks;
}

CFTypeID CMBufferQueue::typeID() const noexcept
{
    return CMBufferQueueGetTypeID();
}

OSStatus CMBufferQueue::enqueue(CMSampleBufferRef sampleBuffer)
{
    const std::lock_guard guard(mLock);
    if (mSamples.size() >= mCapacity)
        return kCMBufferQueueError_QueueIsFull;
    mSamples.emplace_back(sampleBuffer);
    return noErr;
}

Ref<CMSampleBuffer> CMBufferQueue::dequeue()
{
    const std::lock_guard guard(mLock);
    if (mSamples.empty())
        return nullptr;
    auto first = std::move(mSamples.front());
    mSamples.pop_front();
    return first;
}

std::size_t CMBufferQueue::count() const
{
    const std::lock_guard guard(mLock);
    return mSamples.size();
}

OSStatus CMBufferQueueCreate(CFAllocatorRef /*allocator*/, CFIndex capacity, const CMBufferCallbacksStruct* callbacks,
    Ref<CMBufferQueue>* result)
{
    *result = nullptr;
    if (const auto status = FAIL_POINT("CMBufferQueueCreate"))
        return *status;
    if (!callbacks || capacity < 0)
        return kCMBufferQueueError_RequiredParameterMissing;
    *result = make<CMBufferQueue>(static_cast<std::size_t>(capacity));
    return noErr;
}

OSStatus CMBufferQueueEnqueue(CMBufferQueueRef queue, CMSampleBufferRef sampleBuffer)
{
    if (const auto status = FAIL_POINT("CMBufferQueueEnqueue"))
        return *status;
    if (!queue || !sampleBuffer)
        return kCMBufferQueueError_RequiredParameterMissing;
    return queue->enqueue(sampleBuffer);
}

Ref<CMSampleBuffer> CMBufferQueueDequeueAndRetain(CMBufferQueueRef queue)
{
    return queue ? queue->dequeue() : nullptr;
}

CFTypeID CMSimpleQueue::typeID() const noexcept
{
    return CMSimpleQueueGetTypeID();
}

OSStatus CMSimpleQueue::enqueue(CFType* element)
{
    {
        const std::lock_guard guard(mLock);
        if (mElements.size() >= mCapacity)
            return kCMSimpleQueueError_QueueIsFull;
        mElements.push_back(element);
    }
    if (mAdded)
        mAdded(*this, element);
    return noErr;
}

CFType* CMSimpleQueue::dequeue()
{
    const std::lock_guard guard(mLock);
    if (mElements.empty())
        return nullptr;
    CFType* const first = mElements.front();
    mElements.pop_front();
    return first;
}

std::size_t CMSimpleQueue::count() const
{
    const std::lock_guard guard(mLock);
    return mElements.size();
}

OSStatus CMSimpleQueueCreate(CFAllocatorRef /*allocator*/, std::int32_t capacity, Ref<CMSimpleQueue>* result)
{
    *result = nullptr;
    if (const auto status = FAIL_POINT("CMSimpleQueueCreate"))
        return *status;
    if (capacity <= 0)
        return kCMSimpleQueueError_ParameterOutOfRange;
    *result = make<CMSimpleQueue>(static_cast<std::size_t>(capacity));
    return noErr;
}

OSStatus CMSimpleQueueEnqueue(CMSimpleQueueRef queue, CFType* element)
{
    if (const auto status = FAIL_POINT("CMSimpleQueueEnqueue"))
        return *status;
    if (!queue || !element)
        return kCMSimpleQueueError_RequiredParameterMissing;
    return queue->enqueue(element);
}

CFType* CMSimpleQueueDequeue(CMSimpleQueueRef queue)
{
    return queue ? queue->dequeue() : nullptr;
}

std::int32_t CMSimpleQueueGetCount(CMSimpleQueueRef queue)
{
    return queue ? static_cast<std::int32_t>(queue->count()) : 0;
}

std::int32_t CMSimpleQueueGetCapacity(CMSimpleQueueRef queue)
{
    return queue ? static_cast<std::int32_t>(queue->capacity()) : 0;
}
