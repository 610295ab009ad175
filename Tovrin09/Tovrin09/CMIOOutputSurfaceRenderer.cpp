#include "Tovrin09/Tovrin09/CMIOOutputSurfaceRenderer.h"

#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

NS_IMPLEMENTATION(CMIOOutputSurfaceRenderer, AVCapturePixelBufferRendererDoubleBufferedGlobal) { }

CMIOOutputSurfaceRenderer::CMIOOutputSurfaceRenderer()
    : AVCapturePixelBufferRendererDoubleBufferedGlobal({ CMIOOutputViewController_CMIOExtension_FrameSize.width,
                                                           CMIOOutputViewController_CMIOExtension_FrameSize.height },
        kCVPixelFormatType_32BGRA)
{
}
