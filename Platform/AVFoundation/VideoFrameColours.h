#pragma once

#include <libyuv.h>

#include <cstdint>

/// The arithmetic from brightness and colour differences to red, green and blue, for libyuv. For the converter only.
namespace VideoFrameColours {

/// The standard that says how much each colour weighs in the brightness.
enum class Matrix { BT601, BT709, BT2020 };

/// What libyuv's functions take. Exact to one of 255 for every value that a picture can hold.
const libyuv::YuvConstants& constantsFor(Matrix matrix, bool isFullRange);

/// How packed pairs of pixels lie in memory.
enum class Pairs { YUY2, UYVY };

/// Converts packed pairs to BGRA, by any matrix. libyuv's own functions for whole pictures know BT.601 only.
void convertPairs(Pairs order, const std::uint8_t* source, int sourceBytesPerRow, std::uint8_t* target,
    int targetBytesPerRow, const libyuv::YuvConstants& constants, int width, int height);

}
