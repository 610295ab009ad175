#pragma once

#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOPixelBufferRenderer.h"

/// The picture source as the extension has it: its surfaces say that they are the extension's, and they come from the
/// pool, since the picture runs for as long as somebody watches and no application is there.
class ExtensionPixelBufferRenderer : public ZVCMIOPixelBufferRenderer {
    NS_OBJECT(ExtensionPixelBufferRenderer)
public:
    ExtensionPixelBufferRenderer(CMVideoDimensions dimensions, double frameRate);

    static Ref<CFDictionary> _pixelBufferSurfaceAnnotationValues();
    static void setPixelBufferSurfaceValues(CVPixelBufferRef buffer);
};
