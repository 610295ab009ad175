#pragma once

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureTargetQueueProtocol.h"

/// A queue of its own in front of the main queue.
class AVCaptureDispatchMainTargetQueue : public NSObject, public AVCaptureTargetQueueProtocol {
    NS_OBJECT(AVCaptureDispatchMainTargetQueue)
public:
    static dispatch_queue_t targetQueue();
};
