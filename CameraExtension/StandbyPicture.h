#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"

/// What the camera shows while no application feeds it.
class StandbyPicture {
public:
    StandbyPicture(std::size_t width, std::size_t height);
    /// The picture of this moment; null where memory is short.
    Ref<CVPixelBuffer> picture();

private:
    const std::size_t mWidth;
    const std::size_t mHeight;
    Ref<CVPixelBuffer> mGround;
};
