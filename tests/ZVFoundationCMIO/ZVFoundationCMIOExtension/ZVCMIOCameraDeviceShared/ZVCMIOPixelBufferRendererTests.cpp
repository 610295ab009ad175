#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOPixelBufferRenderer.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/Foundation/NSBundle.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using Pixel = std::array<int, 4>;
using testing::HasSubstr;
using testing::Not;
constexpr CMVideoDimensions size { 320, 180 };
constexpr Pixel white { 255, 255, 255, 255 };
constexpr Pixel grey { 128, 128, 128, 255 };

Pixel pixel(const CVPixelBuffer& buffer, std::size_t x, std::size_t y)
{
    const auto* const bytes = buffer.baseAddress() + y * buffer.bytesPerRow() + 4 * x;
    return { static_cast<int>(bytes[0]), static_cast<int>(bytes[1]), static_cast<int>(bytes[2]),
        static_cast<int>(bytes[3]) };
}

/// Width of what is not ground in the row through the middle.
long drawnWidth(const CVPixelBuffer& buffer, const Pixel& ground)
{
    long first = -1;
    long last = -2;
    for (std::size_t x = 0; x < buffer.width(); ++x)
        if (pixel(buffer, x, buffer.height() / 2) != ground) {
            first = first < 0 ? static_cast<long>(x) : first;
            last = static_cast<long>(x);
        }
    return last - first + 1;
}

/// The clock stands still, so that a time is an exact distance from the renderer's start.
class ZVCMIOPixelBufferRendererTest : public testing::Test {
protected:
    void SetUp() override { HostClock::driveByHand(true); }
    void TearDown() override { HostClock::driveByHand(false); }

    static Ref<ZVCMIOPixelBufferRenderer> renderer(CMVideoDimensions dimensions = size)
    {
        return make<ZVCMIOPixelBufferRenderer>(dimensions, 30.0);
    }
    static CMTime after(double seconds)
    {
        return CMTimeAdd(CMClockGetTime(CMClockGetHostTimeClock()), CMTimeMakeWithSeconds(seconds, 1'000'000'000));
    }
};

/// A class for an extension, which leaves its mark on every surface.
class AnnotatingRenderer : public ZVCMIOPixelBufferRenderer {
    NS_OBJECT(AnnotatingRenderer)
public:
    AnnotatingRenderer()
        : ZVCMIOPixelBufferRenderer(size, 30.0)
    {
    }
    static void setPixelBufferSurfaceValues(CVPixelBufferRef buffer)
    {
        _setPixelBufferSurfaceAnnotationValues_surfaceValues(buffer, _pixelBufferSurfaceAnnotationValues().get());
    }
};

NS_IMPLEMENTATION(AnnotatingRenderer, ZVCMIOPixelBufferRenderer)
{
    type.classMessage("setPixelBufferSurfaceValues:", &AnnotatingRenderer::setPixelBufferSurfaceValues);
}

}

TEST_F(ZVCMIOPixelBufferRendererTest, TheIconLiesOnAWhiteGroundAndOnGreyOnceInverted)
{
    const auto source = renderer();
    const auto first = source->copyFrameWithPresentationTimeStamp(after(0));
    EXPECT_EQ(pixel(*first, 0, 0), white);
    EXPECT_EQ(pixel(*first, 319, 179), white);
    EXPECT_NE(pixel(*first, 160, 90), white);
    source->invertColors();
    EXPECT_EQ(pixel(*source->copyFrameWithPresentationTimeStamp(after(0)), 0, 0), grey);
    source->invertColors();
    EXPECT_EQ(pixel(*source->copyFrameWithPresentationTimeStampCurrentTime(), 0, 0), grey);
}

TEST_F(ZVCMIOPixelBufferRendererTest, TheIconPulsesBetweenItsTwoSizesInSixSeconds)
{
    const auto source = renderer({ 1280, 720 });
    const auto widthAt = [&](double seconds) {
        return drawnWidth(*source->copyFrameWithPresentationTimeStamp(after(seconds)), white);
    };
    // A fifth of the width, times 0.393 and times 0.49; its margins are seven per cent.
    EXPECT_NEAR(static_cast<double>(widthAt(0)), 256 * 0.39334 * 0.93, 2);
    EXPECT_NEAR(static_cast<double>(widthAt(3)), 256 * 0.49 * 0.93, 2);
    EXPECT_EQ(widthAt(6), widthAt(0));
    EXPECT_EQ(widthAt(9), widthAt(3));
    EXPECT_EQ(widthAt(-3), widthAt(3));
    EXPECT_EQ(widthAt(-6), widthAt(0));
}

TEST_F(ZVCMIOPixelBufferRendererTest, TheIconComesOutWithRedAndBlueExchanged)
{
    const auto source = renderer({ 1280, 720 });
    auto* const icon = source->mainBundleIconImageRef();
    ASSERT_TRUE(icon);
    // The glass is violet: more blue than red. Between the pupil and the rim, left of the middle.
    const auto* const inIcon = icon->row(icon->height() / 2) + 4 * (icon->width() * 9 / 32);
    ASSERT_GT(inIcon[0], inIcon[2]);
    const auto drawn = 256 * 0.49;
    const auto x = static_cast<std::size_t>(640 + drawn * (9.0 / 32 - 0.5));
    const auto inFrame = pixel(*source->copyFrameWithPresentationTimeStamp(after(3)), x, 360);
    EXPECT_LT(inFrame[0], inFrame[2]);
}

TEST_F(ZVCMIOPixelBufferRendererTest, TheIconIsUpright)
{
    // The body of the icon has its green light at the top right.
    const auto frame = renderer({ 1280, 720 })->copyFrameWithPresentationTimeStamp(after(3));
    const auto greenAt = [&](int fromLeft, int fromTop) {
        const auto drawn = 256 * 0.49;
        const auto x = static_cast<std::size_t>(640 - drawn / 2 + drawn * fromLeft / 512);
        const auto y = static_cast<std::size_t>(360 - drawn / 2 + drawn * fromTop / 512);
        const auto bytes = pixel(*frame, x, y);
        return bytes[1] > bytes[0] + 40 && bytes[1] > bytes[2] + 40;
    };
    EXPECT_TRUE(greenAt(416, 96));
    EXPECT_FALSE(greenAt(96, 96));
    EXPECT_FALSE(greenAt(416, 416));
    EXPECT_FALSE(greenAt(96, 416));
}

TEST_F(ZVCMIOPixelBufferRendererTest, ARenderBlockReplacesThePictureAndItsGround)
{
    const auto source = renderer();
    CGSize seen;
    double time = 0;
    source->setRenderBlock([&](CGContextRef context, double width, double height, const CMTime& presentationTime) {
        seen = { width, height };
        time = CMTimeGetSeconds(presentationTime);
        CGContextSetFillColorWithColor(context, CGColorCreateGenericRGB(1, 0, 0, 1).get());
        CGContextFillRect(context, CGRectMake(0, 0, 1, 1));
    });
    const auto frame = source->copyFrameWithPresentationTimeStamp(CMTimeMake(5, 1));
    EXPECT_EQ(seen, (CGSize { 320, 180 }));
    EXPECT_EQ(time, 5);
    EXPECT_EQ(pixel(*frame, 0, 179), (Pixel { 255, 0, 0, 255 }));
    EXPECT_NE(pixel(*frame, 0, 0), white);
}

TEST_F(ZVCMIOPixelBufferRendererTest, TheFlyingSquareCrossesThePictureInASecond)
{
    const auto source = renderer({ 1280, 720 });
    source->setRenderBlock([&](CGContextRef context, double width, double height, const CMTime& time) {
        source->_renderFlyingSquarePixelBufferWithCGContext_drawableSizePixels_presentationTime(
            context, { width, height }, time);
    });
    // Red comes first in the bytes.
    constexpr Pixel yellow { 255, 255, 0, 255 };
    constexpr Pixel blue { 0, 0, 255, 255 };
    const auto frame = source->copyFrameWithPresentationTimeStamp(after(0.25));
    EXPECT_EQ(pixel(*frame, 0, 0), yellow);
    EXPECT_EQ(pixel(*frame, 320, 720 - 311), blue);
    EXPECT_EQ(pixel(*frame, 419, 720 - 410), blue);
    EXPECT_EQ(pixel(*frame, 319, 720 - 311), yellow);
    EXPECT_EQ(pixel(*frame, 320, 720 - 310), yellow);
    EXPECT_EQ(pixel(*source->copyFrameWithPresentationTimeStamp(after(7.25)), 320, 720 - 311), blue);
    source->invertColors();
    const auto inverted = source->copyFrameWithPresentationTimeStamp(after(0.25));
    EXPECT_EQ(pixel(*inverted, 0, 0), blue);
    EXPECT_EQ(pixel(*inverted, 960, 720 - 311), yellow);
    source->setRenderBlock(nullptr);
}

TEST_F(ZVCMIOPixelBufferRendererTest, BlackOutputIsWhite)
{
    const auto frame = renderer()->copyPixelBufferWithBlackOutput();
    for (std::size_t x = 0; x < 320; ++x) {
        EXPECT_EQ(pixel(*frame, x, 0), white);
        EXPECT_EQ(pixel(*frame, x, 179), white);
    }
}

TEST_F(ZVCMIOPixelBufferRendererTest, EveryFrameIsANewBufferOfTheAskedKind)
{
    const auto source = renderer();
    const auto first = source->copyFrameWithPresentationTimeStampCurrentTime();
    const auto second = source->copyFrameWithPresentationTimeStampCurrentTime();
    EXPECT_NE(first, second);
    EXPECT_EQ(first->width(), 320u);
    EXPECT_EQ(first->height(), 180u);
    EXPECT_EQ(first->pixelFormat(), source->pixelBufferPixelFormat());
    EXPECT_TRUE(first->surface());
    EXPECT_EQ(source->videoDescription()->dimensions(), size);
    // The surfaces say nothing about who made them.
    EXPECT_EQ(IOSurfaceCopyAllValues(first->surface())->count(), 0u);
}

TEST_F(ZVCMIOPixelBufferRendererTest, ThePoolHasAThresholdOfFive)
{
    const auto source = renderer();
    source->usePixelBufferAllocationPool = true;
    std::vector<Ref<CVPixelBuffer>> held;
    for (int index = 0; index < 5; ++index) {
        held.push_back(source->copyFreshNewPixelBufferWithAllocationStrategy());
        EXPECT_TRUE(held.back());
    }
    StandardErrorCapture capture;
    EXPECT_FALSE(source->copyFreshNewPixelBufferWithAllocationStrategy());
    EXPECT_THAT(capture.text(), HasSubstr("newPixelBuffer"));
}

TEST_F(ZVCMIOPixelBufferRendererTest, AFailedAllocationGivesNothing)
{
    const auto source = renderer();
    const FailPoint::Scope failing("CVPixelBufferCreate", kCVReturnAllocationFailed);
    StandardErrorCapture capture;
    EXPECT_FALSE(source->copyFrameWithPresentationTimeStampCurrentTime());
    EXPECT_THAT(capture.text(),
        HasSubstr("SRC>>CVPixelBufferCreate(kCFAllocatorDefault, _rendererDimensions.width, "
                  "_rendererDimensions.height, _rendererPixelFormat, "
                  "ARC_BRIDGE(CFDictionaryRef)self.pixelBufferAttributes, &newPixelBuffer)"));
}

TEST_F(ZVCMIOPixelBufferRendererTest, ABufferThatCannotBeLockedComesBackUnpainted)
{
    const auto source = renderer();
    int drawn = 0;
    source->setRenderBlock([&](CGContextRef, double, double, const CMTime&) { ++drawn; });
    const FailPoint::Scope failing("CVPixelBufferLockBaseAddress");
    StandardErrorCapture capture;
    EXPECT_TRUE(source->copyFrameWithPresentationTimeStampCurrentTime());
    EXPECT_EQ(drawn, 0);
    EXPECT_THAT(capture.text(), HasSubstr("SRC>>CVPixelBufferLockBaseAddress(newPixelBuffer, 0)"));
}

TEST_F(ZVCMIOPixelBufferRendererTest, WithoutAContextTheBufferStillComesBackAndOnlyTheContextIsReported)
{
    const auto source = renderer();
    const FailPoint::Scope failing("CGBitmapContextCreate");
    StandardErrorCapture capture;
    EXPECT_TRUE(source->copyFrameWithPresentationTimeStampCurrentTime());
    const auto text = capture.text();
    EXPECT_THAT(text, HasSubstr("context"));
    EXPECT_THAT(text, Not(HasSubstr("rgbColorSpace")));
}

TEST_F(ZVCMIOPixelBufferRendererTest, WithoutAnIconEachFrameSaysSoAndShowsTheGround)
{
    const auto source = renderer();
    source->setMainBundleIconImageRef(nullptr);
    StandardErrorCapture capture;
    const auto frame = source->copyFrameWithPresentationTimeStamp(after(0));
    EXPECT_THAT(capture.text(), HasSubstr("self.mainBundleIconImageRef"));
    EXPECT_EQ(drawnWidth(*frame, white), 0);
}

TEST_F(ZVCMIOPixelBufferRendererTest, ABundleThatNamesNoIconOrAMissingOneGivesNone)
{
    auto* const info = NSBundle::mainBundle()->infoDictionary();
    const Ref<CFType> name = info->objectForKey("CFBundleIconFile");
    for (CFString* const other : { static_cast<CFString*>(nullptr), CFSTR("no such picture") }) {
        info->set("CFBundleIconFile", other);
        StandardErrorCapture capture;
        EXPECT_FALSE(renderer()->mainBundleIconImageRef());
        EXPECT_THAT(capture.text(), HasSubstr("self.mainBundleIconImageRef"));
    }
    info->set("CFBundleIconFile", name.get());
    EXPECT_TRUE(renderer()->mainBundleIconImageRef());
}

TEST_F(ZVCMIOPixelBufferRendererTest, CreationEndsWithoutAPoolWhenTheDescriptionFails)
{
    const FailPoint::Scope failing("CMVideoFormatDescriptionCreate");
    StandardErrorCapture capture;
    const auto source = renderer();
    EXPECT_FALSE(source->videoDescription());
    EXPECT_FALSE(source->bufferPool());
    EXPECT_THAT(capture.text(), HasSubstr("self.videoDescription"));
}

TEST_F(ZVCMIOPixelBufferRendererTest, APoolThatCannotBeMadeIsReportedAsFalse)
{
    const auto source = renderer();
    const FailPoint::Scope failing("CVPixelBufferPoolCreate");
    StandardErrorCapture capture;
    EXPECT_FALSE(source->recreatePixelBufferPool());
    EXPECT_THAT(
        capture.text(), HasSubstr("SRC>>CVPixelBufferPoolCreate(kCFAllocatorDefault, NULL, attributes, &_bufferPool)"));
}

TEST_F(ZVCMIOPixelBufferRendererTest, AnExtensionsClassAnnotatesEverySurface)
{
    const auto frame = make<AnnotatingRenderer>()->copyFrameWithPresentationTimeStampCurrentTime();
    const auto values = IOSurfaceCopyAllValues(frame->surface());
    EXPECT_EQ(textOf(values->get<CFString>(ZVCMIOPixelBufferRenderer_Name)), "Application");
    EXPECT_EQ(values->objectForKey(ZVCMIOPixelBufferRenderer_Extension), kCFBooleanFalse);
}

TEST_F(ZVCMIOPixelBufferRendererTest, WhatIsOnASurfaceAlreadyWins)
{
    const auto frame = renderer()->copyFreshNewPixelBufferWithAllocationStrategy();
    IOSurfaceSetValues(
        frame->surface(), CFDictionary::create({ { ZVCMIOPixelBufferRenderer_Name, CFSTR("Extension") } }).get());
    ZVCMIOPixelBufferRenderer::_setPixelBufferSurfaceAnnotationValues_surfaceValues(
        frame, ZVCMIOPixelBufferRenderer::_pixelBufferSurfaceAnnotationValues().get());
    const auto values = IOSurfaceCopyAllValues(frame->surface());
    EXPECT_EQ(textOf(values->get<CFString>(ZVCMIOPixelBufferRenderer_Name)), "Extension");
    EXPECT_EQ(values->count(), 2u);
}
