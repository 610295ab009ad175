#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureRenderingTargetQueue.h"

/// A queue that renders.
class AVCaptureRenderingQueue : public AVCaptureDispatchQueueSubclass<AVCaptureRenderingQueue> {
    NS_OBJECT(AVCaptureRenderingQueue)
public:
    using AVCaptureDispatchQueueSubclass::AVCaptureDispatchQueueSubclass;
    static Class targetQueueClass() { return AVCaptureRenderingTargetQueue::classObject(); }
};
