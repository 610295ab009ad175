#include "CameraExtension/ExtensionPixelBufferRenderer.h"

NS_IMPLEMENTATION(ExtensionPixelBufferRenderer, ZVCMIOPixelBufferRenderer)
{
    type.classMessage("setPixelBufferSurfaceValues:", &ExtensionPixelBufferRenderer::setPixelBufferSurfaceValues);
}

ExtensionPixelBufferRenderer::ExtensionPixelBufferRenderer(CMVideoDimensions dimensions, double frameRate)
    : ZVCMIOPixelBufferRenderer(dimensions, frameRate)
{
    usePixelBufferAllocationPool = true;
    invertColors();
}

Ref<CFDictionary> ExtensionPixelBufferRenderer::_pixelBufferSurfaceAnnotationValues()
{
    return CFDictionary::create({ { ZVCMIOPixelBufferRenderer_Name, CFSTR("Extension") },
        { ZVCMIOPixelBufferRenderer_Extension, kCFBooleanTrue } });
}

void ExtensionPixelBufferRenderer::setPixelBufferSurfaceValues(CVPixelBufferRef buffer)
{
    const auto values = _pixelBufferSurfaceAnnotationValues();
    _setPixelBufferSurfaceAnnotationValues_surfaceValues(buffer, values);
}
