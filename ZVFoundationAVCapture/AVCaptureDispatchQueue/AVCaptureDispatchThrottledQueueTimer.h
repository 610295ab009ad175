#pragma once

#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAtomicReference.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchThrottledQueueTimerDelegateProtocol.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureWeakOptional.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCapturingQueue.h"

/// The frame-rate clock of a capture client. On the main queue it ticks at the video frame rate and adds a slow beat
/// about every nine seconds; and it posts work to a queue of its own only while none runs there.
///
/// Whether it runs is told by a flag and by the source of its ticks, which go their own ways: lowering the flag leaves
/// the source ticking, and `invalidate` takes the source and leaves the flag. Posted work holds the timer until it has
/// run, so the owner outlives it: the end of the timer waits for the queue and would wait for itself there.
class AVCaptureDispatchThrottledQueueTimer : public NSObject {
    NS_OBJECT(AVCaptureDispatchThrottledQueueTimer)
public:
    AVCaptureDispatchThrottledQueueTimer();
    ~AVCaptureDispatchThrottledQueueTimer() override;

    /// Held weakly. It is an `AVCaptureDispatchThrottledQueueTimerDelegateProtocol`.
    NSObject* delegate() const { return _weakDelegate.retainedAndAutoreleasedOrNil(); }
    void setDelegate(NSObject* delegate) { _weakDelegate = delegate; }

    /// Null after `invalidate`.
    AVCapturingQueue* capturingQueue() const { return _capturingQueue.get(); }
    void setCapturingQueue(AVCapturingQueue* queue) { _capturingQueue.set(queue); }

    bool videoTimerRunning() const { return videoTimerRunningValue(); }
    void setVideoTimerRunning(bool running);
    /// Ticks a second.
    std::uint64_t videoFrameRate() const { return videoFrameRateValue(); }
    /// A running timer keeps its interval until it is made anew; the slow beat follows at once.
    void setVideoFrameRate(std::uint64_t rate);
    // The bare values behind the two.
    bool videoTimerRunningValue() const { return _videoTimerRunningValue.load(std::memory_order_relaxed); }
    void setVideoTimerRunningValue(bool running);
    std::uint64_t videoFrameRateValue() const { return _videoFrameRateValue.load(std::memory_order_relaxed); }
    void setVideoFrameRateValue(std::uint64_t rate);

    /// Ends the ticks, waits until the capturing queue is empty, and lets go of it. Not to be called on that queue.
    void invalidate();
    void invalidateTimer();
    void invalidateTimerAndDelegate();
    /// Ends the ticks by letting go of their source; it is not cancelled.
    void invalidateDispatchTimer();

    /// Posts \p block to the capturing queue unless something runs there, in which case it is dropped. Work that only
    /// waits does not count, so a burst of calls on an idle queue gets through. Any thread; not after `invalidate`.
    void dispatch_async_when_queue_empty(const dispatch_block_t& block);

    /// One tick, on the main queue.
    void masterTimer(NSObject* sender);
    /// Makes and starts the source; no source for a rate of 0, which is reported.
    void _createCaptureDispatchTimerWithFrameRateFPS(std::uint64_t captureFrameRateFPS);

protected:
    // Open to subclasses.
    AVCapture::WeakOptional _weakDelegate;
    AVCaptureAtomicReference<AVCapturingQueue> _capturingQueue;
    Ref<dispatch_source> _dispatch_timer_source;
    std::atomic<std::uint64_t> _videoFrameRateValue { 0 };
    std::atomic<bool> _videoTimerRunningValue { false };
    /// Ticks since the last slow beat.
    std::atomic<std::int32_t> _throttledLazyRefreshCounter { 0 };
    /// Closures that run on the capturing queue at present.
    std::atomic<std::int32_t> _throttledMainQueueFullnessCount { 0 };

private:
    void runCounted(const dispatch_block_t& block);
};
