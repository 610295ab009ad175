#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <array>
#include <gtest/gtest.h>

/// Pictures to scale, and what must come of them, calculated from the definition and not from how it is done: the mean
/// where a picture is made smaller, linear between the centres of the pixels where it is made larger, each axis for
/// itself and every byte as it stands.
namespace ReferencePicture {

/// A buffer with a surface.
Ref<CVPixelBuffer> bufferOf(int width, int height);

inline std::uint8_t* pixelOf(const CVPixelBuffer& buffer, int x, int y)
{
    return reinterpret_cast<std::uint8_t*>(buffer.baseAddress()) + static_cast<std::size_t>(y) * buffer.bytesPerRow()
        + static_cast<std::size_t>(x) * 4;
}

/// A picture of hard edges and noise, so that every error of place shows.
Ref<CVPixelBuffer> noise(int width, int height);
/// A picture with one value in every byte, in memory of its own and so without a surface.
Ref<CVPixelBuffer> grey(int width, int height, int value);

inline int firstByte(const CVPixelBuffer& buffer)
{
    return *pixelOf(buffer, 0, 0);
}
/// Whether no byte was ever written.
bool isUndrawn(const CVPixelBuffer& buffer);
/// The largest difference between \p result and \p source scaled to its size, over all bytes.
double greatestError(const CVPixelBuffer& source, const CVPixelBuffer& result);

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
