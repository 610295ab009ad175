#pragma once

#include "Platform/AVFoundation/AVCaptureSession.h"
#include "Platform/AVFoundation/CaptureSource.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

/// Something that happens once and can be waited for.
class CaptureLatch {
public:
    void open();
    bool isOpen() const;
    /// Whether it is open at \p deadline.
    bool waitUntil(std::chrono::steady_clock::time_point deadline) const;

private:
    mutable std::mutex mLock;
    mutable std::condition_variable mOpened;
    bool mIsOpen = false;
};

/// The closing of a device: not waited for any more when it takes too long.
struct CaptureClosing {
    std::shared_ptr<CaptureLatch> closed;
    std::chrono::steady_clock::time_point deadline;
};

/// One source at work for an output: a device opened once, or what stands in for it.
///
/// Passes on what the source brings, for as long as it is wanted, and notes when something came last.
class CaptureAttempt final : public CaptureSink {
public:
    struct Target {
        Ref<AVCaptureOutput> output;
        CMVideoDimensions preferred;
        std::shared_ptr<const std::atomic<bool>> delivering;
    };
    /// \param delivers  told, on the source's thread, of the first sample
    /// \param failed  told, on any thread, that the source brings nothing more
    CaptureAttempt(Target target, std::function<void()> delivers, std::function<void(Ref<NSError>)> failed);
    ~CaptureAttempt() override;

    /// Where `start` and `stop` are to run, in this order.
    dispatch_queue_t queue() const { return mQueue; }
    /// Waits for \p before, makes the device's source and starts it. Does nothing once it was given up. May take its
    /// time: that of the slowest driver.
    ///
    /// \param pause  is waited first, in case that it is given up: somebody goes through the cameras quickly
    Ref<NSError> start(
        const AVCaptureDevice& device, const std::vector<CaptureClosing>& before, std::chrono::milliseconds pause);
    /// Stops the source and opens what `closed` gives; may take its time.
    void stop();
    /// Lets nothing more through, and has a `start` that still runs return as soon as it can. Any thread.
    void giveUp();
    bool isGivenUp() const { return mGivenUp.isOpen(); }
    /// Opens when the device is free for others.
    const std::shared_ptr<CaptureLatch>& closed() const { return mClosed; }
    /// When the last sample came, on the host clock; when it was made, before the first.
    std::int64_t lastArrival() const { return mLastArrival.load(std::memory_order_relaxed); }

    CMVideoDimensions requestedDimensions() const override;
    CMVideoDimensions preferredDimensions() const override { return mTarget.preferred; }
    bool admitPicture() override;
    void pictureCame(Ref<CVPixelBuffer> picture, std::int64_t hostTime, std::int64_t duration) override;
    void pictureFailed() override;
    void soundCame(std::vector<std::byte> samples, std::int64_t hostTime) override;
    void sourceFailed(Ref<NSError> error) override;

private:
    void noteArrival();
    bool passes() const { return !isGivenUp() && mTarget.delivering->load(); }

    const Target mTarget;
    AVCaptureVideoDataOutput* const mVideoOutput;
    AVCaptureAudioDataOutput* const mAudioOutput;
    const std::function<void()> mDelivers;
    const std::function<void(Ref<NSError>)> mFailed;
    const std::uint64_t mNumber; ///< above those of the attempts before
    const std::shared_ptr<CaptureLatch> mClosed = std::make_shared<CaptureLatch>();
    const Ref<dispatch_queue> mQueue;
    CaptureLatch mGivenUp;
    std::atomic<bool> mHasDelivered { false };
    std::atomic<std::int64_t> mLastArrival;
    std::mutex mSourceLock; ///< guards the pointer, not the source
    std::shared_ptr<CaptureSource> mSource;
    bool mIsStarting = false;
};
