#include "Platform/AVFoundation/VideoFrameConverter.h"

#include <gtest/gtest.h>
#include <numeric>

namespace {

using Layout = VideoFrameConverter::Layout;
using Part = VideoFrameConverter::Part;

struct Colour {
    int red, green, blue;
};

/// A picture of one colour in any layout, with padded rows.
class Painted {
public:
    Painted(Layout layout, CMVideoDimensions size, std::array<std::uint8_t, 4> values)
    {
        frame.layout = layout;
        frame.dimensions = size;
        const int rowPadding = 32;
        const auto plane = [&](std::size_t index, int bytesPerRow, int rows, std::vector<std::uint8_t> pattern) {
            auto& memory = mMemory[index];
            memory.resize(static_cast<std::size_t>(bytesPerRow + rowPadding) * static_cast<std::size_t>(rows));
            for (int y = 0; y < rows; ++y)
                for (int x = 0; x < bytesPerRow; ++x)
                    memory[static_cast<std::size_t>(y * (bytesPerRow + rowPadding) + x)]
                        = pattern[static_cast<std::size_t>(x) % pattern.size()];
            frame.planes[index] = { memory.data(), bytesPerRow + rowPadding };
        };
        const auto [a, b, c, d] = values;
        const auto [width, height] = size;
        const int halfWidth = (width + 1) / 2;
        const int halfHeight = (height + 1) / 2;
        switch (layout) {
        case Layout::I420:
            plane(0, width, height, { a }), plane(1, halfWidth, halfHeight, { b }),
                plane(2, halfWidth, halfHeight, { c });
            break;
        case Layout::I422:
            plane(0, width, height, { a }), plane(1, halfWidth, height, { b }), plane(2, halfWidth, height, { c });
            break;
        case Layout::I444:
            plane(0, width, height, { a }), plane(1, width, height, { b }), plane(2, width, height, { c });
            break;
        case Layout::NV12:
            plane(0, width, height, { a }), plane(1, halfWidth * 2, halfHeight, { b, c });
            break;
        case Layout::YUY2:
            plane(0, halfWidth * 4, height, { a, b, a, c });
            break;
        case Layout::UYVY:
            plane(0, halfWidth * 4, height, { b, a, c, a });
            break;
        case Layout::BGRA:
        case Layout::RGBA:
            plane(0, width * 4, height, { a, b, c, d });
            break;
        case Layout::BGR:
        case Layout::RGB:
            plane(0, width * 3, height, { a, b, c });
            break;
        }
    }
    std::uint8_t& byte(std::size_t plane, int x, int y)
    {
        return mMemory[plane][static_cast<std::size_t>(y) * static_cast<std::size_t>(frame.planes[plane].bytesPerRow)
            + static_cast<std::size_t>(x)];
    }
    VideoFrameConverter::Frame frame;

private:
    std::array<std::vector<std::uint8_t>, 3> mMemory;
};

Ref<CVPixelBuffer> bufferOf(std::size_t width, std::size_t height)
{
    return make<CVPixelBuffer>(width, height, kCVPixelFormatType_32BGRA, width * 4 + 16);
}

std::array<int, 4> pixelAt(const CVPixelBuffer& buffer, std::size_t x, std::size_t y)
{
    const auto* const pixel = buffer.baseAddress() + y * buffer.bytesPerRow() + x * 4;
    return { std::to_integer<int>(pixel[0]), std::to_integer<int>(pixel[1]), std::to_integer<int>(pixel[2]),
        std::to_integer<int>(pixel[3]) };
}

void expectColour(const CVPixelBuffer& buffer, Colour colour, const std::string& what)
{
    for (const auto& [x, y] : { std::pair<std::size_t, std::size_t> { 0, 0 },
             { buffer.width() / 2, buffer.height() / 2 }, { buffer.width() - 1, buffer.height() - 1 } }) {
        const auto [blue, green, red, alpha] = pixelAt(buffer, x, y);
        EXPECT_NEAR(red, colour.red, 4) << what;
        EXPECT_NEAR(green, colour.green, 4) << what;
        EXPECT_NEAR(blue, colour.blue, 4) << what;
        EXPECT_EQ(alpha, 255) << what;
    }
}

/// Red, as the standards write it in the four kinds of brightness and colour.
constexpr std::array<std::uint8_t, 4> red601 { 81, 90, 240, 0 };
constexpr std::array<std::uint8_t, 4> red709 { 63, 102, 240, 0 };
constexpr std::array<std::uint8_t, 4> redFull { 76, 85, 255, 0 };
constexpr Colour red { 255, 0, 0 };

}

TEST(VideoFrameConverter, EveryLayoutBecomesBGRAInEverySize)
{
    struct Case {
        Layout layout;
        std::array<std::uint8_t, 4> values;
        Colour colour;
    };
    const Case cases[] { { Layout::I420, red601, red }, { Layout::I422, red601, red }, { Layout::I444, red601, red },
        { Layout::NV12, red601, red }, { Layout::YUY2, red601, red }, { Layout::UYVY, red601, red },
        { Layout::BGRA, { 10, 20, 30, 0 }, { 30, 20, 10 } }, { Layout::RGBA, { 10, 20, 30, 0 }, { 10, 20, 30 } },
        { Layout::BGR, { 10, 20, 30, 0 }, { 30, 20, 10 } }, { Layout::RGB, { 10, 20, 30, 0 }, { 10, 20, 30 } } };
    VideoFrameConverter converter;
    for (const auto& [layout, values, colour] : cases) {
        for (const auto size : { CMVideoDimensions { 320, 180 }, { 640, 480 }, { 1280, 720 }, { 322, 241 },
                 { 1920, 1080 }, { 90, 160 } }) {
            Painted painted(layout, size, values);
            const auto buffer = bufferOf(320, 180);
            ASSERT_TRUE(converter.convert(painted.frame, *buffer));
            expectColour(
                *buffer, colour, std::to_string(static_cast<int>(layout)) + " from " + std::to_string(size.width));
        }
    }
}

TEST(VideoFrameConverter, ColoursFollowStandardAndRange)
{
    VideoFrameConverter converter;
    const auto buffer = bufferOf(64, 36);
    for (const auto layout : { Layout::I420, Layout::NV12, Layout::YUY2, Layout::I444 }) {
        Painted highDefinition(layout, { 64, 36 }, red709);
        highDefinition.frame.isHighDefinition = true;
        ASSERT_TRUE(converter.convert(highDefinition.frame, *buffer));
        expectColour(*buffer, red, "709");
        Painted full(layout, { 64, 36 }, redFull);
        full.frame.isFullRange = true;
        ASSERT_TRUE(converter.convert(full.frame, *buffer));
        expectColour(*buffer, red, "full range");
    }
}

TEST(VideoFrameConverter, TheMiddlePartWithTheRightProportionsIsTaken)
{
    constexpr CMVideoDimensions wide { 1280, 720 };
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 1280, 720 }, wide), (Part { 0, 0, 1280, 720 }));
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 768, 576 }, wide), (Part { 0, 72, 768, 432 }));
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 640, 480 }, wide), (Part { 0, 60, 640, 360 }));
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 2560, 1080 }, wide), (Part { 320, 0, 1920, 1080 }));
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 720, 1280 }, wide), (Part { 0, 436, 720, 405 }));
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 1, 1000 }, wide), (Part { 0, 498, 1, 1 }));
}

TEST(VideoFrameConverter, WhatLiesOutsideThePartIsNotSeen)
{
    // A white frame around a red picture: nothing of it may come through.
    Painted painted(Layout::I420, { 640, 480 }, red601);
    for (int y = 0; y < 480; ++y)
        for (int x = 0; x < 640; ++x)
            if (y < 60 || y >= 420)
                painted.byte(0, x, y) = 235;
    VideoFrameConverter converter;
    const auto buffer = bufferOf(640, 360);
    ASSERT_TRUE(converter.convert(painted.frame, *buffer));
    expectColour(*buffer, red, "cut");
}

TEST(VideoFrameConverter, PicturesStandUprightAndAreNotMirrored)
{
    Painted painted(Layout::NV12, { 640, 360 }, { 16, 128, 128, 0 });
    for (int y = 0; y < 90; ++y)
        for (int x = 0; x < 160; ++x)
            painted.byte(0, x, y) = 235;
    VideoFrameConverter converter;
    for (const std::size_t width : { 640U, 320U, 1280U }) {
        const auto buffer = bufferOf(width, width * 9 / 16);
        ASSERT_TRUE(converter.convert(painted.frame, *buffer));
        EXPECT_GT(pixelAt(*buffer, 3, 3)[1], 250);
        EXPECT_LT(pixelAt(*buffer, width - 4, 3)[1], 5);
        EXPECT_LT(pixelAt(*buffer, 3, width * 9 / 16 - 4)[1], 5);
    }
}

TEST(VideoFrameConverter, NothingIsMadeFromNothing)
{
    VideoFrameConverter converter;
    const auto buffer = bufferOf(64, 36);
    EXPECT_FALSE(converter.convert({}, *buffer));
    Painted painted(Layout::I420, { 64, 36 }, red601);
    painted.frame.dimensions = { 0, 36 };
    EXPECT_FALSE(converter.convert(painted.frame, *buffer));
}
