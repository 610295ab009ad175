#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDiskIOTargetQueue.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchQueue.h"

/// A queue that writes files.
class AVCaptureFileWritingQueue : public AVCaptureDispatchQueueSubclass<AVCaptureFileWritingQueue> {
    NS_OBJECT(AVCaptureFileWritingQueue)
public:
    using AVCaptureDispatchQueueSubclass::AVCaptureDispatchQueueSubclass;
    static Class targetQueueClass() { return AVCaptureDiskIOTargetQueue::classObject(); }
};
