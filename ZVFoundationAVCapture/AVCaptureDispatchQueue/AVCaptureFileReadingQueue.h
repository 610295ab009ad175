#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDiskIOTargetQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"

/// A queue that reads files.
class AVCaptureFileReadingQueue
    : public AVCaptureDispatchQueueClassMessages<AVCaptureFileReadingQueue, AVCaptureDispatchQueue> {
    NS_OBJECT(AVCaptureFileReadingQueue)
public:
    static Class targetQueueClass() { return AVCaptureDiskIOTargetQueue::classObject(); }
};
