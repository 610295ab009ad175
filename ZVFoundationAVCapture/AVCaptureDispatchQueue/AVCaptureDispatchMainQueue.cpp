#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchMainQueue.h"

#include "WithRequirements/NSIsRunningOnMainThread.h"

NS_IMPLEMENTATION(AVCaptureDispatchMainQueue, AVCaptureDispatchQueue)
{
    registerClassMessages(type);
    type.message("asyncIfNotOnMainThread:", &AVCaptureDispatchMainQueue::asyncIfNotOnMainThread);
}

void AVCaptureDispatchMainQueue::asyncIfNotOnMainThread(dispatch_block_t block)
{
    if (!block)
        return;
    if (__NSIsRunningOnMainThread())
        block();
    else
        async(std::move(block));
}
