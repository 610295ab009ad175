#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreImage/CIContext.h"
#include "tests/Platform/CoreImage/ReferencePicture.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <algorithm>

namespace {

using namespace ReferencePicture;

Ref<CIImage> scaledImage(CVPixelBuffer& source, int width, int height)
{
    return CIImage::imageWithCVImageBuffer(&source)->imageByApplyingTransform(CGAffineTransformMakeScale(
        width / static_cast<double>(source.width()), height / static_cast<double>(source.height())));
}

CGRect boundsOf(const CVPixelBuffer& buffer)
{
    return CGRectMake(0, 0, static_cast<CGFloat>(buffer.width()), static_cast<CGFloat>(buffer.height()));
}

class CIContextTest : public testing::Test {
protected:
    void SetUp() override
    {
        Ref<CGLPixelFormat> format;
        const std::array attributes { kCGLPFAAccelerated, 0 };
        ASSERT_EQ(CGLChoosePixelFormat(attributes.data(), &format, nullptr), kCGLNoError);
        ASSERT_EQ(CGLCreateContext(format, nullptr, &glContext), kCGLNoError);
        space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
        context = CIContext::contextWithCGLContext_pixelFormat_colorSpace_options(glContext, format, space, nullptr);
        ASSERT_TRUE(context);
    }
    void TearDown() override { FailPoint::disarmAll(); }
    void render(CIImage& image, const CVPixelBuffer& result)
    {
        context->render_toIOSurface_bounds_colorSpace(&image, result.surface(), boundsOf(result), space);
    }
    Ref<CGLContext> glContext;
    Ref<CGColorSpace> space;
    Ref<CIContext> context;
};

class CIContextScaling : public CIContextTest, public testing::WithParamInterface<ScalingWay> { };

}

TEST_P(CIContextScaling, IsWhatTheDefinitionSays)
{
    const auto [scaling, usesOpenGL] = GetParam();
    if (usesOpenGL)
        FailPoint::arm("CIContext.rendersWithTheProcessor");
    const auto source = noise(scaling.sourceWidth, scaling.sourceHeight);
    const auto result = bufferOf(scaling.width, scaling.height);
    render(*scaledImage(*source, scaling.width, scaling.height), *result);
    EXPECT_LE(greatestError(*source, *result), usesOpenGL ? 2.0 : 1.0);
}

INSTANTIATE_TEST_SUITE_P(Sizes, CIContextScaling,
    testing::Combine(
        testing::Values(Scaling { 480, 270, 320, 180 }, Scaling { 160, 120, 320, 180 }, Scaling { 320, 180, 320, 180 },
            Scaling { 640, 360, 320, 180 }, Scaling { 1, 1, 1, 1 }, Scaling { 1, 1, 64, 36 },
            Scaling { 321, 181, 1, 1 }, Scaling { 317, 203, 101, 333 }, Scaling { 5, 3, 7, 9 }, Scaling { 7, 9, 5, 3 },
            Scaling { 64, 640, 1, 10 }, Scaling { 65, 64, 1, 1 }, Scaling { 1000, 37, 333, 13 },
            Scaling { 2, 2, 4099, 3 }, Scaling { 5003, 3, 320, 7 }, Scaling { 3, 4500, 5, 4097 }),
        testing::Bool()),
    nameOf);

TEST_F(CIContextTest, ThePicturesOfTheProgramAreWhatTheDefinitionSays)
{
    for (const auto& [sourceWidth, sourceHeight] : { std::pair { 1920, 1080 }, std::pair { 640, 480 } }) {
        const auto source = noise(sourceWidth, sourceHeight);
        const auto result = bufferOf(1280, 720);
        render(*scaledImage(*source, 1280, 720), *result);
        EXPECT_LE(greatestError(*source, *result), 1.0) << sourceWidth;
    }
}

TEST_F(CIContextTest, OneColourStaysWhatItIsAtEverySize)
{
    for (const int value : { 0, 1, 127, 254, 255 })
        for (const int width : { 1, 2, 3, 17, 64, 65, 130, 700 }) {
            const auto source = bufferOf(width, 33);
            std::memset(source->baseAddress(), value, source->bytesPerRow() * 33);
            const auto result = bufferOf(11, 5);
            render(*scaledImage(*source, 11, 5), *result);
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < 11 * 4; ++x)
                    ASSERT_EQ(pixelOf(*result, 0, y)[x], value) << width;
        }
}

TEST_F(CIContextTest, TheMeanIsTakenOfTheValuesAsTheyStand)
{
    // Of light itself the mean of black and white would be 188.
    const auto source = bufferOf(2, 1);
    std::fill_n(pixelOf(*source, 0, 0), 4, std::uint8_t { 0 });
    std::fill_n(pixelOf(*source, 1, 0), 4, std::uint8_t { 255 });
    for (const bool usesOpenGL : { false, true }) {
        if (usesOpenGL)
            FailPoint::arm("CIContext.rendersWithTheProcessor");
        const auto result = bufferOf(1, 1);
        render(*scaledImage(*source, 1, 1), *result);
        EXPECT_NEAR(pixelOf(*result, 0, 0)[0], 127.5, 0.5);
    }
}

TEST_F(CIContextTest, APictureThatCoversPixelsInPartTakesAsMuchOfThem)
{
    const auto source = bufferOf(8, 8);
    std::memset(source->baseAddress(), 255, source->bytesPerRow() * 8);
    const auto result = bufferOf(8, 8);
    // Half the size, and a quarter of a pixel to the right and up.
    render(*CIImage::imageWithCVImageBuffer(source)
                ->imageByApplyingTransform(CGAffineTransformMakeScale(0.5, 0.5))
                ->imageByApplyingTransform(CGAffineTransformMakeTranslation(1.25, 1.25)),
        *result);
    const std::array expected { 0.0, 0.75, 1.0, 1.0, 1.0, 0.25, 0.0, 0.0 };
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            EXPECT_NEAR(pixelOf(*result, x, 7 - y)[3],
                255 * expected[static_cast<std::size_t>(x)] * expected[static_cast<std::size_t>(y)], 1.0)
                << x << "," << y;
}

TEST_F(CIContextTest, PicturesOfOtherSizesInTurnAreEachRight)
{
    const auto large = noise(90, 60);
    const auto small = noise(21, 13);
    for (int times = 0; times < 3; ++times)
        for (const auto& source : { large, small }) {
            const auto result = bufferOf(33, 31);
            render(*scaledImage(*source, 33, 31), *result);
            EXPECT_LE(greatestError(*source, *result), 1.0);
        }
}

TEST_F(CIContextTest, PicturesKeepTheirPlaceAndWhatTheyDoNotCoverIsTransparent)
{
    const auto source = noise(8, 4);
    for (const bool usesOpenGL : { false, true }) {
        if (usesOpenGL)
            FailPoint::arm("CIContext.rendersWithTheProcessor");
        const auto result = bufferOf(20, 10);
        const auto image
            = CIImage::imageWithCVImageBuffer(source)->imageByApplyingTransform(CGAffineTransformMakeTranslation(3, 1));
        render(*image, *result);
        for (int y = 0; y < 10; ++y)
            for (int x = 0; x < 20; ++x) {
                // One row stays free below the picture: rows count from the top.
                const int sourceX = x - 3;
                const int sourceY = y - 5;
                const bool isCovered = sourceX >= 0 && sourceX < 8 && sourceY >= 0 && sourceY < 4;
                for (int part = 0; part < 4; ++part)
                    ASSERT_EQ(pixelOf(*result, x, y)[part], isCovered ? pixelOf(*source, sourceX, sourceY)[part] : 0)
                        << x << "," << y;
            }
    }
}

TEST_F(CIContextTest, APictureCanBeTurnedRound)
{
    const auto source = noise(40, 30);
    for (const bool usesOpenGL : { false, true }) {
        if (usesOpenGL)
            FailPoint::arm("CIContext.rendersWithTheProcessor");
        const auto result = bufferOf(40, 30);
        render(*CIImage::imageWithCVImageBuffer(source)
                    ->imageByApplyingTransform(CGAffineTransformMakeScale(-1, -1))
                    ->imageByApplyingTransform(CGAffineTransformMakeTranslation(40, 30)),
            *result);
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; ++x)
                ASSERT_EQ(pixelOf(*result, x, y)[0], pixelOf(*source, 39 - x, 29 - y)[0]);
    }
}

TEST_F(CIContextTest, ASlantedPictureIsDrawnToo)
{
    const auto source = bufferOf(4, 4);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            std::fill_n(pixelOf(*source, x, y), 4, std::uint8_t { 255 });
    const auto result = bufferOf(16, 16);
    // A quarter turn and fourfold: x grows upwards, y to the left.
    render(*CIImage::imageWithCVImageBuffer(source)->imageByApplyingTransform({ 0, 2, -2, 0, 12, 4 }), *result);
    EXPECT_EQ(pixelOf(*result, 8, 8)[1], 255);
    EXPECT_EQ(pixelOf(*result, 1, 8)[1], 0);
    EXPECT_EQ(pixelOf(*result, 14, 8)[3], 0);
}

TEST_F(CIContextTest, ABufferOfAScaledImageIsWhatTheDefinitionSays)
{
    for (const auto& scaling : { Scaling { 1280, 720, 320, 180 }, Scaling { 640, 360, 320, 180 },
             Scaling { 7, 9, 5, 3 }, Scaling { 8, 4, 20, 10 }, Scaling { 321, 181, 1, 1 } }) {
        const auto source = noise(scaling.sourceWidth, scaling.sourceHeight);
        const auto result = CIContext::createPixelBuffer(*scaledImage(*source, scaling.width, scaling.height));
        ASSERT_EQ(boundsOf(*result), CGRectMake(0, 0, scaling.width, scaling.height)) << scaling.name();
        EXPECT_LE(greatestError(*source, *result), 1.0) << scaling.name();
    }
}

TEST_F(CIContextTest, ABufferOfAnImageBeginsWhereTheImageLies)
{
    const auto source = noise(40, 30);
    const auto upright = CIContext::createPixelBuffer(*scaledImage(*source, 10, 10));
    // Turned round, so that it lies left of and below the origin, and moved.
    const auto result = CIContext::createPixelBuffer(
        *CIImage::imageWithCVImageBuffer(source)
             ->imageByApplyingTransform(CGAffineTransformMakeScale(-10.0 / 40, -10.0 / 30))
             ->imageByApplyingTransform(CGAffineTransformMakeTranslation(-7, 5)));
    ASSERT_EQ(boundsOf(*result), CGRectMake(0, 0, 10, 10));
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 10; ++x)
            for (int part = 0; part < 4; ++part)
                ASSERT_NEAR(pixelOf(*result, x, y)[part], pixelOf(*upright, 9 - x, 9 - y)[part], 1) << x << "," << y;
}

TEST_F(CIContextTest, ABufferOfASmallerImageHasBlueFirstEvenIfTheImageHasAlphaFirst)
{
    Ref<CVPixelBuffer> source;
    ASSERT_EQ(
        CVPixelBufferCreate(kCFAllocatorDefault, 8, 8, kCVPixelFormatType_32ARGB, nullptr, &source), kCVReturnSuccess);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            std::ranges::copy(std::array<std::uint8_t, 4> { 255, 200, 100, 50 }, pixelOf(*source, x, y));
    const auto result = CIContext::createPixelBuffer(*scaledImage(*source, 2, 2));
    EXPECT_EQ(result->pixelFormat(), kCVPixelFormatType_32BGRA);
    for (const int x : { 0, 1 })
        for (const auto& [part, value] : { std::pair { 0, 50 }, { 1, 100 }, { 2, 200 }, { 3, 255 } })
            EXPECT_EQ(pixelOf(*result, x, 1)[part], value);
}

TEST_F(CIContextTest, APartOfTheImageFillsTheBottomLeftCorner)
{
    const auto source = noise(16, 16);
    const auto result = bufferOf(16, 16);
    for (int y = 0; y < 16; ++y)
        std::fill_n(pixelOf(*result, 0, y), 16 * 4, std::uint8_t { 9 });
    const auto image = CIImage::imageWithCVImageBuffer(source);
    context->render_toIOSurface_bounds_colorSpace(image, result->surface(), CGRectMake(4, 8, 8, 4), space);
    EXPECT_EQ(pixelOf(*result, 0, 12)[0], pixelOf(*source, 4, 4)[0]);
    EXPECT_EQ(pixelOf(*result, 7, 15)[2], pixelOf(*source, 11, 7)[2]);
    EXPECT_EQ(pixelOf(*result, 0, 11)[0], 9);
    EXPECT_EQ(pixelOf(*result, 8, 12)[0], 9);
}

TEST_F(CIContextTest, ALostContextIsReplacedBehindTheSameObject)
{
    FailPoint::arm("CIContext.rendersWithTheProcessor");
    const auto source = noise(30, 20);
    const auto result = bufferOf(20, 10);
    render(*scaledImage(*source, 20, 10), *result);
    for (int times = 0; times < 3; ++times) {
        std::memset(result->baseAddress(), 0, result->bytesPerRow() * 10);
        FailPoint::arm("GLContextLost", -1, 0, 1);
        render(*scaledImage(*source, 20, 10), *result);
        EXPECT_LE(greatestError(*source, *result), 2.0);
    }
    const CGLContext::Use use(*glContext);
    EXPECT_EQ(glContext->generation(), 3U);
}

TEST_F(CIContextTest, ADriverThatFailsLeavesTheSurfaceAsItWas)
{
    FailPoint::arm("CIContext.rendersWithTheProcessor");
    const auto source = noise(30, 20);
    const auto result = bufferOf(20, 10);
    std::memset(result->baseAddress(), 7, result->bytesPerRow() * 10);
    StandardErrorCapture log;
    {
        const FailPoint::Scope fails("CIContext.render");
        render(*scaledImage(*source, 20, 10), *result);
    }
    {
        const FailPoint::Scope fails("GLContextMakeCurrent");
        render(*scaledImage(*source, 20, 10), *result);
    }
    EXPECT_EQ(pixelOf(*result, 5, 5)[0], 7);
    render(*scaledImage(*source, 20, 10), *result);
    EXPECT_LE(greatestError(*source, *result), 2.0);
    const std::string line = "A picture could not be rendered: the graphics driver failed.\n";
    EXPECT_EQ(withoutNSLogPrefixes(log.text()), line + line);
}

TEST_F(CIContextTest, NothingIsRenderedFromNothingOrIntoNothing)
{
    const auto source = noise(4, 4);
    const auto result = bufferOf(4, 4);
    std::memset(result->baseAddress(), 7, result->bytesPerRow() * 4);
    const auto image = CIImage::imageWithCVImageBuffer(source);
    context->render_toIOSurface_bounds_colorSpace(nullptr, result->surface(), boundsOf(*result), space);
    context->render_toIOSurface_bounds_colorSpace(image, nullptr, boundsOf(*result), space);
    context->render_toIOSurface_bounds_colorSpace(image, result->surface(), CGRectMake(0, 0, 0.2, 4), space);
    EXPECT_EQ(pixelOf(*result, 0, 0)[0], 7);
    render(*make<CIImage>(), *result);
    EXPECT_EQ(pixelOf(*result, 0, 0)[0], 0);
    EXPECT_FALSE(CIContext::contextWithCGLContext_pixelFormat_colorSpace_options(nullptr, nullptr, space, nullptr));
    EXPECT_FALSE(CIContext::contextWithCGLContext_pixelFormat_colorSpace_options(
        glContext, glContext->pixelFormat(), nullptr, nullptr));
}

TEST_F(CIContextTest, TheThreadsOwnContextIsCurrentAgainAfterwards)
{
    FailPoint::arm("CIContext.rendersWithTheProcessor");
    Ref<CGLContext> other;
    ASSERT_EQ(CGLCreateContext(glContext->pixelFormat(), nullptr, &other), kCGLNoError);
    EXPECT_EQ(CGLGetCurrentContext(), nullptr);
    ASSERT_EQ(CGLSetCurrentContext(other), kCGLNoError);
    const auto source = noise(4, 4);
    const auto result = bufferOf(2, 2);
    render(*scaledImage(*source, 2, 2), *result);
    EXPECT_EQ(CGLGetCurrentContext(), other);
    EXPECT_EQ(CGLSetCurrentContext(nullptr), kCGLNoError);
    render(*scaledImage(*source, 2, 2), *result);
    EXPECT_EQ(CGLGetCurrentContext(), nullptr);
}
