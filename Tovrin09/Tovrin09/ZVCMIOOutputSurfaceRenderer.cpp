#include "Tovrin09/Tovrin09/ZVCMIOOutputSurfaceRenderer.h"

#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

NS_IMPLEMENTATION(ZVCMIOOutputSurfaceRenderer, NSObject)
{
    type.message("setInputPixelBuffer:", &ZVCMIOOutputSurfaceRenderer::setInputPixelBuffer);
    type.message("copyOutputPixelBuffer", &ZVCMIOOutputSurfaceRenderer::copyOutputPixelBuffer);
    type.message("_constructRenderer", &ZVCMIOOutputSurfaceRenderer::_constructRenderer);
}

void ZVCMIOOutputSurfaceRenderer::setInputPixelBuffer(CVPixelBufferRef buffer)
{
    if (!mRenderer.IsConstructed())
        _constructRenderer();
    mRenderer.SetInputPixelBuffer(buffer);
}

void ZVCMIOOutputSurfaceRenderer::_constructRenderer()
{
    constexpr auto size = CMIOOutputViewController_CMIOExtension_FrameSize;
    mRenderer.Construct({ size.width, size.height }, kCVPixelFormatType_32BGRA);
}
