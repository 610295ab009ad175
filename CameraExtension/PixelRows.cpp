#include "CameraExtension/PixelRows.h"

// The widest vectors that the machine has are chosen when the program is loaded.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__)                   \
    && !defined(__SANITIZE_ADDRESS__)
#define PIXEL_ROWS_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define PIXEL_ROWS_CLONES
#endif

namespace {

using Lane = std::uint16_t;

constexpr Lane lumaOf(Lane blue, Lane green, Lane red)
{
    return static_cast<Lane>(static_cast<Lane>(16 * blue + 157 * green + 47 * red + 16 * 256 + 128) >> 8);
}

constexpr Lane blueDifferenceOf(Lane blue, Lane green, Lane red)
{
    return static_cast<Lane>(static_cast<Lane>(112 * blue - 86 * green - 26 * red + 128 * 256 + 128) >> 8);
}

constexpr Lane redDifferenceOf(Lane blue, Lane green, Lane red)
{
    return static_cast<Lane>(static_cast<Lane>(112 * red - 102 * green - 10 * blue + 128 * 256 + 128) >> 8);
}

static_assert(lumaOf(0, 0, 0) == 16 && lumaOf(255, 255, 255) == 235);
static_assert(blueDifferenceOf(255, 0, 0) == 240 && redDifferenceOf(0, 0, 255) == 240);
static_assert(blueDifferenceOf(128, 128, 128) == 128 && redDifferenceOf(128, 128, 128) == 128);

}

namespace PixelRows {

PIXEL_ROWS_CLONES
void luma(const std::uint8_t* __restrict pixels, std::uint8_t* __restrict y, std::size_t count)
{
    for (std::size_t index = 0; index < count; ++index) {
        const auto* const pixel = pixels + index * 4;
        y[index] = static_cast<std::uint8_t>(lumaOf(pixel[0], pixel[1], pixel[2]));
    }
}

PIXEL_ROWS_CLONES
void chroma(const std::uint8_t* __restrict upper, const std::uint8_t* __restrict lower, std::uint8_t* __restrict u,
    std::uint8_t* __restrict v, std::size_t count)
{
    for (std::size_t index = 0; index < count; ++index) {
        const std::uint8_t* const a = upper + index * 8;
        const std::uint8_t* const b = lower + index * 8;
        const Lane blue = static_cast<Lane>((a[0] + a[4] + b[0] + b[4] + 2) >> 2);
        const Lane green = static_cast<Lane>((a[1] + a[5] + b[1] + b[5] + 2) >> 2);
        const Lane red = static_cast<Lane>((a[2] + a[6] + b[2] + b[6] + 2) >> 2);
        u[index] = static_cast<std::uint8_t>(blueDifferenceOf(blue, green, red));
        v[index] = static_cast<std::uint8_t>(redDifferenceOf(blue, green, red));
    }
}

PIXEL_ROWS_CLONES
void interleave(
    const std::uint8_t* __restrict u, const std::uint8_t* __restrict v, std::uint8_t* __restrict uv, std::size_t count)
{
    for (std::size_t index = 0; index < count; ++index) {
        uv[index * 2] = u[index];
        uv[index * 2 + 1] = v[index];
    }
}

PIXEL_ROWS_CLONES
void interleave(const std::uint8_t* __restrict u, const std::uint8_t* __restrict v, const std::uint8_t* __restrict y,
    std::uint8_t* __restrict yuyv, std::size_t count)
{
    for (std::size_t index = 0; index < count; ++index) {
        yuyv[index * 4] = y[index * 2];
        yuyv[index * 4 + 1] = u[index];
        yuyv[index * 4 + 2] = y[index * 2 + 1];
        yuyv[index * 4 + 3] = v[index];
    }
}

}
