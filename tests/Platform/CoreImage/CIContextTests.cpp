#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreImage/CIContext.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

namespace {

using Color = std::array<double, 4>;

Ref<CVPixelBuffer> bufferOf(int width, int height)
{
    const auto attributes = make<CFDictionary>();
    attributes->set(kCVPixelBufferIOSurfacePropertiesKey, make<CFDictionary>().get());
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(width),
                  static_cast<std::size_t>(height), kCVPixelFormatType_32BGRA, attributes, &buffer),
        kCVReturnSuccess);
    return buffer;
}

std::uint8_t* pixelOf(const CVPixelBuffer& buffer, int x, int y)
{
    return reinterpret_cast<std::uint8_t*>(buffer.baseAddress()) + static_cast<std::size_t>(y) * buffer.bytesPerRow()
        + static_cast<std::size_t>(x) * 4;
}

/// A picture of hard edges and noise, so that every error of place shows.
Ref<CVPixelBuffer> noise(int width, int height)
{
    const auto buffer = bufferOf(width, height);
    std::minstd_rand random(static_cast<unsigned>(width * 31 + height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            auto* const pixel = pixelOf(*buffer, x, y);
            for (int part = 0; part < 3; ++part)
                pixel[part] = (x / 7 + y / 5 + part) % 2 ? static_cast<std::uint8_t>(random() % 256) : 0;
            pixel[3] = 255;
        }
    return buffer;
}

/// What share of a pixel of the result each pixel of the source has along one axis, straight from the definition.
std::vector<double> shares(int index, int sourceLength, int targetLength)
{
    std::vector<double> result(static_cast<std::size_t>(sourceLength), 0.0);
    const double perPixel = static_cast<double>(sourceLength) / targetLength;
    if (perPixel > 1) {
        for (int i = 0; i < sourceLength; ++i)
            result[static_cast<std::size_t>(i)]
                = std::max(0.0, std::min(i + 1.0, (index + 1) * perPixel) - std::max<double>(i, index * perPixel))
                / perPixel;
        return result;
    }
    const double place = (index + 0.5) * perPixel - 0.5;
    const double left = std::floor(place);
    const auto inside
        = [&](double i) { return static_cast<std::size_t>(std::clamp(i, 0.0, static_cast<double>(sourceLength - 1))); };
    result[inside(left)] += 1 - (place - left);
    result[inside(left + 1)] += place - left;
    return result;
}

/// The largest difference between \p result and \p source scaled to its size, over all bytes.
double greatestError(const CVPixelBuffer& source, const CVPixelBuffer& result)
{
    const auto width = static_cast<int>(result.width());
    const auto height = static_cast<int>(result.height());
    const auto sourceWidth = static_cast<int>(source.width());
    const auto sourceHeight = static_cast<int>(source.height());
    std::vector<std::vector<double>> across;
    for (int x = 0; x < width; ++x)
        across.push_back(shares(x, sourceWidth, width));
    double worst = 0;
    for (int y = 0; y < height; ++y) {
        const auto down = shares(y, sourceHeight, height);
        std::vector<Color> row(static_cast<std::size_t>(sourceWidth), Color {});
        for (int sy = 0; sy < sourceHeight; ++sy) {
            if (down[static_cast<std::size_t>(sy)] == 0)
                continue;
            for (int sx = 0; sx < sourceWidth; ++sx)
                for (std::size_t part = 0; part < 4; ++part)
                    row[static_cast<std::size_t>(sx)][part]
                        += down[static_cast<std::size_t>(sy)] * pixelOf(source, sx, sy)[part];
        }
        for (int x = 0; x < width; ++x) {
            Color color {};
            const auto& columns = across[static_cast<std::size_t>(x)];
            for (std::size_t sx = 0; sx < columns.size(); ++sx)
                for (std::size_t part = 0; columns[sx] != 0 && part < 4; ++part)
                    color[part] += columns[sx] * row[sx][part];
            for (std::size_t part = 0; part < 4; ++part)
                worst = std::max(worst, std::abs(color[part] - pixelOf(result, x, y)[part]));
        }
    }
    return worst;
}

struct Scaling {
    int sourceWidth, sourceHeight, width, height;
    friend void PrintTo(const Scaling& scaling, std::ostream* stream)
    {
        *stream << scaling.sourceWidth << "x" << scaling.sourceHeight << " to " << scaling.width << "x"
                << scaling.height;
    }
};

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

class CIContextScaling : public CIContextTest, public testing::WithParamInterface<std::tuple<Scaling, bool>> { };

std::string nameOf(const testing::TestParamInfo<std::tuple<Scaling, bool>>& instance)
{
    const auto& [scaling, usesOpenGL] = instance.param;
    return std::to_string(scaling.sourceWidth) + "x" + std::to_string(scaling.sourceHeight) + "To"
        + std::to_string(scaling.width) + "x" + std::to_string(scaling.height) + (usesOpenGL ? "OpenGL" : "Processor");
}

}

TEST_P(CIContextScaling, IsWhatTheDefinitionSaysWithinTwoSteps)
{
    const auto [scaling, usesOpenGL] = GetParam();
    if (usesOpenGL)
        FailPoint::arm("CIContext.rendersWithTheProcessor");
    const auto source = noise(scaling.sourceWidth, scaling.sourceHeight);
    const auto result = bufferOf(scaling.width, scaling.height);
    render(*scaledImage(*source, scaling.width, scaling.height), *result);
    EXPECT_LE(greatestError(*source, *result), 2.0);
}

INSTANTIATE_TEST_SUITE_P(Sizes, CIContextScaling,
    testing::Combine(testing::Values(Scaling { 480, 270, 320, 180 }, Scaling { 160, 120, 320, 180 },
                         Scaling { 320, 180, 320, 180 }, Scaling { 640, 360, 320, 180 }, Scaling { 1, 1, 1, 1 },
                         Scaling { 1, 1, 64, 36 }, Scaling { 321, 181, 1, 1 }, Scaling { 317, 203, 101, 333 },
                         Scaling { 5003, 3, 320, 7 }, Scaling { 3, 4500, 5, 4097 }),
        testing::Bool()),
    nameOf);

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
