#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureFileWritingQueue.h"

NS_IMPLEMENTATION(AVCaptureFileWritingQueue, AVCaptureDispatchQueue)
{
    registerClassMessages(type);
}
