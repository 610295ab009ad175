#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureRenderingTargetQueue.h"

NS_IMPLEMENTATION(AVCaptureRenderingTargetQueue, NSObject)
{
    type.classMessage("targetQueue", &AVCaptureRenderingTargetQueue::targetQueue);
}

dispatch_queue_t AVCaptureRenderingTargetQueue::targetQueue()
{
    static dispatch_queue_t const sAVCaptureRenderingTargetQueue
        = dispatch_queue_create("sAVCaptureRenderingTargetQueue", nullptr).leak();
    return sAVCaptureRenderingTargetQueue;
}
