#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOPixelBufferRenderer.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/Foundation/NSBundle.h"
#include "tests/WithRequirements/WholeLines.h"
#include "tests/ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/StandbyPixels.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

constexpr CMVideoDimensions size { 320, 180 };
constexpr Pixel white { 255, 255, 255, 255 };
constexpr Pixel grey { 127.5, 127.5, 127.5, 255 };

const WholeLines whole("ZVCMIOPixelBufferRenderer.cpp");
const std::string creation = "initWithDimensions_frameRate";
const std::string allocation = "copyFreshNewPixelBufferWithAllocationStrategy";

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
    const AutoreleasePool pool;
};

/// A class for an extension, which leaves its mark on every surface.
class AnnotatingRenderer : public ZVCMIOPixelBufferRenderer {
    NS_OBJECT(AnnotatingRenderer)
public:
    using ZVCMIOPixelBufferRenderer::ZVCMIOPixelBufferRenderer;
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

TEST_F(ZVCMIOPixelBufferRendererTest, TheScaleOfThePulseIsAsItIsDescribed)
{
    EXPECT_NEAR(scaleAt(0), 0.393, 0.0005);
    EXPECT_NEAR(scaleAt(3), 0.49, 1e-7);
    EXPECT_NEAR(scaleAt(6), scaleAt(0), 1e-12);
}

TEST_F(ZVCMIOPixelBufferRendererTest, TheStandbyPictureIsTheIconInEverySizeOfThePulse)
{
    const auto source = renderer({ 1280, 720 });
    auto* const icon = source->mainBundleIconImageRef();
    ASSERT_TRUE(icon);
    for (const bool inverted : { false, true }) {
        if (inverted)
            source->invertColors();
        for (const double phase : { 0.0, 1.5, 3.0, 4.5 }) {
            const auto frame = source->copyFrameWithPresentationTimeStamp(after(phase));
            EXPECT_LE(greatestError(*frame, StandbyPixels(*icon, *frame, phase, inverted ? grey : white)), 1.0)
                << phase;
        }
    }
}

TEST_F(ZVCMIOPixelBufferRendererTest, TimesFarFromTheStartFallIntoThePeriod)
{
    const auto source = renderer({ 640, 360 });
    auto* const icon = source->mainBundleIconImageRef();
    constexpr std::array<std::pair<double, double>, 9> phases { { { -1.5, 4.5 }, { -3, 3 }, { -4.5, 1.5 }, { -6, 0 },
        { -601, 5 }, { 6, 0 }, { 7.5, 1.5 }, { 604.25, 4.25 }, { 86400.5, 0.5 } } };
    for (const auto& [elapsed, phase] : phases) {
        const auto frame = source->copyFrameWithPresentationTimeStamp(after(elapsed));
        EXPECT_LE(greatestError(*frame, StandbyPixels(*icon, *frame, phase, white)), 1.0) << elapsed;
    }
}

TEST_F(ZVCMIOPixelBufferRendererTest, TheIconIsSquareInEveryShapeOfThePicture)
{
    for (const auto& dimensions : { CMVideoDimensions { 321, 181 }, CMVideoDimensions { 90, 400 },
             CMVideoDimensions { 1920, 100 }, CMVideoDimensions { 2600, 3 }, CMVideoDimensions { 1, 1 } }) {
        const auto source = renderer(dimensions);
        const auto frame = source->copyFrameWithPresentationTimeStamp(after(3));
        EXPECT_LE(greatestError(*frame, StandbyPixels(*source->mainBundleIconImageRef(), *frame, 3, white)), 1.0)
            << dimensions.width;
    }
}

TEST_F(ZVCMIOPixelBufferRendererTest, WhatPulsesIsTheIconOfTheApplication)
{
    auto* const name = NSBundle::mainBundle()->infoDictionary()->get<CFString>(CFSTR("CFBundleIconFile"));
    auto* const icon = NSImage::imageNamed(name);
    ASSERT_TRUE(icon);
    EXPECT_EQ(
        renderer()->mainBundleIconImageRef(), icon->CGImageForProposedRect_context_hints(nullptr, nullptr, nullptr));
}

TEST_F(ZVCMIOPixelBufferRendererTest, TheIconComesOutWithRedAndBlueExchanged)
{
    const auto source = renderer({ 1280, 720 });
    auto* const icon = source->mainBundleIconImageRef();
    ASSERT_TRUE(icon);
    // The glass is violet: more blue than red. Between the pupil and the rim, left of the middle.
    const auto* const inIcon = icon->row(icon->height() / 2) + 4 * (icon->width() * 9 / 32);
    ASSERT_EQ(icon->bitmapInfo(), kCGBitmapInfoBGRA);
    ASSERT_GT(inIcon[0], inIcon[2]);
    const auto x = static_cast<std::size_t>(640 + 256 * 0.49 * (9.0 / 32 - 0.5));
    const auto inFrame = pixel(*source->copyFrameWithPresentationTimeStamp(after(3)), x, 360);
    EXPECT_LT(inFrame[0], inFrame[2]);
}

TEST_F(ZVCMIOPixelBufferRendererTest, TheGroundIsGreyForGoodOnceColoursAreInverted)
{
    const auto source = renderer();
    EXPECT_EQ(pixel(*source->copyFrameWithPresentationTimeStamp(after(0)), 0, 0), white);
    for (int times = 0; times < 2; ++times) {
        source->invertColors();
        EXPECT_EQ(
            pixel(*source->copyFrameWithPresentationTimeStampCurrentTime(), 0, 0), (Pixel { 128, 128, 128, 255 }));
    }
}

TEST_F(ZVCMIOPixelBufferRendererTest, AFrameOfThePresentTimeIsOneOfThatTime)
{
    const auto source = renderer();
    HostClock::advance(3'000'000'000);
    const auto frame = source->copyFrameWithPresentationTimeStampCurrentTime();
    EXPECT_LE(greatestError(*frame, StandbyPixels(*source->mainBundleIconImageRef(), *frame, 3, white)), 1.0);
}

TEST_F(ZVCMIOPixelBufferRendererTest, ATimeThatIsNotValidShowsTheGround)
{
    const auto source = renderer();
    StandardErrorCapture log;
    const auto frame = source->copyFrameWithPresentationTimeStamp(kCMTimeInvalid);
    EXPECT_EQ(greatestError(*frame, [](std::size_t, std::size_t) { return white; }), 0);
    EXPECT_EQ(log.text(), "");
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
    // The memory is new, and nothing else touches it.
    EXPECT_EQ(greatestError(*frame,
                  [](std::size_t x, std::size_t y) {
                      return x == 0 && y == 179 ? Pixel { 255, 0, 0, 255 } : Pixel {};
                  }),
        0);
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
    const auto errorAt = [&](double elapsed, double left, const Pixel& ground, const Pixel& square) {
        const auto frame = source->copyFrameWithPresentationTimeStamp(after(elapsed));
        return greatestError(*frame, [&](std::size_t x, std::size_t y) {
            const double share = overlap(static_cast<double>(x), left, left + 100)
                * overlap(static_cast<double>(y), 720 - 410, 720 - 310);
            Pixel result;
            for (std::size_t part = 0; part < 4; ++part)
                result[part] = ground[part] * (1 - share) + square[part] * share;
            return result;
        });
    };
    EXPECT_LE(errorAt(0, 0, yellow, blue), 1);
    EXPECT_LE(errorAt(0.25, 320, yellow, blue), 1);
    EXPECT_LE(errorAt(0.254, 320, yellow, blue), 1) << "it moves in steps of a hundredth";
    EXPECT_LE(errorAt(0.256, 332.8, yellow, blue), 1) << "to the nearest one";
    EXPECT_LE(errorAt(7.99, 1267.2, yellow, blue), 1);
    // Before the start the number wraps around in 32 bits: 2 to the 32nd less 25 is 71 more than a multiple of 100.
    EXPECT_LE(errorAt(-0.26, 0.71 * 1280, yellow, blue), 1);
    source->invertColors();
    EXPECT_LE(errorAt(0.25, 960, blue, yellow), 1);
    EXPECT_LE(errorAt(0, 1280, blue, yellow), 1) << "just out of the picture";
    const auto frame = source->copyFrameWithPresentationTimeStamp(kCMTimeInvalid);
    EXPECT_EQ(pixel(*frame, 0, 0), blue);
    source->setRenderBlock(nullptr);
}

TEST_F(ZVCMIOPixelBufferRendererTest, BlackOutputIsWhite)
{
    // Rows of 321 pixels end before their memory does.
    const auto frame = renderer({ 321, 5 })->copyPixelBufferWithBlackOutput();
    const std::span bytes(frame->baseAddress(), frame->bytesPerRow() * frame->height());
    EXPECT_TRUE(std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte { 255 }; }));
}

TEST_F(ZVCMIOPixelBufferRendererTest, EveryFrameIsANewBufferOfTheAskedKindAndThePoolStaysIdle)
{
    const auto source = renderer();
    const auto first = source->copyFrameWithPresentationTimeStampCurrentTime();
    const auto second = source->copyFrameWithPresentationTimeStampCurrentTime();
    EXPECT_NE(first, second);
    EXPECT_NE(IOSurfaceGetID(first->surface()), IOSurfaceGetID(second->surface()));
    EXPECT_EQ(first->retainCount(), 1);
    EXPECT_EQ(first->width(), 320u);
    EXPECT_EQ(first->height(), 180u);
    EXPECT_EQ(first->pixelFormat(), kCVPixelFormatType_32BGRA);
    EXPECT_EQ(source->pixelBufferPixelFormat(), 0x42475241U);
    EXPECT_EQ(source->videoDescription()->dimensions(), size);
    EXPECT_FALSE(source->usePixelBufferAllocationPool);
    ASSERT_TRUE(source->bufferPool());
    EXPECT_EQ(source->bufferPool()->countInUse(), 0U);
}

TEST_F(ZVCMIOPixelBufferRendererTest, BuffersAreAskedForWithTheseAttributes)
{
    const auto source = renderer();
    EXPECT_TRUE(CFEqual(source->pixelBufferAttributes,
        CFDictionary::create({ { kCVPixelBufferPixelFormatTypeKey, CFNumber::create(0x42475241).get() },
                                 { kCVPixelBufferWidthKey, CFNumber::create(320).get() },
                                 { kCVPixelBufferHeightKey, CFNumber::create(180).get() },
                                 { kCVPixelBufferMetalCompatibilityKey, kCFBooleanTrue },
                                 { kCVPixelBufferIOSurfacePropertiesKey, CFDictionary::create().get() },
                                 { kCVPixelBufferCGBitmapContextCompatibilityKey, kCFBooleanTrue } })
            .get()));
    EXPECT_TRUE(CFEqual(source->bufferAuxAttributes,
        CFDictionary::create({ { kCVPixelBufferPoolAllocationThresholdKey, CFNumber::create(5).get() } }).get()));
}

TEST_F(ZVCMIOPixelBufferRendererTest, TheClassThatIsAskedMakesOneOfItself)
{
    auto* const source = ZVCMIOPixelBufferRenderer::rendererWithDimensions_frameRate(size, 30);
    EXPECT_EQ(source->isa()->name(), "ZVCMIOPixelBufferRenderer");
    auto* const other = AnnotatingRenderer::rendererWithDimensions_frameRate<AnnotatingRenderer>(size, 30);
    EXPECT_EQ(other->isa()->name(), "AnnotatingRenderer");
    EXPECT_EQ(other->retainCount(), 1);
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
    StandardErrorCapture log;
    EXPECT_FALSE(source->copyFreshNewPixelBufferWithAllocationStrategy());
    EXPECT_EQ(linesOf(log),
        whole.source("REQUIRED_CVRETURN FAILED: statusValue=-6689",
            "CVPixelBufferPoolCreatePixelBufferWithAuxAttributes(kCFAllocatorDefault, self.bufferPool, "
            "ARC_BRIDGE(CFDictionaryRef)self.bufferAuxAttributes, &newPixelBuffer )",
            allocation)
            + whole.type("newPixelBuffer", allocation));
    held.pop_back();
    EXPECT_TRUE(source->copyFreshNewPixelBufferWithAllocationStrategy());
}

TEST_F(ZVCMIOPixelBufferRendererTest, AFailedAllocationGivesNothing)
{
    const auto source = renderer();
    const FailPoint::Scope failing("CVPixelBufferCreate", kCVReturnAllocationFailed);
    const auto lines = whole.source("REQUIRED_CVRETURN FAILED: kCVReturnAllocationFailed (-6662)",
                           "CVPixelBufferCreate(kCFAllocatorDefault, _rendererDimensions.width, "
                           "_rendererDimensions.height, _rendererPixelFormat, "
                           "ARC_BRIDGE(CFDictionaryRef)self.pixelBufferAttributes, &newPixelBuffer)",
                           allocation)
        + whole.type("newPixelBuffer", allocation);
    {
        StandardErrorCapture log;
        EXPECT_FALSE(source->copyFrameWithPresentationTimeStampCurrentTime());
        EXPECT_EQ(linesOf(log), lines + whole.type("newPixelBuffer", "_copyPixelBufferWithPresentationTime"));
    }
    StandardErrorCapture log;
    EXPECT_FALSE(source->copyPixelBufferWithBlackOutput());
    EXPECT_EQ(linesOf(log), lines + whole.type("newPixelBuffer", "copyPixelBufferWithBlackOutput"));
}

/// The two operations that paint a buffer, with their names in the log.
class PaintedBuffer : public ZVCMIOPixelBufferRendererTest, public testing::WithParamInterface<const char*> {
protected:
    Ref<CVPixelBuffer> paint()
    {
        return std::string_view(GetParam()) == "copyPixelBufferWithBlackOutput"
            ? source->copyPixelBufferWithBlackOutput()
            : source->copyFrameWithPresentationTimeStampCurrentTime();
    }
    const Ref<ZVCMIOPixelBufferRenderer> source = renderer();
};

INSTANTIATE_TEST_SUITE_P(Operations, PaintedBuffer,
    testing::Values("copyPixelBufferWithBlackOutput", "_copyPixelBufferWithPresentationTime"),
    [](const auto& instance) { return instance.index == 0 ? "BlackOutput" : "Frame"; });

TEST_P(PaintedBuffer, ComesBackUnpaintedWhenItCannotBeLocked)
{
    const FailPoint::Scope failing("CVPixelBufferLockBaseAddress", kCVReturnError);
    StandardErrorCapture log;
    const auto buffer = paint();
    ASSERT_TRUE(buffer);
    EXPECT_EQ(greatestError(*buffer, [](std::size_t, std::size_t) { return Pixel {}; }), 0);
    EXPECT_EQ(linesOf(log),
        whole.source("REQUIRED_CVRETURN FAILED: kCVReturnError (-6660)",
            "CVPixelBufferLockBaseAddress(newPixelBuffer, 0)", GetParam()));
}

TEST_P(PaintedBuffer, ComesBackUnpaintedWhenItHasNoAddress)
{
    const FailPoint::Scope failing("CVPixelBufferGetBaseAddress");
    StandardErrorCapture log;
    const auto buffer = paint();
    ASSERT_TRUE(buffer);
    EXPECT_EQ(greatestError(*buffer, [](std::size_t, std::size_t) { return Pixel {}; }), 0);
    EXPECT_EQ(linesOf(log), whole.notNull("bufferPtr", GetParam()));
}

TEST_P(PaintedBuffer, IsReportedAndPaintedWhenItCannotBeUnlocked)
{
    const FailPoint::Scope failing("CVPixelBufferUnlockBaseAddress", kCVReturnError);
    StandardErrorCapture log;
    EXPECT_EQ(pixel(*paint(), 0, 0), white);
    EXPECT_EQ(linesOf(log),
        whole.source("REQUIRED_CVRETURN FAILED: kCVReturnError (-6660)",
            "CVPixelBufferUnlockBaseAddress(newPixelBuffer, 0)", GetParam()));
}

TEST_F(ZVCMIOPixelBufferRendererTest, WhatIsMissingToDrawWithIsReported)
{
    const auto source = renderer();
    const std::string function = "_copyPixelBufferWithPresentationTime";
    {
        const FailPoint::Scope failing("CGBitmapContextCreate");
        StandardErrorCapture log;
        EXPECT_EQ(pixel(*source->copyFrameWithPresentationTimeStampCurrentTime(), 0, 0), Pixel {});
        EXPECT_EQ(linesOf(log), whole.type("context", function));
    }
    const FailPoint::Scope failing("CGColorSpaceCreateDeviceRGB");
    StandardErrorCapture log;
    EXPECT_EQ(pixel(*source->copyFrameWithPresentationTimeStampCurrentTime(), 0, 0), Pixel {});
    EXPECT_EQ(linesOf(log), whole.type("rgbColorSpace", function) + whole.type("context", function));
}

TEST_F(ZVCMIOPixelBufferRendererTest, WithoutAnIconCreationAndEachFrameSaySoAndTheGroundIsShown)
{
    auto* const info = NSBundle::mainBundle()->infoDictionary();
    const Ref<CFType> name = info->objectForKey("CFBundleIconFile");
    const Ref<CFType> notAString = CFNumber::create(1);
    for (CFType* const other :
        { static_cast<CFType*>(nullptr), static_cast<CFType*>(CFSTR("no such picture")), notAString.get() }) {
        info->set("CFBundleIconFile", other);
        StandardErrorCapture log;
        const auto source = renderer();
        const auto frame = source->copyFrameWithPresentationTimeStamp(after(0));
        const auto next = source->copyFrameWithPresentationTimeStamp(after(1));
        const std::string frameLine = whole.type(
            "self.mainBundleIconImageRef", "_renderBundleIconBufferWithCGContext_drawableSizePixels_presentationTime");
        EXPECT_EQ(linesOf(log), whole.type("self.mainBundleIconImageRef", creation) + frameLine + frameLine);
        EXPECT_EQ(greatestError(*frame, [](std::size_t, std::size_t) { return white; }), 0);
        EXPECT_EQ(greatestError(*next, [](std::size_t, std::size_t) { return white; }), 0);
    }
    info->set("CFBundleIconFile", name.get());
    EXPECT_TRUE(renderer()->mainBundleIconImageRef());
}

TEST_F(ZVCMIOPixelBufferRendererTest, AnIconWhoseReadingRaisesIsNone)
{
    const auto source = renderer();
    const FailPoint::Scope raises("NSImage.imageNamed:");
    StandardErrorCapture log;
    EXPECT_FALSE(source->copyMainBundleIconImageRef());
    EXPECT_EQ(log.text(), "");
    EXPECT_FALSE(renderer()->mainBundleIconImageRef());
}

TEST_F(ZVCMIOPixelBufferRendererTest, AnImageWithoutPixelsGivesNone)
{
    const auto source = renderer();
    StandardErrorCapture log;
    EXPECT_FALSE(source->copyCGImageFromNSImage(make<NSImage>(NSMakeSize(4, 4)).get()));
    EXPECT_FALSE(source->copyCGImageFromNSImage(nullptr));
    const auto line = whole.type("imageRef", "copyCGImageFromNSImage");
    EXPECT_EQ(linesOf(log), line + line);
}

TEST_F(ZVCMIOPixelBufferRendererTest, CreationEndsWithoutAPoolWhenTheDescriptionFails)
{
    const FailPoint::Scope failing("CMVideoFormatDescriptionCreate", -12710);
    StandardErrorCapture log;
    const auto source = renderer();
    EXPECT_FALSE(source->videoDescription());
    EXPECT_FALSE(source->bufferPool());
    EXPECT_FALSE(source->bufferAuxAttributes);
    EXPECT_FALSE(source->recreatePixelBufferPool());
    const auto inStatus = [](const std::string& start) {
        return whole.source(start,
            "CMVideoFormatDescriptionCreate(kCFAllocatorDefault, _rendererPixelFormat, _rendererDimensions.width, "
            "_rendererDimensions.height, ((void*)0), &_videoDescription)",
            creation);
    };
    EXPECT_EQ(linesOf(log),
        inStatus("REQUIRED_CMSTATUS -12710:kCMFormatDescriptionError_InvalidParameter (-12710)")
            + inStatus("REQUIRED_OSSTATUS(-12710) kCMFormatDescriptionError_InvalidParameter-'an argument of a format "
                       "description is wrong'")
            + whole.type("self.videoDescription", creation)
            + whole.type("self.videoDescription", "recreatePixelBufferPool")
            + whole.type("self.bufferPool", "recreatePixelBufferPool"));
    EXPECT_TRUE(source->copyFrameWithPresentationTimeStampCurrentTime());
}

TEST_F(ZVCMIOPixelBufferRendererTest, APoolThatCannotBeMadeIsReportedAsFalse)
{
    const FailPoint::Scope failing("CVPixelBufferPoolCreate", kCVReturnError);
    const std::string function = "recreatePixelBufferPool";
    const auto lines = whole.source("REQUIRED_CVRETURN FAILED: kCVReturnError (-6660)",
                           "CVPixelBufferPoolCreate(kCFAllocatorDefault, NULL, attributes, &_bufferPool)", function)
        + whole.type("self.bufferPool", function) + whole.type("self.bufferPool", function);
    StandardErrorCapture log;
    const auto source = renderer();
    EXPECT_FALSE(source->bufferPool());
    EXPECT_FALSE(source->bufferAuxAttributes);
    EXPECT_FALSE(source->recreatePixelBufferPool());
    EXPECT_EQ(linesOf(log), lines + whole.type("self.bufferPool", creation) + lines);
}

TEST_F(ZVCMIOPixelBufferRendererTest, APoolIsMadeAnew)
{
    const auto source = renderer();
    const Ref<CVPixelBufferPool> first = source->bufferPool();
    EXPECT_TRUE(source->recreatePixelBufferPool());
    EXPECT_TRUE(source->bufferPool());
    EXPECT_NE(source->bufferPool(), first);
}

TEST_F(ZVCMIOPixelBufferRendererTest, ThePoolAndTheDescriptionStayWhenItGoesAndTheIconDoesNot)
{
    WeakRef<CVPixelBufferPool> bufferPool;
    WeakRef<CMFormatDescription> description;
    WeakRef<CGImage> icon;
    {
        const auto source = renderer();
        const auto picture = source->copyFreshNewPixelBufferWithAllocationStrategy();
        source->setMainBundleIconImageRef(CGImageCreateWithPixelBuffer(picture).get());
        bufferPool = source->bufferPool();
        description = source->videoDescription();
        icon = source->mainBundleIconImageRef();
    }
    EXPECT_FALSE(bufferPool.isNull());
    EXPECT_FALSE(description.isNull());
    EXPECT_TRUE(icon.isNull());
}

TEST_F(ZVCMIOPixelBufferRendererTest, SurfacesSayNothingAboutWhoMadeThem)
{
    const auto source = renderer();
    for (const auto& frame :
        { source->copyFrameWithPresentationTimeStampCurrentTime(), source->copyPixelBufferWithBlackOutput() }) {
        EXPECT_EQ(IOSurfaceCopyAllValues(frame->surface())->count(), 0u);
        ZVCMIOPixelBufferRenderer::setPixelBufferSurfaceValues(frame);
        ZVCMIOPixelBufferRenderer::dumpPixelBufferSurfaceValues(frame);
        EXPECT_EQ(IOSurfaceCopyAllValues(frame->surface())->count(), 0u);
    }
}

TEST_F(ZVCMIOPixelBufferRendererTest, AnExtensionsClassAnnotatesEverySurface)
{
    const auto source = make<AnnotatingRenderer>(size, 30.0);
    for (const auto& frame :
        { source->copyFrameWithPresentationTimeStampCurrentTime(), source->copyPixelBufferWithBlackOutput() })
        EXPECT_TRUE(CFEqual(IOSurfaceCopyAllValues(frame->surface()).get(),
            CFDictionary::create({ { CFSTR("ZVCMIOPixelBufferRenderer_Name"), CFSTR("Application") },
                                     { CFSTR("ZVCMIOPixelBufferRenderer_Extension"), kCFBooleanFalse } })
                .get()));
}

TEST_F(ZVCMIOPixelBufferRendererTest, WhatIsOnASurfaceAlreadyWins)
{
    const auto frame = renderer()->copyFreshNewPixelBufferWithAllocationStrategy();
    IOSurfaceSetValues(
        frame->surface(), CFDictionary::create({ { ZVCMIOPixelBufferRenderer_Name, CFSTR("Extension") } }).get());
    const auto values = ZVCMIOPixelBufferRenderer::_pixelBufferSurfaceAnnotationValues();
    ZVCMIOPixelBufferRenderer::_setPixelBufferSurfaceAnnotationValues_surfaceValues(frame, values);
    EXPECT_TRUE(CFEqual(IOSurfaceCopyAllValues(frame->surface()).get(),
        CFDictionary::create({ { ZVCMIOPixelBufferRenderer_Name, CFSTR("Extension") },
                                 { ZVCMIOPixelBufferRenderer_Extension, kCFBooleanFalse } })
            .get()));
    EXPECT_EQ(textOf(values->get<CFString>(ZVCMIOPixelBufferRenderer_Name)), "Application") << "they were changed";
}

TEST_F(ZVCMIOPixelBufferRendererTest, ASurfaceWhoseValuesCannotBeReadIsAnnotatedAllTheSame)
{
    const auto frame = renderer()->copyFreshNewPixelBufferWithAllocationStrategy();
    const auto values = ZVCMIOPixelBufferRenderer::_pixelBufferSurfaceAnnotationValues();
    const std::string function = "_setPixelBufferSurfaceAnnotationValues_surfaceValues";
    {
        const FailPoint::Scope failing("IOSurfaceCopyAllValues");
        StandardErrorCapture log;
        ZVCMIOPixelBufferRenderer::_setPixelBufferSurfaceAnnotationValues_surfaceValues(frame, values);
        EXPECT_EQ(linesOf(log), whole.type("existingValues", function));
    }
    EXPECT_TRUE(CFEqual(IOSurfaceCopyAllValues(frame->surface()).get(), values));
    Ref<CVPixelBuffer> plain;
    ASSERT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, 1, 1, kCVPixelFormatType_32BGRA, nullptr, &plain), 0);
    StandardErrorCapture log;
    ZVCMIOPixelBufferRenderer::_setPixelBufferSurfaceAnnotationValues_surfaceValues(plain, values);
    EXPECT_EQ(linesOf(log), whole.type("surface", function));
}

TEST_F(ZVCMIOPixelBufferRendererTest, FramesOfManyThreadsAreEachWhole)
{
    const auto source = renderer();
    const auto alone = source->copyFrameWithPresentationTimeStamp(after(1));
    const auto moment = after(1);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int frame = 0; frame < 10; ++frame) {
                const auto picture = source->copyFrameWithPresentationTimeStamp(moment);
                ASSERT_EQ(
                    greatestError(*picture, [&](std::size_t x, std::size_t y) { return pixel(*alone, x, y); }), 0);
            }
        });
    for (auto& thread : threads)
        thread.join();
}
