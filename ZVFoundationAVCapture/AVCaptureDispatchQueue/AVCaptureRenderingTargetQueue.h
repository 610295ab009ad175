#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureTargetQueueProtocol.h"

/// All rendering shares it.
class AVCaptureRenderingTargetQueue : public NSObject, public AVCaptureTargetQueueProtocol {
    NS_OBJECT(AVCaptureRenderingTargetQueue)
public:
    static dispatch_queue_t targetQueue();
};
