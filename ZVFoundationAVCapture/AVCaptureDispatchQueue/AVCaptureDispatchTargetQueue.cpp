#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchTargetQueue.h"

NS_IMPLEMENTATION(AVCaptureDispatchTargetQueue, NSObject)
{
    type.classMessage("targetQueue", &AVCaptureDispatchTargetQueue::targetQueue);
}

dispatch_queue_t AVCaptureDispatchTargetQueue::targetQueue()
{
    static dispatch_queue_t const sAVCaptureDispatchTargetQueue
        = dispatch_queue_create("sAVCaptureDispatchTargetQueue", nullptr).leak();
    return sAVCaptureDispatchTargetQueue;
}
