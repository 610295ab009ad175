#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDiskIOTargetQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"

/// A queue that reads files.
class AVCaptureFileReadingQueue : public AVCaptureDispatchQueueSubclass<AVCaptureFileReadingQueue> {
    NS_OBJECT(AVCaptureFileReadingQueue)
public:
    using AVCaptureDispatchQueueSubclass::AVCaptureDispatchQueueSubclass;
    static Class targetQueueClass() { return AVCaptureDiskIOTargetQueue::classObject(); }
};
