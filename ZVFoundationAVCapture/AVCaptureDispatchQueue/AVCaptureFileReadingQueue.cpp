#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureFileReadingQueue.h"

NS_IMPLEMENTATION(AVCaptureFileReadingQueue, AVCaptureDispatchQueue)
{
    registerClassMessages(type);
}
