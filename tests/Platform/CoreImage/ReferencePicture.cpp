#include "tests/Platform/CoreImage/ReferencePicture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <span>
#include <vector>

namespace ReferencePicture {

namespace {

struct Share {
    int index;
    double value;
};

/// What share of a pixel of the result each pixel of the source has along one axis.
std::vector<Share> shares(int index, int sourceLength, int targetLength)
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

}

Ref<CVPixelBuffer> bufferOf(int width, int height)
{
    const auto attributes = make<CFDictionary>();
    attributes->set(kCVPixelBufferIOSurfacePropertiesKey, make<CFDictionary>().get());
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(width),
                  static_cast<std::size_t>(height), kCVPixelFormatType_32BGRA, attributes, &buffer),
        kCVReturnSuccess);
    return buffer;
}

Ref<CVPixelBuffer> noise(int width, int height)
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

Ref<CVPixelBuffer> grey(int width, int height, int value)
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(width),
                  static_cast<std::size_t>(height), kCVPixelFormatType_32BGRA, nullptr, &buffer),
        kCVReturnSuccess);
    for (int y = 0; y < height; ++y)
        std::memset(pixelOf(*buffer, 0, y), value, static_cast<std::size_t>(width) * 4);
    return buffer;
}

bool isUndrawn(const CVPixelBuffer& buffer)
{
    const std::span bytes(buffer.baseAddress(), buffer.bytesPerRow() * buffer.height());
    return std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte { 0 }; });
}

double greatestError(const CVPixelBuffer& source, const CVPixelBuffer& result)
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

}
