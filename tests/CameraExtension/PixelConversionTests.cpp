#include "CameraExtension/PixelConversion.h"

#include <gmock/gmock.h>

#include <cmath>
#include <random>

#include <libyuv/convert_argb.h>

namespace {

using testing::ElementsAre;

constexpr std::size_t width = 64;
constexpr std::size_t height = 32;

struct Pixel {
    std::uint8_t blue, green, red;
};

std::vector<std::byte> picture(std::size_t across, std::size_t down, auto pixelAt)
{
    std::vector<std::byte> bytes;
    for (std::size_t y = 0; y < down; ++y)
        for (std::size_t x = 0; x < across; ++x) {
            const Pixel pixel = pixelAt(x, y);
            for (const int value : { int { pixel.blue }, int { pixel.green }, int { pixel.red }, 255 })
                bytes.push_back(static_cast<std::byte>(value));
        }
    return bytes;
}

std::vector<std::uint8_t> converted(const std::vector<std::byte>& bytes, CameraPixelFormat format,
    std::size_t across = width, std::size_t down = height)
{
    PixelConversion conversion(width, height);
    std::vector<std::byte> result(layoutOf(format, width, height).bytes);
    conversion.convert({ bytes.data(), across, down, across * 4 }, format, result);
    std::vector<std::uint8_t> numbers;
    for (const auto byte : result)
        numbers.push_back(static_cast<std::uint8_t>(byte));
    return numbers;
}

/// The recommendation's own words: luma from weights 0.299, 0.587 and 0.114, in the video range.
struct YUV {
    double y, u, v;
};
YUV recommended(Pixel pixel)
{
    const double red = pixel.red / 255.0;
    const double green = pixel.green / 255.0;
    const double blue = pixel.blue / 255.0;
    const double luma = 0.299 * red + 0.587 * green + 0.114 * blue;
    return { 16 + 219 * luma, 128 + 224 * (blue - luma) / 1.772, 128 + 224 * (red - luma) / 1.402 };
}

TEST(PixelConversion, RowsArePackedInEveryFormat)
{
    EXPECT_EQ(layoutOf(CameraPixelFormat::I420, 1280, 720).bytes, 1382400u);
    EXPECT_EQ(layoutOf(CameraPixelFormat::I420, 1280, 720).stride, 1280u);
    EXPECT_EQ(layoutOf(CameraPixelFormat::NV12, 1280, 720).bytes, 1382400u);
    EXPECT_EQ(layoutOf(CameraPixelFormat::YUY2, 1280, 720).stride, 2560u);
    EXPECT_EQ(layoutOf(CameraPixelFormat::BGRA, 1280, 720).bytes, 3686400u);
}

TEST(PixelConversion, ColoursAreThoseOfTheRecommendation)
{
    std::mt19937 random(1);
    std::vector<Pixel> pixels { { 0, 0, 0 }, { 255, 255, 255 }, { 255, 0, 0 }, { 0, 255, 0 }, { 0, 0, 255 } };
    for (int count = 0; count < 200; ++count)
        pixels.push_back({ static_cast<std::uint8_t>(random()), static_cast<std::uint8_t>(random()),
            static_cast<std::uint8_t>(random()) });
    for (const auto& pixel : pixels) {
        const auto bytes = picture(width, height, [&](auto, auto) { return pixel; });
        const auto result = converted(bytes, CameraPixelFormat::I420);
        const auto expected = recommended(pixel);
        EXPECT_NEAR(result[0], expected.y, 1.5);
        EXPECT_NEAR(result[width * height], expected.u, 1.5);
        EXPECT_NEAR(result[width * height * 5 / 4], expected.v, 1.5);
    }
}

TEST(PixelConversion, EveryFormatHoldsTheSamePicture)
{
    const auto bytes = picture(width, height, [](std::size_t x, std::size_t y) {
        return Pixel { static_cast<std::uint8_t>(x * 4), static_cast<std::uint8_t>(y * 8),
            static_cast<std::uint8_t>(255 - x * 4) };
    });
    const auto planar = converted(bytes, CameraPixelFormat::I420);
    const auto half = converted(bytes, CameraPixelFormat::NV12);
    const auto packed = converted(bytes, CameraPixelFormat::YUY2);
    const auto straight = converted(bytes, CameraPixelFormat::BGRA);
    const auto* const u = planar.data() + width * height;
    const auto* const v = u + width * height / 4;
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) {
            ASSERT_EQ(planar[y * width + x], half[y * width + x]);
            ASSERT_EQ(planar[y * width + x], packed[y * width * 2 + x * 2]);
        }
    for (std::size_t index = 0; index < width * height / 4; ++index) {
        ASSERT_EQ(u[index], half[width * height + index * 2]);
        ASSERT_EQ(v[index], half[width * height + index * 2 + 1]);
    }
    // The packed format keeps chroma of each row, the planar one of each pair of rows.
    EXPECT_NEAR(packed[1], u[0], 4);
    EXPECT_NEAR(packed[3], v[0], 4);
    EXPECT_TRUE(
        std::ranges::equal(straight, bytes, {}, {}, [](std::byte byte) { return static_cast<std::uint8_t>(byte); }));
}

TEST(PixelConversion, AnotherReaderGetsThePictureBack)
{
    const auto bytes = picture(width, height, [](std::size_t x, std::size_t y) {
        return Pixel { static_cast<std::uint8_t>(x * 3), static_cast<std::uint8_t>(y * 7), 90 };
    });
    const auto planar = converted(bytes, CameraPixelFormat::I420);
    std::vector<std::uint8_t> back(width * height * 4);
    const auto* const u = planar.data() + width * height;
    libyuv::I420ToARGB(
        planar.data(), width, u, width / 2, u + width * height / 4, width / 2, back.data(), width * 4, width, height);
    double difference = 0;
    for (std::size_t index = 0; index < back.size(); ++index)
        difference += std::abs(back[index] - static_cast<int>(bytes[index]));
    EXPECT_LT(difference / static_cast<double>(back.size()), 2.0);
}

TEST(PixelConversion, APictureOfAnotherShapeIsFittedOnBlack)
{
    const auto white = picture(32, 32, [](auto, auto) { return Pixel { 255, 255, 255 }; });
    const auto result = converted(white, CameraPixelFormat::BGRA, 32, 32);
    const auto at = [&](std::size_t x, std::size_t y) { return result[(y * width + x) * 4]; };
    EXPECT_EQ(at(15, 16), 0);
    EXPECT_EQ(at(16, 0), 255);
    EXPECT_EQ(at(47, 31), 255);
    EXPECT_EQ(at(48, 16), 0);
    EXPECT_EQ(result[3], 255) << "the black is opaque";
}

TEST(PixelConversion, AShortDestinationIsLeftAlone)
{
    const auto white = picture(width, height, [](auto, auto) { return Pixel { 255, 255, 255 }; });
    PixelConversion conversion(width, height);
    std::vector<std::byte> small(100, std::byte { 7 });
    conversion.convert({ white.data(), width, height, width * 4 }, CameraPixelFormat::I420, small);
    EXPECT_THAT(small, testing::Each(std::byte { 7 }));
}

}
