#pragma once

#include <cstddef>
#include <cstdint>

/// The planes of a picture in I420: brightness, and two planes of colour with half as many rows and columns.
struct AVAssetWriterPlanes {
    std::uint8_t* y;
    std::uint8_t* u;
    std::uint8_t* v;
    std::ptrdiff_t yStride;
    std::ptrdiff_t uvStride;
};

/// Converts BGRA, full range, to I420 with the matrix of ITU-R BT.709 and limited range (16 to 235, 16 to 240), each
/// colour sample being the mean of four pixels. libyuv has this conversion for the older BT.601 only, and many
/// players take every high-definition movie for BT.709 whatever it says.
/// \param width, height  pixels, even
void AVAssetWriterConvertToI420(
    const std::uint8_t* bgra, std::ptrdiff_t stride, int width, int height, const AVAssetWriterPlanes& planes);

/// The same without the processor's vector instructions; the results are equal.
void AVAssetWriterConvertToI420Plain(
    const std::uint8_t* bgra, std::ptrdiff_t stride, int width, int height, const AVAssetWriterPlanes& planes);
