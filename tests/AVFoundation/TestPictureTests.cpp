#include "Platform/AVFoundation/TestPicture.h"
#include "Platform/AVFoundation/TestPictureCounter.h"

#include <gtest/gtest.h>

namespace {

struct Memory {
    explicit Memory(CMVideoDimensions size)
        : dimensions(size)
        , bytesPerRow(static_cast<std::size_t>(size.width) * 4 + 64)
        , pixels(bytesPerRow * static_cast<std::size_t>(size.height), std::byte { 0x5A })
    {
    }
    std::optional<std::uint32_t> number() const
    {
        return TestPictureCounter::readBGRA(pixels, dimensions.width, dimensions.height, bytesPerRow);
    }
    CMVideoDimensions dimensions;
    std::size_t bytesPerRow;
    std::vector<std::byte> pixels;
    TestPicture::Shown shown;
};

constexpr CMVideoDimensions usual { 1280, 720 };
constexpr int noon = 12 * 3600;

}

TEST(TestPicture, TheNumberCanBeReadBackInEverySize)
{
    for (const auto size :
        { usual, CMVideoDimensions { 1920, 1080 }, { 640, 360 }, { 640, 480 }, { 320, 180 }, { 1000, 563 } }) {
        const TestPicture picture(size);
        Memory memory(size);
        for (const std::uint32_t number : { 0U, 1U, 12345U, 0xFFFFFFFFU, 0x80000001U }) {
            picture.draw(memory.pixels, memory.bytesPerRow, number, noon, memory.shown);
            ASSERT_EQ(memory.number(), number) << size.width;
        }
    }
}

TEST(TestPicture, DrawingOverAnEarlierFrameGivesTheSamePixelsAsDrawingAnew)
{
    const TestPicture picture(usual);
    Memory reused(usual);
    for (const std::uint32_t number : { 0U, 7U, 8U, 9U, 500U, 12000U })
        picture.draw(reused.pixels, reused.bytesPerRow, number, noon + static_cast<int>(number), reused.shown);
    Memory fresh(usual);
    picture.draw(fresh.pixels, fresh.bytesPerRow, 12000, noon + 12000, fresh.shown);
    EXPECT_TRUE(reused.pixels == fresh.pixels);
}

TEST(TestPicture, SuccessiveFramesDiffer)
{
    const TestPicture picture(usual);
    Memory first(usual);
    Memory second(usual);
    picture.draw(first.pixels, first.bytesPerRow, 10, noon, first.shown);
    picture.draw(second.pixels, second.bytesPerRow, 11, noon, second.shown);
    std::size_t different = 0;
    for (std::size_t i = 0; i < first.pixels.size(); i += 4)
        different += first.pixels[i + 1] != second.pixels[i + 1];
    EXPECT_GT(different, 500U);
}

TEST(TestPicture, MemoryThatIsTooSmallIsLeftAlone)
{
    const TestPicture picture(usual);
    std::vector<std::byte> small(1000, std::byte { 1 });
    TestPicture::Shown shown;
    picture.draw(small, 1280 * 4, 1, noon, shown);
    EXPECT_EQ(small, std::vector<std::byte>(1000, std::byte { 1 }));
}

TEST(TestPictureCounter, ADamagedRowIsNoNumber)
{
    const TestPicture picture(usual);
    Memory memory(usual);
    picture.draw(memory.pixels, memory.bytesPerRow, 77, noon, memory.shown);
    const auto block = TestPictureCounter::blockAt(20, usual.width, usual.height);
    for (int y = block.y; y < block.y + block.size; ++y)
        for (int x = block.x; x < block.x + block.size; ++x)
            for (std::size_t channel = 0; channel < 3; ++channel)
                memory.pixels[static_cast<std::size_t>(y) * memory.bytesPerRow + static_cast<std::size_t>(x) * 4
                    + channel]
                    ^= std::byte { 255 };
    EXPECT_EQ(memory.number(), std::nullopt);
}

TEST(TestPictureCounter, APictureWithoutTheRowHasNoNumber)
{
    const std::vector<std::byte> grey(640 * 360 * 4, std::byte { 128 });
    EXPECT_EQ(TestPictureCounter::readBGRA(grey, 640, 360, 640 * 4), std::nullopt);
    EXPECT_EQ(TestPictureCounter::readBGRA(grey, 640, 361, 640 * 4), std::nullopt);
    EXPECT_EQ(TestPictureCounter::readLuma(grey, 640, 360, 640), std::nullopt);
}
