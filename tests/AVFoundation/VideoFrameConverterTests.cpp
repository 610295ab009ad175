#include "Platform/AVFoundation/VideoFrameConverter.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace {

using Layout = VideoFrameConverter::Layout;
using Matrix = VideoFrameConverter::Matrix;
using Orientation = VideoFrameConverter::Orientation;
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
        case Layout::I400:
            plane(0, width, height, { a });
            break;
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
        case Layout::NV21:
            plane(0, width, height, { a }), plane(1, halfWidth * 2, halfHeight, { c, b });
            break;
        case Layout::YUY2:
            plane(0, halfWidth * 4, height, { a, b, a, c });
            break;
        case Layout::YVYU:
            plane(0, halfWidth * 4, height, { a, c, a, b });
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
        EXPECT_NEAR(red, colour.red, 2) << what;
        EXPECT_NEAR(green, colour.green, 2) << what;
        EXPECT_NEAR(blue, colour.blue, 2) << what;
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
        { Layout::NV12, red601, red }, { Layout::NV21, red601, red }, { Layout::YUY2, red601, red },
        { Layout::YVYU, red601, red }, { Layout::UYVY, red601, red },
        { Layout::I400, { 235, 0, 0, 0 }, { 255, 255, 255 } }, { Layout::BGRA, { 10, 20, 30, 0 }, { 30, 20, 10 } },
        { Layout::RGBA, { 10, 20, 30, 0 }, { 10, 20, 30 } }, { Layout::BGR, { 10, 20, 30, 0 }, { 30, 20, 10 } },
        { Layout::RGB, { 10, 20, 30, 0 }, { 10, 20, 30 } } };
    VideoFrameConverter converter;
    for (const auto& [layout, values, colour] : cases) {
        for (const auto size : { CMVideoDimensions { 320, 180 }, { 640, 480 }, { 1280, 720 }, { 322, 241 },
                 { 1920, 1080 }, { 90, 160 } }) {
            Painted painted(layout, size, values);
            painted.frame.isFullRange = layout >= Layout::BGRA;
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
        highDefinition.frame.matrix = Matrix::BT709;
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

TEST(VideoFrameConverter, EveryColourIsThatOfTheStandardsEquations)
{
    struct Standard {
        Matrix matrix;
        double redWeight, blueWeight;
    };
    constexpr int step = 5; // of the 256 values of each component; the last is 255
    for (const auto& [matrix, redWeight, blueWeight] : { Standard { Matrix::BT601, 0.299, 0.114 },
             { Matrix::BT709, 0.2126, 0.0722 }, { Matrix::BT2020, 0.2627, 0.0593 } }) {
        for (const bool isFullRange : { false, true }) {
            // A row for each pair of colour differences, of all brightnesses.
            constexpr CMVideoDimensions size { 255 / step + 1, (255 / step + 1) * (255 / step + 1) };
            Painted painted(Layout::I444, size, {});
            for (int y = 0; y < size.height; ++y) {
                for (int x = 0; x < size.width; ++x) {
                    painted.byte(0, x, y) = static_cast<std::uint8_t>(x * step);
                    painted.byte(1, x, y) = static_cast<std::uint8_t>(y % size.width * step);
                    painted.byte(2, x, y) = static_cast<std::uint8_t>(y / size.width * step);
                }
            }
            painted.frame.matrix = matrix;
            painted.frame.isFullRange = isFullRange;
            const auto buffer = bufferOf(size.width, size.height);
            VideoFrameConverter converter;
            ASSERT_TRUE(converter.convert(painted.frame, *buffer));
            double worst = 0;
            for (int y = 0; y < size.height; ++y) {
                for (int x = 0; x < size.width; ++x) {
                    const auto brightness = isFullRange ? x * step / 255.0 : (x * step - 16) / 219.0;
                    const double whole = isFullRange ? 255 : 224;
                    const double redPart = brightness + 2 * (1 - redWeight) * (painted.byte(2, x, y) - 128) / whole;
                    const double bluePart = brightness + 2 * (1 - blueWeight) * (painted.byte(1, x, y) - 128) / whole;
                    const double greenPart
                        = (brightness - redWeight * redPart - blueWeight * bluePart) / (1 - redWeight - blueWeight);
                    const auto pixel = pixelAt(*buffer, static_cast<std::size_t>(x), static_cast<std::size_t>(y));
                    for (const auto& [value, wanted] :
                        { std::pair(pixel[0], bluePart), { pixel[1], greenPart }, { pixel[2], redPart } })
                        worst = std::max(worst, std::abs(value - std::clamp(wanted, 0.0, 1.0) * 255));
                }
            }
            EXPECT_LT(worst, matrix == Matrix::BT2020 && isFullRange ? 2.3 : 1.7)
                << static_cast<int>(matrix) << (isFullRange ? " full" : " limited");
        }
    }
}

TEST(VideoFrameConverter, ASquareInTheMiddleStaysOneAndStaysThere)
{
    struct Shape {
        CMVideoDimensions size;
        int pixelWidth = 1, pixelHeight = 1;
    };
    // 16:9, 4:3, square, portrait, very wide, odd sizes, and pixels that are not square.
    for (const auto& [size, pixelWidth, pixelHeight] :
        { Shape { { 1280, 720 } }, { { 1920, 1080 } }, { { 640, 480 } }, { { 480, 480 } }, { { 720, 1280 } },
            { { 2560, 1080 } }, { { 641, 481 } }, { { 333, 777 } }, { { 1279, 719 } }, { { 720, 576 }, 16, 15 },
            { { 720, 480 }, 8, 9 }, { { 720, 576 }, 64, 45 }, { { 1440, 1080 }, 4, 3 }, { { 1280, 360 }, 1, 2 } }) {
        for (const auto layout : { Layout::I420, Layout::YUY2, Layout::BGRA }) {
            const bool isColour = layout == Layout::BGRA;
            Painted painted(layout, size,
                isColour ? std::array<std::uint8_t, 4> {} : std::array<std::uint8_t, 4> { 16, 128, 128, 0 });
            painted.frame.pixelWidth = pixelWidth;
            painted.frame.pixelHeight = pixelHeight;
            // A fifth of the shorter side, measured in units of length.
            const double side
                = std::min(size.width * static_cast<double>(pixelWidth) / pixelHeight, size.height * 1.0) / 5;
            const double halfWidth = side * pixelHeight / pixelWidth / 2;
            for (int y = 0; y < size.height; ++y)
                for (int x = 0; x < size.width; ++x)
                    if (std::abs(x + 0.5 - size.width / 2.0) <= halfWidth
                        && std::abs(y + 0.5 - size.height / 2.0) <= side / 2) {
                        if (isColour)
                            for (int channel = 0; channel < 4; ++channel)
                                painted.byte(0, x * 4 + channel, y) = 255;
                        else
                            painted.byte(0, layout == Layout::YUY2 ? x * 2 : x, y) = 235;
                    }
            const auto buffer = bufferOf(1280, 720);
            VideoFrameConverter converter;
            ASSERT_TRUE(converter.convert(painted.frame, *buffer));
            double across = 0, down = 0, middleX = 0, middleY = 0;
            for (std::size_t x = 0; x < 1280; ++x) {
                const double white = pixelAt(*buffer, x, 360)[1] / 255.0;
                across += white;
                middleX += white * static_cast<double>(x);
            }
            for (std::size_t y = 0; y < 720; ++y) {
                const double white = pixelAt(*buffer, 640, y)[1] / 255.0;
                down += white;
                middleY += white * static_cast<double>(y);
            }
            // One pixel of the camera, as large as it is in the result.
            const double filling = std::max(1280.0 * pixelHeight / pixelWidth / size.width, 720.0 / size.height)
                * std::max(1.0, static_cast<double>(pixelWidth) / pixelHeight);
            const auto what = std::to_string(size.width) + "x" + std::to_string(size.height) + " "
                + std::to_string(static_cast<int>(layout));
            const double scale = std::max(1280.0 * pixelHeight / (pixelWidth * size.width), 720.0 / size.height);
            EXPECT_NEAR(across, side * scale, filling * 2 + 1) << what;
            EXPECT_NEAR(down, side * scale, filling * 2 + 1) << what;
            EXPECT_NEAR(across / down, 1, 0.04 + 2.5 * filling / down) << what;
            EXPECT_NEAR(middleX / across, 639.5, filling * 2 + 1) << what;
            EXPECT_NEAR(middleY / down, 359.5, filling * 2 + 1) << what;
        }
    }
}

TEST(VideoFrameConverter, PixelsThatAreNotSquareAreReckonedWith)
{
    constexpr CMVideoDimensions wide { 1280, 720 };
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 720, 576 }, wide, 64, 45), (Part { 0, 0, 720, 576 }));
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 1440, 1080 }, wide, 4, 3), (Part { 0, 0, 1440, 1080 }));
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 720, 480 }, wide, 8, 9), (Part { 0, 60, 720, 360 }));
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 1280, 360 }, wide, 1, 2), (Part { 0, 0, 1280, 360 }));
    // Nonsense is taken for square.
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 1280, 720 }, wide, 0, 1), (Part { 0, 0, 1280, 720 }));
    EXPECT_EQ(VideoFrameConverter::partWithProportions({ 1280, 720 }, wide, 1000, 1), (Part { 0, 0, 1280, 720 }));

    VideoFrameConverter::Frame frame;
    frame.dimensions = { 720, 576 };
    EXPECT_EQ(VideoFrameConverter::uprightDimensions(frame), (CMVideoDimensions { 720, 576 }));
    frame.pixelWidth = 64;
    frame.pixelHeight = 45;
    EXPECT_EQ(VideoFrameConverter::uprightDimensions(frame), (CMVideoDimensions { 1024, 576 }));
    frame.pixelWidth = 1;
    frame.pixelHeight = 2;
    frame.orientation.quarterTurns = 3;
    EXPECT_EQ(VideoFrameConverter::uprightDimensions(frame), (CMVideoDimensions { 1152, 720 }));
}

TEST(VideoFrameConverter, AnOrientedPictureIsMirroredFirstAndThenTurnedClockwise)
{
    constexpr int width = 64;
    constexpr int height = 36;
    Painted painted(Layout::BGRA, { width, height }, {});
    painted.frame.isFullRange = true;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            painted.byte(0, x * 4, y) = static_cast<std::uint8_t>(x * 3);
            painted.byte(0, x * 4 + 1, y) = static_cast<std::uint8_t>(y * 5);
        }
    VideoFrameConverter converter;
    for (const bool isMirrored : { false, true }) {
        for (const int turns : { 0, 1, 2, 3 }) {
            painted.frame.orientation = { isMirrored, turns };
            const auto [upWidth, upHeight] = VideoFrameConverter::uprightDimensions(painted.frame);
            EXPECT_EQ(upWidth, turns % 2 == 0 ? width : height);
            const auto buffer = bufferOf(static_cast<std::size_t>(upWidth), static_cast<std::size_t>(upHeight));
            ASSERT_TRUE(converter.convert(painted.frame, *buffer));
            int wrong = 0;
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    int atX = isMirrored ? width - 1 - x : x;
                    int atY = y;
                    int turnedHeight = height;
                    int turnedWidth = width;
                    for (int turn = 0; turn < turns; ++turn) {
                        const int before = atX;
                        atX = turnedHeight - 1 - atY;
                        atY = before;
                        std::swap(turnedWidth, turnedHeight);
                    }
                    wrong += pixelAt(*buffer, static_cast<std::size_t>(atX), static_cast<std::size_t>(atY))
                        != std::array { x * 3, y * 5, 0, 255 };
                }
            }
            EXPECT_EQ(wrong, 0) << isMirrored << turns;
        }
    }
}

TEST(VideoFrameConverter, OfAnInterleavedPictureTheFirstFieldIsShownInFullHeight)
{
    for (const auto layout : { Layout::I420, Layout::NV12, Layout::YUY2 }) {
        Painted painted(layout, { 640, 361 }, red601);
        // The second field is white; with colours at half the height, every second row of those is its own.
        for (int y = 1; y < 361; y += 2)
            for (int x = 0; x < 640; ++x)
                painted.byte(0, layout == Layout::YUY2 ? x * 2 : x, y) = 235;
        if (layout != Layout::YUY2)
            for (int y = 1; y < 180; y += 2)
                for (int x = 0; x < 320; ++x)
                    painted.byte(1, x, y) = 128;
        VideoFrameConverter::takeOneField(painted.frame);
        VideoFrameConverter converter;
        const auto buffer = bufferOf(640, 360);
        ASSERT_TRUE(converter.convert(painted.frame, *buffer));
        expectColour(*buffer, red, "field");
        EXPECT_EQ(pixelAt(*buffer, 320, 359), pixelAt(*buffer, 320, 181));
    }
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
