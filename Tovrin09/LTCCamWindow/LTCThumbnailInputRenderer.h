#pragma once

#include "ZVFoundationAVCapture/AVCaptureCommon/AVCapturePixelBufferRenderer.h"

/// Makes the small picture on which the tiles of the picker show their compositions. Main thread.
class LTCThumbnailInputRenderer : public AVCapturePixelBufferRenderer {
    NS_OBJECT(LTCThumbnailInputRenderer)
public:
    LTCThumbnailInputRenderer();
};
