#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureFileWritingQueue.h"

NS_IMPLEMENTATION(AVCaptureFileWritingQueue, AVCaptureDispatchQueue)
{
    type.classMessage("targetQueueClass", &AVCaptureFileWritingQueue::targetQueueClass);
}
