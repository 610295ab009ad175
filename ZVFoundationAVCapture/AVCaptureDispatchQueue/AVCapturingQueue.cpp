#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCapturingQueue.h"

NS_IMPLEMENTATION(AVCapturingQueue, AVCaptureDispatchQueue)
{
    registerClassMessages(type);
}
