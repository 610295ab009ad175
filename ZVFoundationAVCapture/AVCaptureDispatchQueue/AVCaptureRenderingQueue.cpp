#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureRenderingQueue.h"

NS_IMPLEMENTATION(AVCaptureRenderingQueue, AVCaptureDispatchQueue)
{
    type.classMessage("targetQueueClass", &AVCaptureRenderingQueue::targetQueueClass);
}
