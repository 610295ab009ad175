#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureTargetQueueProtocol.h"

dispatch_queue_t AVCaptureTargetQueueProtocol::targetQueueOfClass(Class targetClass)
{
    if (!isPresent(targetClass))
        return nullptr;
    auto* const targetQueue = targetClass->classMessage<dispatch_queue_t()>("targetQueue");
    return targetQueue ? targetQueue() : nullptr;
}
