#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// How the "Test Picture" camera writes the number of a frame into the picture so that a program can read it back.
///
/// The picture is divided into 64 columns; a block is one column wide and as high as it is wide. One row of 44 blocks
/// begins at column 10, and its lower edge lies one block above the lower edge of the picture:
///
///     blocks 0 to 3    white, black, white, black: the two levels to compare with
///     blocks 4 to 35   the 32 bits of the number, most significant first, white for 1
///     blocks 36 to 43  the 8 bits of the check sum, most significant first: the sum of the number's four bytes, and
///     165,
///                      modulo 256
///
/// Numbers begin at 0 with the first frame after the camera was opened and rise by one with every frame that is due, so
/// a missing number is a lost frame. The row survives what keeps the picture's geometry and the order of bright and
/// dark: scaling, lossy compression, any conversion of colours.
namespace TestPictureCounter {

inline constexpr int columns = 64;
inline constexpr int firstColumn = 10;
inline constexpr int blocks = 44;

/// Where a block lies, in pixels.
struct Block {
    int x, y, size;
};

constexpr Block blockAt(int index, int width, int height)
{
    const int size = width / columns;
    return { (firstColumn + index) * width / columns, height - 2 * size, size };
}

constexpr std::uint8_t checkSum(std::uint32_t number)
{
    return static_cast<std::uint8_t>(
        (number >> 24) + (number >> 16 & 255) + (number >> 8 & 255) + (number & 255) + 165);
}

/// Whether block \p index of the row for \p number is white.
constexpr bool isWhite(std::uint32_t number, int index)
{
    if (index < 4)
        return index % 2 == 0;
    if (index < 36)
        return (number >> (35 - index) & 1) != 0;
    return (checkSum(number) >> (43 - index) & 1) != 0;
}

/// Reads the number back.
/// \param brightness  called with x and y, gives the brightness there in any measure that rises with it
/// \return nothing when there is no row or it is damaged
template <class Brightness> std::optional<std::uint32_t> read(int width, int height, const Brightness& brightness)
{
    if (width < columns * 2 || height < width / columns * 2)
        return std::nullopt;
    double levels[blocks];
    for (int index = 0; index < blocks; ++index) {
        const auto block = blockAt(index, width, height);
        const int reach = block.size / 5;
        const int x = block.x + block.size / 2;
        const int y = block.y + block.size / 2;
        levels[index] = 0;
        for (const int dx : { -reach, 0, reach })
            for (const int dy : { -reach, 0, reach })
                levels[index] += static_cast<double>(brightness(x + dx, y + dy)) / 9;
    }
    const double white = (levels[0] + levels[2]) / 2;
    const double black = (levels[1] + levels[3]) / 2;
    const double tolerance = (white - black) / 3;
    if (white - black < 16 || std::abs(levels[0] - levels[2]) > tolerance
        || std::abs(levels[1] - levels[3]) > tolerance)
        return std::nullopt;
    std::uint64_t bits = 0;
    for (int index = 4; index < blocks; ++index)
        bits = bits << 1 | (levels[index] > (white + black) / 2 ? 1U : 0U);
    const auto number = static_cast<std::uint32_t>(bits >> 8);
    if (checkSum(number) != (bits & 255))
        return std::nullopt;
    return number;
}

/// Reads the number from a picture with four bytes a pixel, blue first (BGRA and BGRx).
inline std::optional<std::uint32_t> readBGRA(
    std::span<const std::byte> pixels, int width, int height, std::size_t bytesPerRow)
{
    if (height <= 0
        || bytesPerRow * static_cast<std::size_t>(height - 1) + static_cast<std::size_t>(width) * 4 > pixels.size())
        return std::nullopt;
    return read(width, height, [&](int x, int y) {
        const auto* const pixel = &pixels[bytesPerRow * static_cast<std::size_t>(y) + static_cast<std::size_t>(x) * 4];
        return std::to_integer<int>(pixel[0]) + 4 * std::to_integer<int>(pixel[1]) + 2 * std::to_integer<int>(pixel[2]);
    });
}

/// Reads the number from the brightness plane of a picture in I420 or NV12.
inline std::optional<std::uint32_t> readLuma(
    std::span<const std::byte> plane, int width, int height, std::size_t bytesPerRow)
{
    if (height <= 0
        || bytesPerRow * static_cast<std::size_t>(height - 1) + static_cast<std::size_t>(width) > plane.size())
        return std::nullopt;
    return read(width, height, [&](int x, int y) {
        return std::to_integer<int>(plane[bytesPerRow * static_cast<std::size_t>(y) + static_cast<std::size_t>(x)]);
    });
}

}
