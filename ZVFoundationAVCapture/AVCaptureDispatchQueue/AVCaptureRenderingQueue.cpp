#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureRenderingQueue.h"

NS_IMPLEMENTATION(AVCaptureRenderingQueue, AVCaptureDispatchQueue)
{
    registerClassMessages(type);
}
