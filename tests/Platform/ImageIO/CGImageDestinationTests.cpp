#include "Platform/ImageIO/CGImageDestination.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/NSURL.h"
#include "Platform/ImageIO/CGImageSource.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class CGImageDestinationTest : public testing::Test {
protected:
    void SetUp() override
    {
        folder = fs::temp_directory_path() / ("tovrin-images-" + std::to_string(getpid()));
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    Ref<NSURL> url(const std::string& name) const { return make<NSURL>((folder / name).string()); }

    static std::vector<std::byte> contents(const fs::path& path)
    {
        std::ifstream file(path, std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(file)), {});
        const auto bytes = std::as_bytes(std::span(text));
        return { bytes.begin(), bytes.end() };
    }

    fs::path folder;
};

Ref<CGImage> imageOf(std::vector<int> bytes, std::size_t width, CGBitmapInfo info)
{
    const auto pixels = std::make_shared<std::vector<std::byte>>();
    for (const int byte : bytes)
        pixels->push_back(static_cast<std::byte>(byte));
    return make<CGImage>(
        width, bytes.size() / 4 / width, width * 4, info, std::shared_ptr<const std::byte>(pixels, pixels->data()));
}

std::vector<int> bytesOf(const CGImage& image)
{
    std::vector<int> bytes;
    for (std::size_t y = 0; y < image.height(); ++y)
        for (std::size_t x = 0; x < image.width() * 4; ++x)
            bytes.push_back(static_cast<int>(image.row(y)[x]));
    return bytes;
}

}

TEST_F(CGImageDestinationTest, AWrittenImageReadsBackAsItWas)
{
    const std::vector<int> opaque { 1, 2, 3, 255, 40, 50, 60, 255, 70, 80, 90, 255, 0, 0, 255, 255 };
    const auto destination = CGImageDestinationCreateWithURL(url("a.png").get(), kUTTypePNG, 1, nullptr);
    CGImageDestinationAddImage(destination, imageOf(opaque, 2, kCGBitmapInfoBGRA).get(), nullptr);
    ASSERT_TRUE(CGImageDestinationFinalize(destination));
    const auto image = CGImageCreateWithPNGData(contents(folder / "a.png"));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width(), 2u);
    EXPECT_EQ(image->height(), 2u);
    EXPECT_EQ(bytesOf(*image), opaque);
}

TEST_F(CGImageDestinationTest, RedIsRedInBothOrdersOfBytes)
{
    for (const auto info : { kCGBitmapInfoRGBA, kCGBitmapInfoBGRA }) {
        const std::vector<int> red
            = info == kCGBitmapInfoRGBA ? std::vector { 255, 0, 0, 255 } : std::vector { 0, 0, 255, 255 };
        const auto destination = CGImageDestinationCreateWithURL(url("r.png").get(), kUTTypePNG, 1, nullptr);
        CGImageDestinationAddImage(destination, imageOf(red, 1, info).get(), nullptr);
        ASSERT_TRUE(CGImageDestinationFinalize(destination));
        EXPECT_EQ(bytesOf(*CGImageCreateWithPNGData(contents(folder / "r.png"))), (std::vector { 0, 0, 255, 255 }));
    }
}

TEST_F(CGImageDestinationTest, TransparencySurvives)
{
    const std::vector<int> half { 128, 64, 32, 128, 0, 0, 0, 0 };
    const auto destination = CGImageDestinationCreateWithURL(url("t.png").get(), kUTTypePNG, 1, nullptr);
    CGImageDestinationAddImage(destination, imageOf(half, 2, kCGBitmapInfoBGRA).get(), nullptr);
    ASSERT_TRUE(CGImageDestinationFinalize(destination));
    EXPECT_EQ(bytesOf(*CGImageCreateWithPNGData(contents(folder / "t.png"))), half);
}

TEST_F(CGImageDestinationTest, NothingIsWrittenBeforeTheEndAndNothingIsLeftBeside)
{
    const auto destination = CGImageDestinationCreateWithURL(url("n.png").get(), kUTTypePNG, 1, nullptr);
    CGImageDestinationAddImage(destination, imageOf({ 1, 2, 3, 255 }, 1, kCGBitmapInfoBGRA).get(), nullptr);
    EXPECT_TRUE(fs::is_empty(folder));
    ASSERT_TRUE(CGImageDestinationFinalize(destination));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST_F(CGImageDestinationTest, AFolderThatIsNotThereMakesItFail)
{
    const auto destination = CGImageDestinationCreateWithURL(url("missing/a.png").get(), kUTTypePNG, 1, nullptr);
    ASSERT_TRUE(destination);
    CGImageDestinationAddImage(destination, imageOf({ 1, 2, 3, 255 }, 1, kCGBitmapInfoBGRA).get(), nullptr);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(CGImageDestinationFinalize(destination));
    EXPECT_NE(testing::internal::GetCapturedStderr().find("No such file or directory"), std::string::npos);
}

TEST_F(CGImageDestinationTest, ATargetThatCannotBeReplacedMakesItFailAndLeavesNoFileBeside)
{
    fs::create_directories(folder / "a.png" / "inside");
    const auto destination = CGImageDestinationCreateWithURL(url("a.png").get(), kUTTypePNG, 1, nullptr);
    CGImageDestinationAddImage(destination, imageOf({ 1, 2, 3, 255 }, 1, kCGBitmapInfoBGRA).get(), nullptr);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(CGImageDestinationFinalize(destination));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST_F(CGImageDestinationTest, OnlyOnePNGWithAnImageCanBeWritten)
{
    EXPECT_FALSE(CGImageDestinationCreateWithURL(nullptr, kUTTypePNG, 1, nullptr));
    EXPECT_FALSE(CGImageDestinationCreateWithURL(url("a").get(), CFSTR("public.jpeg"), 1, nullptr));
    EXPECT_FALSE(CGImageDestinationCreateWithURL(url("a").get(), kUTTypePNG, 2, nullptr));
    const auto empty = CGImageDestinationCreateWithURL(url("a").get(), kUTTypePNG, 1, nullptr);
    EXPECT_FALSE(CGImageDestinationFinalize(empty));
    EXPECT_FALSE(CGImageDestinationFinalize(nullptr));
    const FailPoint::Scope failing("CGImageDestinationCreateWithURL");
    EXPECT_FALSE(CGImageDestinationCreateWithURL(url("a").get(), kUTTypePNG, 1, nullptr));
}

TEST_F(CGImageDestinationTest, DamagedBytesGiveNoImageAndTheDecodersReason)
{
    const auto destination = CGImageDestinationCreateWithURL(url("a.png").get(), kUTTypePNG, 1, nullptr);
    CGImageDestinationAddImage(destination, imageOf(std::vector<int>(400, 255), 10, kCGBitmapInfoBGRA).get(), nullptr);
    ASSERT_TRUE(CGImageDestinationFinalize(destination));
    auto bytes = contents(folder / "a.png");
    bytes.resize(bytes.size() / 2);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(CGImageCreateWithPNGData(bytes));
    EXPECT_FALSE(CGImageCreateWithPNGData({}));
    EXPECT_NE(testing::internal::GetCapturedStderr().find("A picture could not be read: "), std::string::npos);
}
