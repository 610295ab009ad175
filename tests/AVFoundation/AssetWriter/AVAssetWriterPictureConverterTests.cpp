#include "Platform/AVFoundation/AVAssetWriterPictureConverter.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

namespace {

struct Planes {
    Planes(int width, int height)
        : y(static_cast<std::size_t>(width * height), 0xEE)
        , u(static_cast<std::size_t>(width * height / 4), 0xEE)
        , v(u)
        , planes { y.data(), u.data(), v.data(), width, width / 2 }
    {
    }
    std::vector<std::uint8_t> y, u, v;
    AVAssetWriterPlanes planes;
};

std::vector<std::uint8_t> noise(std::size_t bytes)
{
    std::vector<std::uint8_t> result(bytes);
    std::uint32_t seed = 12345;
    for (auto& byte : result)
        byte = static_cast<std::uint8_t>((seed = seed * 1664525 + 1013904223) >> 24);
    return result;
}

TEST(AVAssetWriterPictureConverter, BothWaysGiveTheSameBytes)
{
    for (const int width : { 2, 16, 30, 32, 34, 64, 94, 640 }) {
        const auto pixels = noise(static_cast<std::size_t>(width) * 4 * 6);
        Planes fast(width, 6);
        Planes plain(width, 6);
        AVAssetWriterConvertToI420(pixels.data(), width * 4, width, 6, fast.planes);
        AVAssetWriterConvertToI420Plain(pixels.data(), width * 4, width, 6, plain.planes);
        EXPECT_EQ(fast.y, plain.y) << width;
        EXPECT_EQ(fast.u, plain.u) << width;
        EXPECT_EQ(fast.v, plain.v) << width;
    }
}

TEST(AVAssetWriterPictureConverter, ColoursFollowTheStandardWithinOneStepAndAHalf)
{
    // ITU-R BT.709-6, 3.2 to 3.5.
    for (int index = 0; index < 1000; ++index) {
        const int red = index % 10 * 255 / 9;
        const int green = index / 10 % 10 * 255 / 9;
        const int blue = index / 100 * 255 / 9;
        std::vector<std::uint8_t> pixels;
        for (int pixel = 0; pixel < 64; ++pixel)
            for (const int part : { blue, green, red, 255 })
                pixels.push_back(static_cast<std::uint8_t>(part));
        Planes planes(32, 2);
        AVAssetWriterConvertToI420(pixels.data(), 128, 32, 2, planes.planes);
        const double brightness = (0.2126 * red + 0.7152 * green + 0.0722 * blue) / 255;
        ASSERT_NEAR(planes.y[5], 16 + 219 * brightness, 1.5);
        ASSERT_NEAR(planes.u[5], 128 + 224 * (blue / 255.0 - brightness) / 1.8556, 1.5);
        ASSERT_NEAR(planes.v[5], 128 + 224 * (red / 255.0 - brightness) / 1.5748, 1.5);
    }
}

TEST(AVAssetWriterPictureConverter, GreysHaveNoColour)
{
    for (int grey = 0; grey < 256; ++grey) {
        const std::vector<std::uint8_t> pixels(256, static_cast<std::uint8_t>(grey));
        Planes planes(32, 2);
        AVAssetWriterConvertToI420(pixels.data(), 128, 32, 2, planes.planes);
        ASSERT_EQ(planes.u[3], 128);
        ASSERT_EQ(planes.v[3], 128);
        ASSERT_NEAR(planes.y[3], 16 + grey * 219 / 255.0, 1);
    }
}

TEST(AVAssetWriterPictureConverter, RowsLieWhereTheStridesSay)
{
    const auto pixels = noise(64 * 4 * 4);
    std::vector<std::uint8_t> y(100 * 4, 7), u(50 * 2, 7), v(50 * 2, 7);
    AVAssetWriterConvertToI420(pixels.data(), 64 * 4, 64, 4, { y.data(), u.data(), v.data(), 100, 50 });
    Planes tight(64, 4);
    AVAssetWriterConvertToI420(pixels.data(), 64 * 4, 64, 4, tight.planes);
    EXPECT_EQ(y[300], tight.y[64 * 3]);
    EXPECT_EQ(u[50], tight.u[32]);
    EXPECT_EQ(v[50 + 31], tight.v[63]);
    EXPECT_EQ(y[64], 7);
    EXPECT_EQ(u[32], 7);
}

}
