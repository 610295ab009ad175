#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDiskIOTargetQueue.h"

NS_IMPLEMENTATION(AVCaptureDiskIOTargetQueue, NSObject)
{
    type.classMessage("targetQueue", &AVCaptureDiskIOTargetQueue::targetQueue);
}

dispatch_queue_t AVCaptureDiskIOTargetQueue::targetQueue()
{
    static dispatch_queue_t const sAVDiskIOTargetQueue = dispatch_queue_create("sAVDiskIOTargetQueue", nullptr).leak();
    return sAVDiskIOTargetQueue;
}
