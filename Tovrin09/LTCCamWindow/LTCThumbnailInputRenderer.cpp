#include "Tovrin09/LTCCamWindow/LTCThumbnailInputRenderer.h"

NS_IMPLEMENTATION(LTCThumbnailInputRenderer, AVCapturePixelBufferRenderer) { }

LTCThumbnailInputRenderer::LTCThumbnailInputRenderer()
    : AVCapturePixelBufferRenderer({ 640, 360 }, kCVPixelFormatType_32BGRA)
{
}
