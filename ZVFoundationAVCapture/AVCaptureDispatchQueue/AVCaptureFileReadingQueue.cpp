#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureFileReadingQueue.h"

NS_IMPLEMENTATION(AVCaptureFileReadingQueue, AVCaptureDispatchQueue)
{
    type.classMessage("targetQueueClass", &AVCaptureFileReadingQueue::targetQueueClass);
}
