#pragma once

#include "Platform/CoreVideo/CVPixelBufferPool.h"

/// BGRA buffers for pictures that mostly have the size of the one before: those of one size come from a pool. For one
/// thread at a time.
class PictureBuffers {
public:
    /// \return null when there is no memory
    Ref<CVPixelBuffer> next(std::size_t width, std::size_t height);

private:
    Ref<CVPixelBufferPool> mPool;
    std::size_t mWidth = 0;
    std::size_t mHeight = 0;
};
