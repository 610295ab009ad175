#pragma once

class AVCaptureDispatchThrottledQueueTimer;

/// Told, on the main queue, of the beats of a timer.
class AVCaptureDispatchThrottledQueueTimerDelegateProtocol {
public:
    /// Every tick. Required: it is sent without a test.
    virtual void throttledQueueMasterTimer(AVCaptureDispatchThrottledQueueTimer* /*timer*/) { }
    /// The slow beat.
    virtual void throttledQueueLazyTimer(AVCaptureDispatchThrottledQueueTimer* /*timer*/) { }

protected:
    ~AVCaptureDispatchThrottledQueueTimerDelegateProtocol() = default;
};
