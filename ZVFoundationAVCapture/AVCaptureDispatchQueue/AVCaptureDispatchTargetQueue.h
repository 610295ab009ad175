#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureTargetQueueProtocol.h"

/// What video and audio capture share: their callbacks never overlap.
class AVCaptureDispatchTargetQueue : public NSObject, public AVCaptureTargetQueueProtocol {
    NS_OBJECT(AVCaptureDispatchTargetQueue)
public:
    static dispatch_queue_t targetQueue();
};
