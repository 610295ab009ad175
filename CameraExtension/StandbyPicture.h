#pragma once

#include "CameraExtension/ExtensionPixelBufferRenderer.h"

/// What the camera shows while no application feeds it. Nothing is made before the first picture is asked for.
class StandbyPicture {
public:
    StandbyPicture(std::uint32_t width, std::uint32_t height, std::uint32_t framesPerSecond);
    /// The picture of this moment; null where memory is short.
    Ref<CVPixelBuffer> picture();

private:
    const CMVideoDimensions mDimensions;
    const double mFrameRate;
    Ref<ExtensionPixelBufferRenderer> mRenderer;
};
