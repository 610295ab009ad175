#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchSerialTargetQueue.h"

NS_IMPLEMENTATION(AVCaptureDispatchSerialTargetQueue, NSObject)
{
    type.classMessage("targetQueue", &AVCaptureDispatchSerialTargetQueue::targetQueue);
}

dispatch_queue_t AVCaptureDispatchSerialTargetQueue::targetQueue()
{
    static dispatch_queue_t const sAVCaptureDispatchSerialTargetQueue
        = dispatch_queue_create("sAVCaptureDispatchSerialTargetQueue", nullptr).leak();
    return sAVCaptureDispatchSerialTargetQueue;
}
