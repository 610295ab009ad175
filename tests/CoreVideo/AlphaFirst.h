#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <algorithm>
#include <gtest/gtest.h>

/// The same picture with the bytes of each pixel in the order in which alpha comes first, in memory of its own.
inline Ref<CVPixelBuffer> alphaFirst(const CVPixelBuffer& picture)
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(
                  kCFAllocatorDefault, picture.width(), picture.height(), kCVPixelFormatType_32ARGB, nullptr, &buffer),
        kCVReturnSuccess);
    for (std::size_t y = 0; y < picture.height(); ++y)
        for (std::size_t x = 0; x < picture.width() * 4; x += 4) {
            const auto* const pixel = picture.baseAddress() + y * picture.bytesPerRow() + x;
            std::reverse_copy(pixel, pixel + 4, buffer->baseAddress() + y * buffer->bytesPerRow() + x);
        }
    return buffer;
}
