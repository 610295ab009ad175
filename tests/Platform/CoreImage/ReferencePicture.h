#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <span>
#include <vector>

/// Pictures to scale, and what must come of them, calculated from the definition and not from how it is done: the mean
/// where a picture is made smaller, linear between the centres of the pixels where it is made larger, each axis for
/// itself and every byte as it stands.
namespace ReferencePicture {

/// A buffer with a surface.
inline Ref<CVPixelBuffer> bufferOf(int width, int height)
{
    const auto attributes = make<CFDictionary>();
    attributes->set(kCVPixelBufferIOSurfacePropertiesKey, make<CFDictionary>().get());
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(width),
                  static_cast<std::size_t>(height), kCVPixelFormatType_32BGRA, attributes, &buffer),
        kCVReturnSuccess);
    return buffer;
}

inline std::uint8_t* pixelOf(const CVPixelBuffer& buffer, int x, int y)
{
    return reinterpret_cast<std::uint8_t*>(buffer.baseAddress()) + static_cast<std::size_t>(y) * buffer.bytesPerRow()
        + static_cast<std::size_t>(x) * 4;
}

/// A picture of hard edges and noise, so that every error of place shows.
inline Ref<CVPixelBuffer> noise(int width, int height)
{
    const auto buffer = bufferOf(width, height);
    std::minstd_rand random(static_cast<unsigned>(width * 31 + height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            auto* const pixel = pixelOf(*buffer, x, y);
            for (int part = 0; part < 3; ++part)
                pixel[part] = (x / 7 + y / 5 + part) % 2 ? static_cast<std::uint8_t>(random() % 256) : 0;
            pixel[3] = 255;
        }
    return buffer;
}

struct Share {
    int index;
    double value;
};

/// What share of a pixel of the result each pixel of the source has along one axis.
inline std::vector<Share> shares(int index, int sourceLength, int targetLength)
{
    std::vector<Share> result;
    const double perPixel = static_cast<double>(sourceLength) / targetLength;
    if (perPixel > 1) {
        for (int i = 0; i < sourceLength; ++i) {
            const double covered = std::min(i + 1.0, (index + 1) * perPixel) - std::max<double>(i, index * perPixel);
            if (covered > 0)
                result.push_back({ i, covered / perPixel });
        }
        return result;
    }
    const double place = (index + 0.5) * perPixel - 0.5;
    const double left = std::floor(place);
    const auto inside = [&](double i) { return std::clamp(static_cast<int>(i), 0, sourceLength - 1); };
    return { { inside(left), 1 - (place - left) }, { inside(left + 1), place - left } };
}

/// The largest difference between \p result and \p source scaled to its size, over all bytes.
inline double greatestError(const CVPixelBuffer& source, const CVPixelBuffer& result)
{
    const auto width = static_cast<int>(result.width());
    const auto height = static_cast<int>(result.height());
    const auto sourceWidth = static_cast<int>(source.width());
    const auto sourceHeight = static_cast<int>(source.height());
    std::vector<std::vector<Share>> across;
    for (int x = 0; x < width; ++x)
        across.push_back(shares(x, sourceWidth, width));
    double worst = 0;
    std::vector<std::array<double, 4>> row;
    for (int y = 0; y < height; ++y) {
        row.assign(static_cast<std::size_t>(sourceWidth), {});
        for (const auto& [sourceY, share] : shares(y, sourceHeight, height))
            for (int x = 0; x < sourceWidth; ++x)
                for (std::size_t part = 0; part < 4; ++part)
                    row[static_cast<std::size_t>(x)][part] += share * pixelOf(source, x, sourceY)[part];
        for (int x = 0; x < width; ++x) {
            std::array<double, 4> color {};
            for (const auto& [sourceX, share] : across[static_cast<std::size_t>(x)])
                for (std::size_t part = 0; part < 4; ++part)
                    color[part] += share * row[static_cast<std::size_t>(sourceX)][part];
            for (std::size_t part = 0; part < 4; ++part)
                worst = std::max(worst, std::abs(color[part] - pixelOf(result, x, y)[part]));
        }
    }
    return worst;
}

/// A picture with one value in every byte, in memory of its own and so without a surface.
inline Ref<CVPixelBuffer> grey(int width, int height, int value)
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(width),
                  static_cast<std::size_t>(height), kCVPixelFormatType_32BGRA, nullptr, &buffer),
        kCVReturnSuccess);
    for (int y = 0; y < height; ++y)
        std::memset(pixelOf(*buffer, 0, y), value, static_cast<std::size_t>(width) * 4);
    return buffer;
}

/// The same picture with the bytes of each pixel in the order in which alpha comes first.
inline Ref<CVPixelBuffer> alphaFirst(const CVPixelBuffer& picture)
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(
                  kCFAllocatorDefault, picture.width(), picture.height(), kCVPixelFormatType_32ARGB, nullptr, &buffer),
        kCVReturnSuccess);
    for (int y = 0; y < static_cast<int>(picture.height()); ++y)
        for (int x = 0; x < static_cast<int>(picture.width()); ++x)
            std::reverse_copy(pixelOf(picture, x, y), pixelOf(picture, x, y) + 4, pixelOf(*buffer, x, y));
    return buffer;
}

inline int firstByte(const CVPixelBuffer& buffer)
{
    return *pixelOf(buffer, 0, 0);
}

/// Whether no byte was ever written.
inline bool isUndrawn(const CVPixelBuffer& buffer)
{
    const std::span bytes(buffer.baseAddress(), buffer.bytesPerRow() * buffer.height());
    return std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte { 0 }; });
}

/// What is scaled to what.
struct Scaling {
    int sourceWidth, sourceHeight, width, height;
    std::string name() const
    {
        return std::to_string(sourceWidth) + "x" + std::to_string(sourceHeight) + "To" + std::to_string(width) + "x"
            + std::to_string(height);
    }
    friend void PrintTo(const Scaling& scaling, std::ostream* stream) { *stream << scaling.name(); }
};

/// A scaling, and whether the driver of OpenGL does it.
using ScalingWay = std::tuple<Scaling, bool>;

inline std::string nameOf(const testing::TestParamInfo<ScalingWay>& instance)
{
    const auto& [scaling, usesOpenGL] = instance.param;
    return scaling.name() + (usesOpenGL ? "OpenGL" : "Processor");
}

/// Smaller, larger, the same, the smallest, uneven and very long ones.
inline auto scalingsOfRenderers()
{
    return testing::Combine(
        testing::Values(Scaling { 480, 270, 320, 180 }, Scaling { 160, 120, 320, 180 }, Scaling { 320, 180, 320, 180 },
            Scaling { 1, 1, 1, 1 }, Scaling { 1, 1, 7, 5 }, Scaling { 33, 21, 1, 1 }, Scaling { 317, 203, 101, 33 },
            Scaling { 4099, 5, 64, 3 }, Scaling { 3, 3, 5, 4099 }),
        testing::Bool());
}

/// What a camera gives, and what hardly has any pixels in one direction or both.
inline constexpr std::array<std::pair<int, int>, 7> inputSizes { { { 1280, 720 }, { 1920, 1080 }, { 640, 480 },
    { 640, 360 }, { 1, 1 }, { 3, 1801 }, { 1801, 3 } } };

}
