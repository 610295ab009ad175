#include "Platform/CoreImage/CIContext.h"

#include <gtest/gtest.h>

namespace {

/// Two pixels: \p upper above \p lower, each four bytes.
Ref<CVPixelBuffer> twoPixels(OSType format, std::array<int, 4> upper, std::array<int, 4> lower)
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, 1, 2, format, nullptr, &buffer), kCVReturnSuccess);
    for (std::size_t part = 0; part < 4; ++part) {
        buffer->baseAddress()[part] = static_cast<std::byte>(upper[part]);
        buffer->baseAddress()[buffer->bytesPerRow() + part] = static_cast<std::byte>(lower[part]);
    }
    return buffer;
}

std::array<int, 4> pixel(const CVPixelBuffer& buffer, std::size_t x, std::size_t y)
{
    const auto* const bytes = buffer.baseAddress() + y * buffer.bytesPerRow() + 4 * x;
    return { static_cast<int>(bytes[0]), static_cast<int>(bytes[1]), static_cast<int>(bytes[2]),
        static_cast<int>(bytes[3]) };
}

constexpr std::array red { 0, 0, 255, 255 };
constexpr std::array blue { 255, 0, 0, 255 };

}

TEST(CIImage, TheExtentFollowsTheTransforms)
{
    const auto image = CIImage::imageWithCVImageBuffer(twoPixels(kCVPixelFormatType_32BGRA, red, blue).get());
    EXPECT_EQ(image->extent(), CGRectMake(0, 0, 1, 2));
    const auto moved = image->imageByApplyingTransform(CGAffineTransformMakeScale(4, 4))
                           ->imageByApplyingTransform(CGAffineTransformMakeTranslation(1, -1));
    EXPECT_EQ(moved->extent(), CGRectMake(1, -1, 4, 8));
    EXPECT_EQ(image->extent(), CGRectMake(0, 0, 1, 2));
}

TEST(CIImage, NothingGivesNoImage)
{
    EXPECT_FALSE(CIImage::imageWithCVImageBuffer(nullptr));
    EXPECT_FALSE(CIImage::imageWithCGImage(nullptr));
    EXPECT_EQ(make<CIImage>()->extent(), CGRectZero);
}

TEST(CIContext, AnUnchangedImageIsItsOwnBuffer)
{
    const auto buffer = twoPixels(kCVPixelFormatType_32BGRA, red, blue);
    EXPECT_EQ(CIContext::createPixelBuffer(*CIImage::imageWithCVImageBuffer(buffer)), buffer);
}

TEST(CIContext, AFlippedImageIsRenderedUpsideDownInPlace)
{
    const auto image = CIImage::imageWithCVImageBuffer(twoPixels(kCVPixelFormatType_32BGRA, red, blue).get())
                           ->imageByApplyingTransform(CGAffineTransformMakeScale(1, -1))
                           ->imageByApplyingTransform(CGAffineTransformMakeTranslation(0, 2));
    EXPECT_EQ(image->extent(), CGRectMake(0, 0, 1, 2));
    const auto buffer = CIContext::createPixelBuffer(*image);
    EXPECT_EQ(pixel(*buffer, 0, 0), blue);
    EXPECT_EQ(pixel(*buffer, 0, 1), red);
}

TEST(CIContext, AlphaFirstBecomesBlueFirst)
{
    const auto source = twoPixels(kCVPixelFormatType_32ARGB, { 255, 200, 100, 50 }, { 255, 0, 0, 0 });
    const auto buffer = CIContext::createPixelBuffer(*CIImage::imageWithCVImageBuffer(source));
    EXPECT_EQ(buffer->pixelFormat(), kCVPixelFormatType_32BGRA);
    EXPECT_EQ(pixel(*buffer, 0, 0), (std::array { 50, 100, 200, 255 }));
}

TEST(CIContext, AnEmptyImageGivesNoBuffer)
{
    EXPECT_FALSE(CIContext::createPixelBuffer(*make<CIImage>()));
}
