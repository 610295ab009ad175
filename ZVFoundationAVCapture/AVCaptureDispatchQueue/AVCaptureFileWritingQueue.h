#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDiskIOTargetQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"

/// A queue that writes files.
class AVCaptureFileWritingQueue
    : public AVCaptureDispatchQueueClassMessages<AVCaptureFileWritingQueue, AVCaptureDispatchQueue> {
    NS_OBJECT(AVCaptureFileWritingQueue)
public:
    static Class targetQueueClass() { return AVCaptureDiskIOTargetQueue::classObject(); }
};
