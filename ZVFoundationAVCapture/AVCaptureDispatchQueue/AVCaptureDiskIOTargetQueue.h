#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureTargetQueueProtocol.h"

/// Reading and writing files share it, so disk work never overlaps.
class AVCaptureDiskIOTargetQueue : public NSObject, public AVCaptureTargetQueueProtocol {
    NS_OBJECT(AVCaptureDiskIOTargetQueue)
public:
    static dispatch_queue_t targetQueue();
};
