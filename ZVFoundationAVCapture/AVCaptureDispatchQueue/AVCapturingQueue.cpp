#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCapturingQueue.h"

NS_IMPLEMENTATION(AVCapturingQueue, AVCaptureDispatchQueue)
{
    type.classMessage("targetQueueClass", &AVCapturingQueue::targetQueueClass);
}
