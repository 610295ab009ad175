#include "Platform/ImageIO/CGImageSource.h"

#include <fstream>
#include <gtest/gtest.h>
#include <vector>

namespace {

Ref<CGImage> iconOf(std::size_t size)
{
    const auto name = std::to_string(size) + "x" + std::to_string(size);
    std::ifstream file(ICON_FOLDER "/" + name + "/apps/org.tovrin.Tovrin.png", std::ios::binary);
    const std::vector<char> bytes { std::istreambuf_iterator<char>(file), {} };
    return CGImageCreateWithPNGData(std::as_bytes(std::span(bytes)));
}

/// The mean of one part of the pixels of a square in a grid of eight by eight.
double meanOf(const CGImage& image, std::size_t square, std::size_t part)
{
    const auto side = image.width() / 8;
    double sum = 0;
    for (std::size_t y = square / 8 * side; y < (square / 8 + 1) * side; ++y)
        for (std::size_t x = square % 8 * side; x < (square % 8 + 1) * side; ++x)
            sum += static_cast<double>(image.row(y)[4 * x + part]);
    return sum / static_cast<double>(side * side);
}

}

TEST(TovrinIcon, IsTheSamePictureInEverySize)
{
    const auto largest = iconOf(512);
    ASSERT_TRUE(largest);
    for (const std::size_t size : { 16, 24, 32, 48, 64, 128, 256, 512 }) {
        const auto icon = iconOf(size);
        ASSERT_TRUE(icon) << size;
        EXPECT_EQ(icon->width(), size);
        EXPECT_EQ(icon->height(), size);
        for (std::size_t square = 0; square < 64; ++square)
            for (std::size_t part = 0; part < 4; ++part)
                EXPECT_NEAR(meanOf(*icon, square, part), meanOf(*largest, square, part), 24)
                    << size << " square " << square << " part " << part;
    }
}
