#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchTargetQueue.h"

/// A queue of capture work.
class AVCapturingQueue : public AVCaptureDispatchQueueSubclass<AVCapturingQueue> {
    NS_OBJECT(AVCapturingQueue)
public:
    using AVCaptureDispatchQueueSubclass::AVCaptureDispatchQueueSubclass;
    static Class targetQueueClass() { return AVCaptureDispatchTargetQueue::classObject(); }
};
