#pragma once

#include <cstddef>
#include <cstdint>

/// One row of pixels at a time from blue-green-red-alpha to ITU-R BT.709 in the video range, in 16-bit arithmetic that
/// compilers turn into vector code. (The coefficients are those of the recommendation times 256, rounded so that white
/// and the pure colours meet the ends of their ranges.)
namespace PixelRows {

/// \param pixels  \p count pixels
void luma(const std::uint8_t* pixels, std::uint8_t* y, std::size_t count);
/// \param upper, lower  two rows of 2 * \p count pixels
void chroma(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* u, std::uint8_t* v, std::size_t count);
/// u0 v0 u1 v1 ...
void interleave(const std::uint8_t* u, const std::uint8_t* v, std::uint8_t* uv, std::size_t count);
/// y0 u0 y1 v0 ...
void interleave(
    const std::uint8_t* u, const std::uint8_t* v, const std::uint8_t* y, std::uint8_t* yuyv, std::size_t count);

}
