#pragma once

#include "ZVFoundationAVCapture/AVCaptureCommon/AVCapturePixelBufferRendererDoubleBufferedGlobal.h"

/// Two global surfaces of the virtual camera's size, for a context of an interface file.
class CMIOOutputSurfaceRenderer : public AVCapturePixelBufferRendererDoubleBufferedGlobal {
    NS_OBJECT(CMIOOutputSurfaceRenderer)
public:
    CMIOOutputSurfaceRenderer();
};
