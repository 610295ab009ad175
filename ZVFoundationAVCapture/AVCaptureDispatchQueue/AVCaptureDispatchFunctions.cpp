#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchFunctions.h"

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchMainTargetQueue.h"

Ref<dispatch_queue> avcapture_dispatch_queue_create_with_target(
    const char* label, const void* attributes, dispatch_queue_t target)
{
    auto queue = dispatch_queue_create(label, attributes);
    if (queue)
        dispatch_set_target_queue(queue, target);
    return queue;
}

Ref<dispatch_queue> avcapture_dispatch_queue_create_serial_with_target(const char* label, dispatch_queue_t target)
{
    return avcapture_dispatch_queue_create_with_target(label, nullptr, target);
}

void AVCaptureDispatchMainQueue_AsyncIfDispatch(dispatch_block_t block)
{
    if (!block)
        return;
    if (__NSIsRunningOnMainThread())
        block();
    else
        dispatch_async(AVCaptureDispatchMainTargetQueue::targetQueue(), std::move(block));
}
