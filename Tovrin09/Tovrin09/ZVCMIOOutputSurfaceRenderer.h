#pragma once

#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/PixelBufferRendererGlobalDoubleBuffered.h"

/// Renders pictures of any size into two global surfaces of the virtual camera's size, which are made with the first
/// one. That one must not race with another.
class ZVCMIOOutputSurfaceRenderer : public NSObject {
    NS_OBJECT(ZVCMIOOutputSurfaceRenderer)
public:
    ZVCMIOOutputSurfaceRenderer() = default;

    void setInputPixelBuffer(CVPixelBufferRef buffer);
    /// The picture that was set last; null before the first.
    Ref<CVPixelBuffer> copyOutputPixelBuffer() { return mRenderer.CopyOutputPixelBuffer(); }
    void _constructRenderer();

private:
    ZVCMIO::PixelBufferRendererGlobalDoubleBuffered mRenderer;
};
