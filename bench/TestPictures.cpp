#include "TestPictures.h"

#include "Platform/AVFoundation/TestPictureCounter.h"

#include <algorithm>

namespace {

constexpr int differentPictures = 30;
constexpr int noiseAmplitude = 8;

std::vector<std::uint8_t> draw(int index)
{
    constexpr int width = TestPictures::width;
    constexpr int height = TestPictures::height;
    std::vector<std::uint8_t> bytes(width * height * 3 / 2);
    std::uint32_t random = 77 + static_cast<std::uint32_t>(index);
    const int boxX = index * width / differentPictures;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            random = random * 1664525 + 1013904223;
            const int noise = static_cast<int>(random >> 24) % (2 * noiseAmplitude + 1) - noiseAmplitude;
            const int distance = (x - boxX + width) % width;
            const bool isBox = distance < 200 && y > 200 && y < 400;
            const bool isStripe = (x + y + index * 8) / 40 % 4 == 0 && y < 180;
            const int level = isBox ? 200 : isStripe ? 60 : 40 + x * 120 / width + y * 40 / height;
            bytes[static_cast<std::size_t>(y * width + x)]
                = static_cast<std::uint8_t>(std::clamp(level + noise, 16, 235));
        }
    }
    auto* const u = &bytes[width * height];
    auto* const v = u + width * height / 4;
    for (int y = 0; y < height / 2; ++y) {
        for (int x = 0; x < width / 2; ++x) {
            u[y * width / 2 + x] = static_cast<std::uint8_t>(90 + x * 80 / (width / 2));
            v[y * width / 2 + x] = static_cast<std::uint8_t>(90 + y * 80 / (height / 2));
        }
    }
    return bytes;
}

}

TestPictures::TestPictures()
{
    for (int index = 0; index < differentPictures; ++index)
        mPictures.push_back(draw(index));
}

const std::vector<std::uint8_t>& TestPictures::picture(std::uint32_t number)
{
    auto& picture = mPictures[number % differentPictures];
    for (int index = 0; index < TestPictureCounter::blocks; ++index) {
        const auto block = TestPictureCounter::blockAt(index, width, height);
        const std::uint8_t level = TestPictureCounter::isWhite(number, index) ? 235 : 16;
        for (int row = 0; row < block.size; ++row)
            std::fill_n(&picture[static_cast<std::size_t>((block.y + row) * width + block.x)], block.size, level);
    }
    return picture;
}
