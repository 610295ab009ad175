#pragma once

#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureSessionRecorderController.h"

/// The recorder controller as the interface file names it.
class AVRecorderController : public AVCaptureSessionRecorderController {
    NS_OBJECT(AVRecorderController)
public:
    AVRecorderController() = default;
};
