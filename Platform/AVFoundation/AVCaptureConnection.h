#pragma once

#include "Platform/AVFoundation/AVCaptureAudioChannel.h"
#include "Platform/AVFoundation/AVMediaFormat.h"
#include "Platform/CoreFoundation/CFCollections.h"

#include <array>
#include <atomic>
#include <mutex>
#include <span>

class AVCaptureDeviceInput;
class AVCaptureOutput;

/// The road from one input of a session to one output. A session makes a new one whenever input or output change.
class AVCaptureConnection : public NSObject {
    NS_OBJECT(AVCaptureConnection)
public:
    AVCaptureConnection(AVMediaType mediaType, AVCaptureDeviceInput* input, AVCaptureOutput* output);
    ~AVCaptureConnection() override;

    AVMediaType mediaType() const { return mMediaType; }
    AVCaptureDeviceInput* input() const { return mInput; }
    /// Null when the output has gone.
    Ref<AVCaptureOutput> output() const { return mOutput.strongReference(); }
    /// False once the session has replaced or dropped it.
    bool isActive() const { return mActive.load(std::memory_order_relaxed); }
    void setActive(bool active) { mActive.store(active, std::memory_order_relaxed); }

    /// An `AVCaptureAudioChannel` for each channel of the sound, left and right; none where there is no sound. They
    /// tell how loud it is also where no delegate takes the samples. From any thread.
    CFArray* audioChannels() const { return mAudioChannels; }
    /// The newest samples, oldest first, the mean of the channels, from -1 to 1, at 48,000 a second: as many as there
    /// are, up to \p count and to 4,096. From any thread.
    std::vector<float> latestSamples(std::size_t count) const;

    /// Takes the next interleaved samples of the stream; called by the output that delivers them.
    void measure(std::span<const std::int16_t> samples);
    /// There is no sound any more: the session has stopped.
    void forgetSound();

private:
    static constexpr std::size_t kept = 4096;
    const AVMediaType mMediaType;
    const Ref<AVCaptureDeviceInput> mInput;
    const WeakRef<AVCaptureOutput> mOutput;
    std::atomic<bool> mActive { true };
    const Ref<CFArray> mAudioChannels;
    mutable std::mutex mLock; ///< held for some microseconds; of the channels' measuring too
    std::array<float, kept> mSamples {};
    std::size_t mWritten = 0;
};
