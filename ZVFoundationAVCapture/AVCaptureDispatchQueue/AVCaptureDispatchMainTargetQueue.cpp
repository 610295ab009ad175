#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchMainTargetQueue.h"

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchFunctions.h"

NS_IMPLEMENTATION(AVCaptureDispatchMainTargetQueue, NSObject)
{
    type.classMessage("targetQueue", &AVCaptureDispatchMainTargetQueue::targetQueue);
}

dispatch_queue_t AVCaptureDispatchMainTargetQueue::targetQueue()
{
    static dispatch_queue_t const sAVCaptureDispatchMainTargetQueue = avcapture_dispatch_queue_create_with_target(
        "sAVCaptureDispatchMainTargetQueue", nullptr, dispatch_get_main_queue())
                                                                          .leak();
    return sAVCaptureDispatchMainTargetQueue;
}
