#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchTargetQueue.h"

/// A queue of capture work.
class AVCapturingQueue : public AVCaptureDispatchQueueClassMessages<AVCapturingQueue, AVCaptureDispatchQueue> {
    NS_OBJECT(AVCapturingQueue)
public:
    static Class targetQueueClass() { return AVCaptureDispatchTargetQueue::classObject(); }
};
