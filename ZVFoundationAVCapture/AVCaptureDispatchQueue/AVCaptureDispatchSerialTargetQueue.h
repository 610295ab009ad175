#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureTargetQueueProtocol.h"

/// What queues without another family share.
class AVCaptureDispatchSerialTargetQueue : public NSObject, public AVCaptureTargetQueueProtocol {
    NS_OBJECT(AVCaptureDispatchSerialTargetQueue)
public:
    static dispatch_queue_t targetQueue();
};
