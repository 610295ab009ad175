#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/Platform/CoreImage/ReferencePicture.h"
#include "tests/WithRequirements/WholeLines.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCapturePixelBufferRendererDoubleBufferedGlobal.h"

#include <future>
#include <gtest/gtest.h>

namespace {

const WholeLines whole("AVCapturePixelBufferRenderer.cpp");
const WholeLines wholeOfTwo("AVCapturePixelBufferRendererDoubleBufferedGlobal.cpp");
using namespace ReferencePicture;

/// A surface of the renderer with two that cannot be had.
std::string creationFailed(const std::string& which)
{
    return wholeOfTwo.source("REQUIRED_CVRETURN FAILED: kCVReturnError (-6660)",
               "CVPixelBufferCreate(kCFAllocatorDefault, self.rendererDimensions.width, "
               "self.rendererDimensions.height, self.rendererPixelFormat, self.pixelBufferAttributes, "
               "&_outputPixelBuffer"
                   + which + ")",
               "_createPixelBuffers")
        + wholeOfTwo.type("_outputPixelBuffer" + which, "_createPixelBuffers");
}

/// A surface that is not there in the end.
std::string missing(const std::string& which)
{
    return wholeOfTwo.type("self.outputPixelBuffer" + which, "_createPixelBuffers");
}

}

using Renderer = AVCapturePixelBufferRenderer;
using DoubleRenderer = AVCapturePixelBufferRendererDoubleBufferedGlobal;

class PixelBufferRenderer : public testing::Test {
protected:
    void TearDown() override { FailPoint::disarmAll(); }
    template <class Kind> Ref<Kind> constructed(CGSize size = { 64, 36 })
    {
        auto renderer = make<Kind>(size, kCVPixelFormatType_32BGRA);
        // One of its own: a context tells one delegate.
        const auto context = make<AVCaptureAcceleratedContext>();
        context->setDelegate(renderer.get());
        context->lazyDelegate();
        return renderer;
    }
    const AutoreleasePool pool;
    StandardErrorCapture log;
};

TEST_F(PixelBufferRenderer, EachReadIsANewBufferWithTheInputInTheRenderersSize)
{
    const auto renderer = constructed<Renderer>();
    renderer->setInputPixelBuffer(grey(128, 128, 70).get());
    const auto first = renderer->copyOutputPixelBuffer();
    const auto second = renderer->copyOutputPixelBuffer();
    EXPECT_NE(first, second);
    for (const auto& output : { first, second }) {
        EXPECT_EQ(output->width(), 64U);
        EXPECT_EQ(output->height(), 36U);
        EXPECT_NE(output->surface(), nullptr);
        EXPECT_EQ(firstByte(*output), 70);
        EXPECT_EQ(static_cast<int>(output->baseAddress()[35 * output->bytesPerRow() + 63 * 4]), 70);
    }
    EXPECT_EQ(first->retainCount(), 1);
    EXPECT_EQ(log.text(), "");
}

class PixelBufferRendererPictures : public PixelBufferRenderer, public testing::WithParamInterface<ScalingWay> { };

TEST_P(PixelBufferRendererPictures, AreWhatTheDefinitionSays)
{
    const auto& [scaling, usesOpenGL] = GetParam();
    if (usesOpenGL)
        FailPoint::arm("CIContext.rendersWithTheProcessor");
    const CGSize size { static_cast<CGFloat>(scaling.width), static_cast<CGFloat>(scaling.height) };
    const auto input = noise(scaling.sourceWidth, scaling.sourceHeight);
    const bool isCopy = scaling.sourceWidth == scaling.width && scaling.sourceHeight == scaling.height;
    const auto plain = constructed<Renderer>(size);
    plain->setInputPixelBuffer(input);
    EXPECT_LE(greatestError(*input, *plain->copyOutputPixelBuffer()), isCopy ? 0 : 2);
    // Its end writes a line.
    const auto twice = constructed<DoubleRenderer>(size);
    twice->setInputPixelBuffer(input);
    for (int frame = 0; frame < 2; ++frame) {
        twice->setInputPixelBuffer(input);
        EXPECT_LE(greatestError(*input, *twice->copyOutputPixelBuffer()), isCopy ? 0 : 2);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, PixelBufferRendererPictures, scalingsOfRenderers(), nameOf);

TEST_F(PixelBufferRenderer, ThePickersAndTheCamerasPicturesAreWhatTheDefinitionSays)
{
    const auto thumbnail = constructed<Renderer>({ 640, 360 });
    const auto camera = constructed<Renderer>({ 1280, 720 });
    for (const auto& [width, height] : { std::pair { 1280, 720 }, std::pair { 1920, 1080 }, std::pair { 640, 480 } }) {
        const auto input = noise(width, height);
        for (const auto& renderer : { thumbnail, camera }) {
            renderer->setInputPixelBuffer(input);
            EXPECT_LE(greatestError(*input, *renderer->copyOutputPixelBuffer()), 2.0) << width;
        }
    }
}

TEST_F(PixelBufferRenderer, WithoutAnInputTheNewBufferIsUndrawnAndALineSaysSo)
{
    const auto renderer = constructed<Renderer>();
    const auto output = renderer->copyOutputPixelBuffer();
    ASSERT_TRUE(output);
    EXPECT_TRUE(isUndrawn(*output));
    EXPECT_EQ(linesOf(log), whole.type("inputPixelBufferRetainedCopy", "copyOutputPixelBuffer"));
}

TEST_F(PixelBufferRenderer, BeforeThereIsAContextTheNewBufferIsUndrawnWithoutALine)
{
    const auto renderer = make<Renderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
    renderer->setInputPixelBuffer(grey(64, 36, 5).get());
    const auto output = renderer->copyOutputPixelBuffer();
    ASSERT_TRUE(output);
    EXPECT_TRUE(isUndrawn(*output));
    EXPECT_EQ(linesOf(log), "");
}

TEST_F(PixelBufferRenderer, ABufferThatCannotBeHadIsReported)
{
    const auto renderer = constructed<Renderer>();
    const FailPoint::Scope fails("CVPixelBufferCreate", kCVReturnAllocationFailed);
    EXPECT_FALSE(renderer->copyOutputPixelBuffer());
    EXPECT_EQ(linesOf(log),
        whole.source("REQUIRED_CVRETURN FAILED: kCVReturnAllocationFailed (-6662)",
            "CVPixelBufferCreate(kCFAllocatorDefault, _rendererDimensions.width, _rendererDimensions.height, "
            "_rendererPixelFormat, self.pixelBufferAttributes, &copyOutputPixelBuffer)",
            "copyOutputPixelBuffer"));
}

TEST_F(PixelBufferRenderer, WhatIsMissingForARenderIsReported)
{
    const auto renderer = constructed<Renderer>();
    const auto input = grey(8, 8, 1);
    renderer->renderInputPixelBuffer_destinationPixelBuffer(nullptr, input);
    renderer->renderInputPixelBuffer_destinationPixelBuffer(input, nullptr);
    renderer->renderInputPixelBuffer_destinationPixelBuffer(input, input);
    const std::string function = "renderInputPixelBuffer_destinationPixelBuffer";
    EXPECT_EQ(linesOf(log),
        whole.type("inputBuffer", function) + whole.type("renderBuffer", function)
            + whole.type("renderSurface", function));
}

TEST_F(PixelBufferRenderer, TheAttributesAreFiveWithTheSurfacesOwnAmongThem)
{
    const auto expectSurface = [](CFDictionary* attributes, CFDictionary* surface) {
        EXPECT_TRUE(CFEqual(attributes,
            CFDictionary::create({ { kCVPixelBufferPixelFormatTypeKey, CFNumber::create(0x42475241).get() },
                                     { kCVPixelBufferWidthKey, CFNumber::create(64.0).get() },
                                     { kCVPixelBufferHeightKey, CFNumber::create(36.0).get() },
                                     { kCVPixelBufferMetalCompatibilityKey, kCFBooleanTrue },
                                     { kCVPixelBufferIOSurfacePropertiesKey, surface } })
                .get()));
    };
    const auto empty = CFDictionary::create();
    const auto global = CFDictionary::create({ { kIOSurfaceIsGlobal, kCFBooleanTrue } });
    const auto renderer = make<Renderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
    expectSurface(renderer->pixelBufferAttributes(), empty);
    expectSurface(renderer->pixelBufferAttributesWithSurfaceProperties(nullptr), empty);
    expectSurface(renderer->pixelBufferAttributesWithSurfaceProperties(global), global);
    const auto twice = make<DoubleRenderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
    expectSurface(twice->pixelBufferAttributes(), global);
}

TEST_F(PixelBufferRenderer, ItIsConstructedByAContextThatHasNothing)
{
    const FailPoint::Scope fails("CGLCreateContext");
    const auto empty = make<AVCaptureAcceleratedContext>();
    const auto renderer = constructed<Renderer>();
    EXPECT_TRUE(renderer->constructRendererWithAcceleratedContext(empty.get()));
    EXPECT_EQ(renderer->rendererCIContext(), nullptr);
    EXPECT_EQ(renderer->rendererColorSpace(), empty->rendererColorSpace());
    renderer->setInputPixelBuffer(grey(64, 36, 5).get());
    EXPECT_TRUE(isUndrawn(*renderer->copyOutputPixelBuffer()));
    EXPECT_EQ(linesOf(log), "");
}

TEST_F(PixelBufferRenderer, AnInputIsInPlaceAndItsLockFreeWhenTheRendererIsToldOfIt)
{
    struct ToldRenderer : Renderer {
        ToldRenderer()
            : Renderer({ 64, 36 }, kCVPixelFormatType_32BGRA)
        {
        }
        void inputPixelBufferChanged() override
        {
            seen.push_back(inputPixelBuffer());
            wasFree = std::async(std::launch::async, [this] {
                auto& lock = objc_sync_lock(inputPixelBufferSync());
                const bool isFree = lock.try_lock();
                if (isFree)
                    lock.unlock();
                return isFree;
            }).get();
        }
        std::vector<CVPixelBufferRef> seen;
        bool wasFree = false;
    };
    const auto renderer = make<ToldRenderer>();
    const auto input = grey(8, 8, 1);
    renderer->setInputPixelBuffer(input);
    EXPECT_TRUE(renderer->wasFree);
    renderer->setInputPixelBuffer(nullptr);
    EXPECT_EQ(renderer->seen, (std::vector<CVPixelBufferRef> { input, nullptr }));
}

TEST_F(PixelBufferRenderer, AReaderOfTheTwoSurfacesIsOneFrameBehind)
{
    const auto renderer = constructed<DoubleRenderer>();
    const Ref<CVPixelBuffer> a(renderer->outputPixelBufferA());
    const Ref<CVPixelBuffer> b(renderer->outputPixelBufferB());
    EXPECT_EQ(renderer->copyOutputPixelBuffer(), a);
    renderer->setInputPixelBuffer(grey(128, 72, 10).get());
    EXPECT_EQ(renderer->frameNumber(), 1U);
    EXPECT_EQ(renderer->copyOutputPixelBuffer(), b);
    EXPECT_EQ(firstByte(*a), 10);
    renderer->setInputPixelBuffer(grey(128, 72, 20).get());
    EXPECT_EQ(renderer->copyOutputPixelBuffer(), a);
    EXPECT_EQ(firstByte(*a), 10);
    EXPECT_EQ(firstByte(*b), 20);
    renderer->setInputPixelBuffer(grey(128, 72, 30).get());
    EXPECT_EQ(renderer->copyOutputPixelBuffer(), b);
    EXPECT_EQ(firstByte(*a), 30);
}

TEST_F(PixelBufferRenderer, ANullInputIsReportedAndDoesNotCount)
{
    const auto renderer = constructed<DoubleRenderer>();
    renderer->setInputPixelBuffer(nullptr);
    EXPECT_EQ(renderer->frameNumber(), 0U);
    renderer->setutputPixelBufferA(nullptr);
    renderer->setInputPixelBuffer(grey(4, 4, 4).get());
    EXPECT_EQ(renderer->frameNumber(), 0U);
    EXPECT_EQ(linesOf(log),
        wholeOfTwo.type("inputPixelBufferRetainedCopy", "inputPixelBufferChanged")
            + wholeOfTwo.type("outputPixelBufferRetainedCopy", "inputPixelBufferChanged"));
}

TEST_F(PixelBufferRenderer, AnInputReleasesTheOneBeforeIt)
{
    const auto renderer = constructed<DoubleRenderer>();
    const auto first = grey(8, 8, 1);
    const auto second = grey(8, 8, 2);
    renderer->setInputPixelBuffer(first);
    EXPECT_EQ(first->retainCount(), 2);
    renderer->setInputPixelBuffer(second);
    EXPECT_EQ(first->retainCount(), 1);
    EXPECT_EQ(second->retainCount(), 2);
    EXPECT_EQ(renderer->outputPixelBufferA()->retainCount(), 1);
    EXPECT_EQ(renderer->outputPixelBufferB()->retainCount(), 1);
}

TEST_F(PixelBufferRenderer, SurfacesThatCannotBeHadAreReportedEachForItself)
{
    const auto linesFor = [](std::uint64_t skip, std::uint64_t count) {
        StandardErrorCapture lines;
        const FailPoint::Scope fails("CVPixelBufferCreate", kCVReturnError, skip, count);
        const auto renderer = make<DoubleRenderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
        EXPECT_EQ(renderer->outputPixelBufferA() != nullptr, skip > 0);
        EXPECT_EQ(renderer->outputPixelBufferB() != nullptr, skip + count < 2);
        return linesOf(lines);
    };
    EXPECT_EQ(linesFor(0, 1), creationFailed("A") + missing("A"));
    EXPECT_EQ(linesFor(1, 1), creationFailed("B") + missing("B"));
    EXPECT_EQ(linesFor(0, 2), creationFailed("A") + creationFailed("B") + missing("A") + missing("B"));
}

TEST_F(PixelBufferRenderer, ASuccessThatBringsNoBufferIsReportedToo)
{
    const auto renderer = constructed<Renderer>();
    const FailPoint::Scope nothing("CVPixelBufferCreate", kCVReturnSuccess);
    EXPECT_FALSE(renderer->copyOutputPixelBuffer());
    const auto twice = make<DoubleRenderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
    EXPECT_FALSE(twice->_createPixelBuffers());
    const auto lines = wholeOfTwo.type("_outputPixelBufferA", "_createPixelBuffers")
        + wholeOfTwo.type("_outputPixelBufferB", "_createPixelBuffers") + missing("A") + missing("B");
    EXPECT_EQ(linesOf(log), whole.type("copyOutputPixelBuffer", "copyOutputPixelBuffer") + lines + lines);
}

TEST_F(PixelBufferRenderer, BothSurfacesAreMadeAnew)
{
    const auto renderer = constructed<DoubleRenderer>();
    const Ref<CVPixelBuffer> a(renderer->outputPixelBufferA());
    const Ref<CVPixelBuffer> b(renderer->outputPixelBufferB());
    EXPECT_TRUE(renderer->_createPixelBuffers());
    EXPECT_NE(renderer->outputPixelBufferA(), a);
    EXPECT_NE(renderer->outputPixelBufferB(), b);
    EXPECT_EQ(linesOf(log), "");
}

TEST_F(PixelBufferRenderer, ARenderThatFailsCountsAndLeavesTheOldPicture)
{
    FailPoint::arm("CIContext.rendersWithTheProcessor");
    const auto renderer = constructed<DoubleRenderer>();
    renderer->setInputPixelBuffer(grey(96, 54, 10).get());
    FailPoint::arm("CIContext.render");
    renderer->setInputPixelBuffer(grey(96, 54, 20).get());
    renderer->setInputPixelBuffer(grey(96, 54, 30).get());
    EXPECT_EQ(renderer->frameNumber(), 3U);
    EXPECT_EQ(firstByte(*renderer->outputPixelBufferARetainedCopy()), 10);
    EXPECT_TRUE(isUndrawn(*renderer->copyOutputPixelBuffer()));
    const std::string line = "A picture could not be rendered: the graphics driver failed.\n";
    EXPECT_EQ(withoutNSLogPrefixes(log.text()), line + line);
}

TEST_F(PixelBufferRenderer, ItsSettersLackALetterWhichItsEndFinds)
{
    auto renderer = make<DoubleRenderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
    for (const char* const message : { "setutputPixelBufferA:", "setutputPixelBufferB:" })
        EXPECT_TRUE(renderer->respondsToSelector(message));
    for (const char* const message : { "setOutputPixelBufferA:", "setOutputPixelBufferB:" })
        EXPECT_FALSE(renderer->respondsToSelector(message));
    renderer = nullptr;
    EXPECT_EQ(withoutNSLogPrefixes(log.text()),
        "-[AVCapturePixelBufferRendererDoubleBufferedGlobal setOutputPixelBufferA:]: message cannot be sent by name\n");
}

TEST_F(PixelBufferRenderer, LocksAreTheKeysOfTheProperties)
{
    const auto renderer = make<DoubleRenderer>(CGSize { 2, 2 }, kCVPixelFormatType_32BGRA);
    EXPECT_EQ(renderer->inputPixelBufferSync(), CFSTR("inputPixelBuffer"));
    EXPECT_EQ(renderer->outputPixelBufferASync(), CFSTR("outputPixelBufferA"));
    EXPECT_EQ(renderer->outputPixelBufferBSync(), CFSTR("outputPixelBufferB"));
}
