#include "ZVFoundationAVCapture/AVCaptureCommon/AVRecorderController.h"

NS_IMPLEMENTATION(AVRecorderController, AVCaptureSessionRecorderController) { }
