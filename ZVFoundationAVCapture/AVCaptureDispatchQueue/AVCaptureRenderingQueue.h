#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureRenderingTargetQueue.h"

/// A queue that renders.
class AVCaptureRenderingQueue
    : public AVCaptureDispatchQueueClassMessages<AVCaptureRenderingQueue, AVCaptureDispatchQueue> {
    NS_OBJECT(AVCaptureRenderingQueue)
public:
    static Class targetQueueClass() { return AVCaptureRenderingTargetQueue::classObject(); }
};
