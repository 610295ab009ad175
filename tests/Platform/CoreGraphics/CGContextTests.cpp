#include "Platform/CoreGraphics/CGContext.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

using Pixel = std::array<int, 4>;

/// A context over memory of its own, which starts transparent black.
class Canvas {
public:
    Canvas(std::size_t width, std::size_t height, CGBitmapInfo info = kCGBitmapInfoBGRA)
        : mWidth(width)
        , mMemory(width * height * 4)
        , context(CGBitmapContextCreate(
              mMemory.data(), width, height, 8, width * 4, CGColorSpaceCreateDeviceRGB().get(), info))
    {
    }
    /// The bytes of a pixel, counted from the top left.
    Pixel at(std::size_t x, std::size_t y) const
    {
        const auto* const pixel = mMemory.data() + (y * mWidth + x) * 4;
        return { static_cast<int>(pixel[0]), static_cast<int>(pixel[1]), static_cast<int>(pixel[2]),
            static_cast<int>(pixel[3]) };
    }
    void fill(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha, const CGRect& rect)
    {
        CGContextSetFillColorWithColor(context, CGColorCreateGenericRGB(red, green, blue, alpha).get());
        CGContextFillRect(context, rect);
    }

private:
    std::size_t mWidth;
    std::vector<std::byte> mMemory;

public:
    Ref<CGContext> context;
};

constexpr Pixel clear { 0, 0, 0, 0 };

/// Red above, blue below, two pixels wide and two high.
Ref<CGImage> redAboveBlue()
{
    Canvas canvas(2, 2);
    canvas.fill(1, 0, 0, 1, CGRectMake(0, 1, 2, 1));
    canvas.fill(0, 0, 1, 1, CGRectMake(0, 0, 2, 1));
    return CGBitmapContextCreateImage(canvas.context);
}

}

TEST(CGContext, TheOriginIsAtTheBottomLeft)
{
    Canvas canvas(4, 4);
    canvas.fill(1, 0, 0, 1, CGRectMake(0, 0, 1, 1));
    EXPECT_EQ(canvas.at(0, 3), (Pixel { 0, 0, 255, 255 }));
    EXPECT_EQ(canvas.at(0, 0), clear);
    EXPECT_EQ(canvas.at(1, 3), clear);
}

TEST(CGContext, TheOrderOfBytesIsThatOfTheBitmapInformation)
{
    Canvas canvas(1, 1, kCGBitmapInfoRGBA);
    canvas.fill(1, 0.5, 0, 1, CGRectMake(0, 0, 1, 1));
    EXPECT_EQ(canvas.at(0, 0), (Pixel { 255, 128, 0, 255 }));
}

TEST(CGContext, AHalfCoveredPixelTakesHalfOfTheColour)
{
    Canvas canvas(2, 1);
    canvas.fill(1, 1, 1, 1, CGRectMake(0, 0, 1.5, 1));
    EXPECT_EQ(canvas.at(0, 0), (Pixel { 255, 255, 255, 255 }));
    EXPECT_EQ(canvas.at(1, 0), (Pixel { 128, 128, 128, 128 }));
}

TEST(CGContext, ATransparentColourLiesOverWhatIsThere)
{
    Canvas canvas(1, 1);
    canvas.fill(0, 0, 0, 1, CGRectMake(0, 0, 1, 1));
    canvas.fill(1, 0, 0, 0.5, CGRectMake(0, 0, 1, 1));
    EXPECT_EQ(canvas.at(0, 0), (Pixel { 0, 0, 128, 255 }));
}

TEST(CGContext, TransformsBeginWithTheLastOneGivenAndEndWithTheState)
{
    Canvas canvas(8, 8);
    CGContextSaveGState(canvas.context);
    CGContextTranslateCTM(canvas.context, 4, 4);
    CGContextConcatCTM(canvas.context, CGAffineTransformMakeScale(2, 2));
    canvas.fill(0, 1, 0, 1, CGRectMake(0, 0, 1, 1));
    CGContextRestoreGState(canvas.context);
    CGContextFillRect(canvas.context, CGRectMake(0, 0, 1, 1));
    EXPECT_EQ(canvas.at(4, 3), (Pixel { 0, 255, 0, 255 }));
    EXPECT_EQ(canvas.at(5, 2), (Pixel { 0, 255, 0, 255 }));
    EXPECT_EQ(canvas.at(6, 3), clear);
    EXPECT_EQ(canvas.at(4, 4), clear);
    // The colour went back to black with the state.
    EXPECT_EQ(canvas.at(0, 7), (Pixel { 0, 0, 0, 255 }));
}

TEST(CGContext, RestoringWithoutASavedStateChangesNothing)
{
    Canvas canvas(1, 1);
    CGContextRestoreGState(canvas.context);
    canvas.fill(1, 1, 1, 1, CGRectMake(0, 0, 1, 1));
    EXPECT_EQ(canvas.at(0, 0), (Pixel { 255, 255, 255, 255 }));
}

TEST(CGContext, FillingOutsideTheMemoryIsCutOff)
{
    Canvas canvas(2, 2);
    canvas.fill(1, 1, 1, 1, CGRectMake(-100, -100, 1000, 1000));
    EXPECT_EQ(canvas.at(1, 1), (Pixel { 255, 255, 255, 255 }));
    canvas.fill(0, 0, 0, 1, CGRectMake(5, 5, 10, 10));
    canvas.fill(0, 0, 0, 1, CGRectMake(-10, -10, 5, 5));
    EXPECT_EQ(canvas.at(1, 1), (Pixel { 255, 255, 255, 255 }));
}

TEST(CGContext, ImagesAreDrawnUpright)
{
    Canvas canvas(4, 4);
    CGContextDrawImage(canvas.context, CGRectMake(0, 0, 4, 4), redAboveBlue().get());
    EXPECT_GT(canvas.at(1, 1)[2], canvas.at(1, 1)[0]);
    EXPECT_GT(canvas.at(1, 2)[0], canvas.at(1, 2)[2]);
}

TEST(CGContext, AnImageInAnotherOrderOfBytesKeepsItsColours)
{
    Canvas canvas(2, 2, kCGBitmapInfoRGBA);
    CGContextDrawImage(canvas.context, CGRectMake(0, 0, 2, 2), redAboveBlue().get());
    EXPECT_EQ(canvas.at(0, 0), (Pixel { 255, 0, 0, 255 }));
    EXPECT_EQ(canvas.at(1, 1), (Pixel { 0, 0, 255, 255 }));
}

TEST(CGContext, AFlippingTransformTurnsAnImageUpsideDown)
{
    Canvas canvas(2, 2);
    CGContextTranslateCTM(canvas.context, 0, 2);
    CGContextScaleCTM(canvas.context, 1, -1);
    CGContextDrawImage(canvas.context, CGRectMake(0, 0, 2, 2), redAboveBlue().get());
    EXPECT_EQ(canvas.at(0, 0), (Pixel { 255, 0, 0, 255 }));
    EXPECT_EQ(canvas.at(0, 1), (Pixel { 0, 0, 255, 255 }));
}

TEST(CGContext, ALargeImageIsAveragedWhenItIsDrawnSmall)
{
    // Columns of black and white, one pixel each: any single sample would be black or white.
    Canvas stripes(64, 64);
    stripes.fill(0, 0, 0, 1, CGRectMake(0, 0, 64, 64));
    for (int column = 0; column < 64; column += 2)
        stripes.fill(1, 1, 1, 1, CGRectMake(column, 0, 1, 64));
    const auto image = CGBitmapContextCreateImage(stripes.context);
    Canvas canvas(8, 8);
    CGContextDrawImage(canvas.context, CGRectMake(0, 0, 8, 8), image);
    EXPECT_NEAR(canvas.at(3, 3)[1], 128, 1);
    EXPECT_NEAR(canvas.at(4, 4)[1], 128, 1);
}

TEST(CGContext, AnImageBetweenPixelsCoversTheOutermostOnesInPart)
{
    // Opaque white, drawn from a quarter to three quarters and a half of a pixel further.
    Canvas white(4, 4);
    white.fill(1, 1, 1, 1, CGRectMake(0, 0, 4, 4));
    const auto image = CGBitmapContextCreateImage(white.context);
    Canvas smaller(4, 1);
    CGContextDrawImage(smaller.context, CGRectMake(0.25, 0, 2.5, 1), image);
    const std::array smallerAlphas { 191.25, 255.0, 191.25, 0.0 };
    Canvas larger(8, 1);
    CGContextDrawImage(larger.context, CGRectMake(0.75, 0, 6.5, 1), image);
    const std::array largerAlphas { 63.75, 255.0, 255.0, 255.0, 255.0, 255.0, 255.0, 63.75 };
    for (std::size_t x = 0; x < 4; ++x)
        EXPECT_NEAR(smaller.at(x, 0)[3], smallerAlphas[x], 0.51) << x;
    for (std::size_t x = 0; x < 8; ++x)
        EXPECT_NEAR(larger.at(x, 0)[3], largerAlphas[x], 0.51) << x;
}

TEST(CGContext, ALargerImageIsInterpolatedBetweenTheCentresOfItsPixels)
{
    Canvas two(2, 1);
    two.fill(0, 0, 0, 1, CGRectMake(0, 0, 2, 1));
    two.fill(1, 1, 1, 1, CGRectMake(1, 0, 1, 1));
    const auto image = CGBitmapContextCreateImage(two.context);
    Canvas canvas(8, 2);
    CGContextDrawImage(canvas.context, CGRectMake(0, 0, 8, 2), image);
    const std::array values { 0.0, 0.0, 31.875, 95.625, 159.375, 223.125, 255.0, 255.0 };
    for (std::size_t y = 0; y < 2; ++y)
        for (std::size_t x = 0; x < 8; ++x) {
            EXPECT_NEAR(canvas.at(x, y)[0], values[x], 0.51) << x;
            EXPECT_EQ(canvas.at(x, y)[3], 255);
        }
}

TEST(CGContext, AnImageOfTheSizeIsCopiedByteForByteAlsoMirrored)
{
    Canvas source(16, 8);
    for (int x = 0; x < 16; ++x)
        source.fill(x / 16.0, 0.5, 1 - x / 16.0, 0.75, CGRectMake(x, x % 8, 1, 2));
    const auto image = CGBitmapContextCreateImage(source.context);
    Canvas copy(16, 8);
    CGContextDrawImage(copy.context, CGRectMake(0, 0, 16, 8), image);
    Canvas mirrored(16, 8);
    CGContextTranslateCTM(mirrored.context, 16, 0);
    CGContextScaleCTM(mirrored.context, -1, 1);
    CGContextDrawImage(mirrored.context, CGRectMake(0, 0, 16, 8), image);
    for (std::size_t y = 0; y < 8; ++y)
        for (std::size_t x = 0; x < 16; ++x) {
            EXPECT_EQ(copy.at(x, y), source.at(x, y));
            EXPECT_EQ(mirrored.at(15 - x, y), source.at(x, y));
        }
}

TEST(CGContext, NothingIsDrawnWhereAPlaceIsNoNumber)
{
    const auto image = redAboveBlue();
    for (const CGFloat wrong : { std::nan(""), static_cast<CGFloat>(INFINITY) }) {
        Canvas canvas(2, 2);
        canvas.fill(1, 1, 1, 1, CGRectMake(0, 0, wrong, 2));
        CGContextDrawImage(canvas.context, CGRectMake(wrong, 0, 2, 2), image);
        CGContextConcatCTM(canvas.context, CGAffineTransformMakeScale(wrong, wrong));
        CGContextDrawImage(canvas.context, CGRectMake(0, 0, 2, 2), image);
        EXPECT_EQ(canvas.at(0, 0), clear);
        EXPECT_EQ(canvas.at(1, 1), clear);
    }
}

TEST(CGContext, AnImageFarLargerThanTheMemoryIsCutOff)
{
    Canvas canvas(2, 2);
    CGContextDrawImage(canvas.context, CGRectMake(-1e9, -1e9, 2e9, 2e9), redAboveBlue().get());
    EXPECT_EQ(canvas.at(0, 1)[3], 255);
    CGContextDrawImage(canvas.context, CGRectMake(1e9, 0, 2, 2), redAboveBlue().get());
    CGContextDrawImage(canvas.context, CGRectMake(0, 0, 0, 2), redAboveBlue().get());
    EXPECT_EQ(canvas.at(0, 1)[3], 255);
}

TEST(CGContext, AnImageKeepsWhatItWasWhenTheContextIsDrawnOn)
{
    Canvas canvas(1, 1);
    canvas.fill(1, 1, 1, 1, CGRectMake(0, 0, 1, 1));
    const auto image = CGBitmapContextCreateImage(canvas.context);
    canvas.fill(0, 0, 0, 1, CGRectMake(0, 0, 1, 1));
    EXPECT_EQ(image->row(0)[0], std::byte { 255 });
}

TEST(CGContext, MemoryThatDoesNotFitGivesNoContext)
{
    std::array<std::byte, 64> memory {};
    const auto space = CGColorSpaceCreateDeviceRGB();
    EXPECT_TRUE(CGBitmapContextCreate(memory.data(), 4, 4, 8, 16, space.get(), kCGBitmapInfoBGRA));
    EXPECT_FALSE(CGBitmapContextCreate(nullptr, 4, 4, 8, 16, space.get(), kCGBitmapInfoBGRA));
    EXPECT_FALSE(CGBitmapContextCreate(memory.data(), 0, 4, 8, 16, space.get(), kCGBitmapInfoBGRA));
    EXPECT_FALSE(CGBitmapContextCreate(memory.data(), 4, 4, 16, 16, space.get(), kCGBitmapInfoBGRA));
    EXPECT_FALSE(CGBitmapContextCreate(memory.data(), 4, 4, 8, 15, space.get(), kCGBitmapInfoBGRA));
    EXPECT_FALSE(CGBitmapContextCreate(memory.data(), 4, 4, 8, 16, nullptr, kCGBitmapInfoBGRA));
    EXPECT_FALSE(CGBitmapContextCreate(memory.data(), 4, 4, 8, 16, space.get(), kCGImageAlphaNoneSkipFirst));
    const FailPoint::Scope failing("CGBitmapContextCreate");
    EXPECT_FALSE(CGBitmapContextCreate(memory.data(), 4, 4, 8, 16, space.get(), kCGBitmapInfoBGRA));
}

TEST(CGGeometry, ConcatenationDoesTheFirstTransformFirst)
{
    const auto both
        = CGAffineTransformConcat(CGAffineTransformMakeScale(2, 4), CGAffineTransformMakeTranslation(10, 20));
    EXPECT_EQ(CGPointApplyAffineTransform({ 1, 1 }, both), (CGPoint { 12, 24 }));
    EXPECT_EQ(CGPointApplyAffineTransform({ 12, 24 }, CGAffineTransformInvert(both)), (CGPoint { 1, 1 }));
}

TEST(CGGeometry, AFlippedRectangleKeepsAPositiveSize)
{
    EXPECT_EQ(
        CGRectApplyAffineTransform(CGRectMake(1, 2, 3, 4), CGAffineTransformMakeScale(1, -1)), CGRectMake(1, -6, 3, 4));
}

TEST(CGImage, ImageOfABufferSharesItsMemory)
{
    Ref<CVPixelBuffer> buffer;
    ASSERT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, 4, 2, kCVPixelFormatType_32BGRA, nullptr, &buffer), 0);
    const auto image = CGImageCreateWithPixelBuffer(buffer);
    EXPECT_EQ(image->row(1), buffer->baseAddress() + buffer->bytesPerRow());
    EXPECT_EQ(buffer->retainCount(), 2);
    EXPECT_FALSE(CGImageCreateWithPixelBuffer(nullptr));
}

TEST(CGColor, ConstantColoursAreTheSameObjectEveryTime)
{
    EXPECT_EQ(CGColorGetConstantColor(kCGColorBlack), CGColorGetConstantColor(kCGColorBlack));
    EXPECT_EQ(CGColorGetConstantColor(kCGColorWhite)->red(), 1);
    EXPECT_EQ(CGColorGetConstantColor(CFSTR("other")), nullptr);
}
