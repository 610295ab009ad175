#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/Platform/CoreImage/ReferencePicture.h"
#include "tests/ZVFoundationCMIO/ZVFoundationCoreMediaIO/AcceleratedContextLines.h"
#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/PixelBufferRendererGlobalDoubleBuffered.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

namespace {

using Renderer = ZVCMIO::PixelBufferRendererGlobalDoubleBuffered;
constexpr CGSize size { 64, 36 };

const WholeLines whole("PixelBufferRendererGlobalDoubleBuffered.cpp");
using namespace ReferencePicture;

/// Shows the context that it renders with.
struct OpenRenderer : Renderer {
    using Renderer::acceleratedCIContext;
};

/// A surface that cannot be had.
std::string creationFailed(const std::string& which)
{
    return whole.source("REQUIRED_CVRETURN FAILED: kCVReturnError (-6660)",
               "CVPixelBufferCreate(kCFAllocatorDefault, mRendererDimensions.width, mRendererDimensions.height, "
               "mRendererPixelFormat, mRendererPixelBufferProperties.get_object(), &outputPixelBuffer"
                   + which + ")",
               "CreatePixelBuffers")
        + whole.type("outputPixelBuffer" + which, "CreatePixelBuffers");
}

/// A surface that is not there in the end.
std::string missing(const std::string& which)
{
    return whole.type("mOutputPixelBuffer" + which + ".get_object()", "CreatePixelBuffers");
}

}

class GlobalDoubleBuffered : public testing::Test {
protected:
    void TearDown() override { FailPoint::disarmAll(); }
    const AutoreleasePool pool;
    Renderer renderer;
};

TEST_F(GlobalDoubleBuffered, HasNothingBeforeItIsConstructed)
{
    EXPECT_FALSE(renderer.IsConstructed());
    EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 0U);
    {
        StandardErrorCapture log;
        EXPECT_FALSE(renderer.CopyOutputPixelBuffer());
        EXPECT_EQ(linesOf(log), "");
    }
    {
        StandardErrorCapture log;
        EXPECT_EQ(renderer.GetSurfaceIDOutputPixelBufferA(), 0xFFFFFFFFU);
        EXPECT_EQ(renderer.GetSurfaceIDOutputPixelBufferB(), 0xFFFFFFFFU);
        const auto line = whole.type("pixelBuffer", "GetSurfaceIDFromPixelBuffer");
        EXPECT_EQ(linesOf(log), line + line);
    }
    StandardErrorCapture log;
    EXPECT_FALSE(renderer.CreatePixelBuffers());
    EXPECT_EQ(linesOf(log), whole.type("pixelBufferProperties", "CreatePixelBuffers") + missing("A") + missing("B"));
}

TEST_F(GlobalDoubleBuffered, OnceItIsConstructedAReaderGetsTheEmptyFirstSurface)
{
    StandardErrorCapture log;
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    const auto a = renderer.CopyOutputPixelBuffer();
    ASSERT_TRUE(a);
    EXPECT_EQ(linesOf(log), "");
    EXPECT_EQ(renderer.GetSurfaceIDFromPixelBuffer(a), renderer.GetSurfaceIDOutputPixelBufferA());
    for (std::size_t i = 0; i < a->bytesPerRow() * a->height(); ++i)
        ASSERT_EQ(a->baseAddress()[i], std::byte { 0 });
}

TEST(GlobalDoubleBufferedContexts, TheFirstContextStaysForGoodAndTheSecondRenders)
{
    WeakRef<CIContext> first;
    WeakRef<CIContext> second;
    FailPoint::arm("CGLCreateContext", -1, 1000);
    {
        const AutoreleasePool pool;
        OpenRenderer renderer;
        EXPECT_EQ(FailPoint::passes("CGLCreateContext"), 1U);
        first = renderer.acceleratedCIContext()->rendererCIContext();
        EXPECT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
        EXPECT_EQ(FailPoint::passes("CGLCreateContext"), 2U);
        second = renderer.acceleratedCIContext()->rendererCIContext();
        EXPECT_NE(first.strongReference(), second.strongReference());
    }
    FailPoint::disarmAll();
    EXPECT_FALSE(first.isNull());
    EXPECT_TRUE(second.isNull());
}

class GlobalDoubleBufferedPictures : public GlobalDoubleBuffered, public testing::WithParamInterface<ScalingWay> { };

TEST_P(GlobalDoubleBufferedPictures, AreWhatTheDefinitionSays)
{
    const auto& [scaling, usesOpenGL] = GetParam();
    if (usesOpenGL)
        FailPoint::arm("CIContext.rendersWithTheProcessor");
    const CGSize target { static_cast<CGFloat>(scaling.width), static_cast<CGFloat>(scaling.height) };
    ASSERT_TRUE(renderer.Construct(target, kCVPixelFormatType_32BGRA));
    const auto input = noise(scaling.sourceWidth, scaling.sourceHeight);
    for (int frame = 0; frame < 2; ++frame) {
        renderer.SetInputPixelBuffer(input);
        EXPECT_LE(greatestError(*input, *renderer.CopyOutputPixelBuffer()), 2.0) << frame;
    }
    const bool isCopy = scaling.sourceWidth == scaling.width && scaling.sourceHeight == scaling.height;
    EXPECT_LE(greatestError(*input, *renderer.CopyOutputPixelBuffer()), isCopy ? 0 : 2);
}

INSTANTIATE_TEST_SUITE_P(Sizes, GlobalDoubleBufferedPictures, scalingsOfRenderers(), nameOf);

TEST_F(GlobalDoubleBuffered, TheCamerasPicturesAreWhatTheDefinitionSays)
{
    ASSERT_TRUE(renderer.Construct({ 1280, 720 }, kCVPixelFormatType_32BGRA));
    for (const auto& [width, height] :
        { std::pair { 1920, 1080 }, std::pair { 640, 480 }, std::pair { 1280, 720 }, std::pair { 4100, 2160 } }) {
        const auto input = noise(width, height);
        renderer.SetInputPixelBuffer(input);
        EXPECT_LE(greatestError(*input, *renderer.CopyOutputPixelBuffer()), 2.0) << width;
    }
}

TEST_F(GlobalDoubleBuffered, AReaderGetsTheNewestPicture)
{
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    EXPECT_TRUE(renderer.IsConstructed());
    const auto a = renderer.CopyOutputPixelBuffer();
    EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 0U);
    EXPECT_EQ(renderer.GetSurfaceIDFromPixelBuffer(a), renderer.GetSurfaceIDOutputPixelBufferA());
    EXPECT_NE(renderer.GetSurfaceIDOutputPixelBufferA(), renderer.GetSurfaceIDOutputPixelBufferB());
    renderer.SetInputPixelBuffer(grey(96, 54, 10).get());
    const auto b = renderer.CopyOutputPixelBuffer();
    EXPECT_EQ(renderer.GetSurfaceIDFromPixelBuffer(b), renderer.GetSurfaceIDOutputPixelBufferB());
    EXPECT_EQ(firstByte(*b), 10);
    renderer.SetInputPixelBuffer(grey(64, 36, 20).get());
    EXPECT_EQ(renderer.CopyOutputPixelBuffer(), a);
    EXPECT_EQ(firstByte(*a), 20);
    // What a reader took stays as it is during the next frame.
    EXPECT_EQ(firstByte(*b), 10);
    renderer.SetInputPixelBuffer(grey(32, 36, 30).get());
    EXPECT_EQ(firstByte(*b), 30);
    EXPECT_EQ(firstByte(*a), 20);
}

TEST_F(GlobalDoubleBuffered, ConstructingAgainBeginsAgain)
{
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    renderer.SetInputPixelBuffer(grey(96, 54, 10).get());
    ASSERT_TRUE(renderer.Construct({ 16, 16 }, kCVPixelFormatType_32BGRA));
    EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 0U);
    EXPECT_EQ(renderer.CopyOutputPixelBuffer()->width(), 16U);
}

TEST_F(GlobalDoubleBuffered, TheAttributesAreFiveWithTheSurfacesOwnAmongThem)
{
    const auto expectSurface = [](const Ref<CFDictionary>& attributes, CFDictionary* surface) {
        EXPECT_TRUE(CFEqual(attributes.get(),
            CFDictionary::create({ { kCVPixelBufferPixelFormatTypeKey, CFNumber::create(0x42475241).get() },
                                     { kCVPixelBufferWidthKey, CFNumber::create(64.0).get() },
                                     { kCVPixelBufferHeightKey, CFNumber::create(36.0).get() },
                                     { kCVPixelBufferMetalCompatibilityKey, kCFBooleanTrue },
                                     { kCVPixelBufferIOSurfacePropertiesKey, surface } })
                .get()));
    };
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    expectSurface(renderer.CopyPixelBufferAttributesWithSurfaceProperties(nullptr), CFDictionary::create().get());
    const auto global = CFDictionary::create({ { kIOSurfaceIsGlobal, kCFBooleanTrue } });
    expectSurface(renderer.CopyPixelBufferAttributesWithSurfaceProperties(global), global);
}

TEST_F(GlobalDoubleBuffered, ANullInputIsReportedAndDoesNotCount)
{
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    StandardErrorCapture log;
    renderer.SetInputPixelBuffer(nullptr);
    EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 0U);
    EXPECT_EQ(linesOf(log), whole.type("inputPixelBufferRetainedCopy", "OnInputPixelBufferChanged"));
}

TEST_F(GlobalDoubleBuffered, SurfacesThatCannotBeHadAreReportedForEachFrame)
{
    {
        StandardErrorCapture log;
        const FailPoint::Scope fails("CVPixelBufferCreate", kCVReturnError);
        EXPECT_FALSE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
        EXPECT_EQ(linesOf(log), creationFailed("A") + creationFailed("B") + missing("A") + missing("B"));
    }
    EXPECT_TRUE(renderer.IsConstructed());
    StandardErrorCapture log;
    renderer.SetInputPixelBuffer(grey(4, 4, 4).get());
    renderer.SetInputPixelBuffer(grey(4, 4, 4).get());
    renderer.SetInputPixelBuffer(grey(4, 4, 4).get());
    EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 1U);
    const auto line = whole.type("outputPixelBufferRetainedCopy", "OnInputPixelBufferChanged");
    EXPECT_EQ(linesOf(log), line + line + line);
}

TEST_F(GlobalDoubleBuffered, AFailureOfOneSurfaceDoesNotKeepTheOtherFromBeingMade)
{
    {
        const FailPoint::Scope fails("CVPixelBufferCreate", kCVReturnError, 0, 1);
        StandardErrorCapture log;
        EXPECT_FALSE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
        EXPECT_FALSE(renderer.CopyOutputPixelBuffer());
        EXPECT_NE(renderer.GetSurfaceIDOutputPixelBufferB(), 0xFFFFFFFFU);
        EXPECT_EQ(linesOf(log), creationFailed("A") + missing("A"));
    }
    Renderer other;
    const FailPoint::Scope fails("CVPixelBufferCreate", kCVReturnError, 1, 1);
    StandardErrorCapture log;
    EXPECT_FALSE(other.Construct(size, kCVPixelFormatType_32BGRA));
    EXPECT_TRUE(other.CopyOutputPixelBuffer());
    EXPECT_EQ(linesOf(log), creationFailed("B") + missing("B"));
}

TEST_F(GlobalDoubleBuffered, ASuccessThatBringsNoSurfaceIsReportedToo)
{
    const FailPoint::Scope nothing("CVPixelBufferCreate", kCVReturnSuccess);
    StandardErrorCapture log;
    EXPECT_FALSE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    EXPECT_EQ(linesOf(log),
        whole.type("outputPixelBufferA", "CreatePixelBuffers") + whole.type("outputPixelBufferB", "CreatePixelBuffers")
            + missing("A") + missing("B"));
}

TEST_F(GlobalDoubleBuffered, ARenderThatFailsCountsAndLeavesTheOldPicture)
{
    FailPoint::arm("CIContext.rendersWithTheProcessor");
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    for (const int value : { 10, 20 })
        renderer.SetInputPixelBuffer(grey(96, 54, value).get());
    const FailPoint::Scope fails("CIContext.render");
    StandardErrorCapture log;
    renderer.SetInputPixelBuffer(grey(96, 54, 30).get());
    EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 1U);
    EXPECT_EQ(firstByte(*renderer.CopyOutputPixelBuffer()), 10);
    renderer.SetInputPixelBuffer(grey(96, 54, 40).get());
    EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 0U);
    EXPECT_EQ(firstByte(*renderer.CopyOutputPixelBuffer()), 20);
    const std::string line = "A picture could not be rendered: the graphics driver failed.\n";
    EXPECT_EQ(withoutNSLogPrefixes(log.text()), line + line);
}

TEST_F(GlobalDoubleBuffered, WhatIsMissingForARenderIsReported)
{
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    const auto plain = grey(8, 8, 1);
    StandardErrorCapture log;
    EXPECT_FALSE(renderer.RenderInputPixelBufferToDestinationPixelBuffer(nullptr, plain));
    EXPECT_FALSE(renderer.RenderInputPixelBufferToDestinationPixelBuffer(plain, nullptr));
    EXPECT_FALSE(renderer.RenderInputPixelBufferToDestinationPixelBuffer(plain, plain));
    EXPECT_EQ(renderer.GetSurfaceIDFromPixelBuffer(plain), 0xFFFFFFFFU);
    const std::string function = "RenderInputPixelBufferToDestinationPixelBuffer";
    EXPECT_EQ(linesOf(log),
        whole.type("inputBuffer", function) + whole.type("renderBuffer", function)
            + whole.type("renderSurface", function) + whole.type("bufferSurface", "GetSurfaceIDFromPixelBuffer"));
}

TEST(GlobalDoubleBufferedWithoutOpenGL, SaysSoForEachContextThenRendersNothingAndGoesOn)
{
    const AutoreleasePool pool;
    const FailPoint::Scope none("GLContextCreate");
    const auto lines = [](const std::string& function) {
        return AcceleratedContextLines::withoutOpenGL()
            + AcceleratedContextLines::whole.notNull("mCGLPixelFormat", "IsValid")
            + whole.condition("mAcceleratedCIContext->IsValid()", function);
    };
    StandardErrorCapture log;
    {
        Renderer renderer;
        EXPECT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
        renderer.SetInputPixelBuffer(grey(4, 4, 4).get());
        EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 1U);
        EXPECT_EQ(firstByte(*renderer.CopyOutputPixelBuffer()), 0);
        EXPECT_FALSE(renderer.RenderInputPixelBufferToDestinationPixelBuffer(
            grey(4, 4, 4).get(), renderer.CopyOutputPixelBuffer().get()));
    }
    EXPECT_EQ(linesOf(log), lines("PixelBufferRendererGlobalDoubleBuffered") + lines("Construct"));
}

TEST(GlobalDoubleBufferedWithoutOpenGL, AMissingImageContextAloneIsNotValid)
{
    const AutoreleasePool pool;
    const FailPoint::Scope none("CIContext.contextWithCGLContext:pixelFormat:colorSpace:options:");
    StandardErrorCapture log;
    const Renderer renderer;
    EXPECT_EQ(
        linesOf(log), whole.condition("mAcceleratedCIContext->IsValid()", "PixelBufferRendererGlobalDoubleBuffered"));
}

TEST_F(GlobalDoubleBuffered, ASecondInputWaitsUntilTheFirstIsRendered)
{
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    // Large, so that the second comes while it is being rendered. Whoever lets go of it last is noted.
    std::thread::id lastHolder;
    std::shared_ptr<void> ticket(nullptr, [&](void*) { lastHolder = std::this_thread::get_id(); });
    auto first = make<CVPixelBuffer>(
        IOSurface::create(2560, 1440, kCVPixelFormatType_32BGRA, 4, nullptr), std::exchange(ticket, nullptr));
    auto* const input = first.get();
    const auto second = grey(64, 36, 20);
    std::thread::id secondProducer;
    std::thread producer([&] {
        secondProducer = std::this_thread::get_id();
        while (renderer.GetRenderedSurfaceNumber() == 0)
            std::this_thread::yield();
        first = nullptr;
        renderer.SetInputPixelBuffer(second);
    });
    renderer.SetInputPixelBuffer(input);
    producer.join();
    EXPECT_EQ(lastHolder, secondProducer) << "the first was still in use when the second took its place";
    EXPECT_EQ(firstByte(*renderer.CopyOutputPixelBuffer()), 20);
}

TEST_F(GlobalDoubleBuffered, ProducersDoNotLoseCountOfTheirPictures)
{
    // Without the lock two of them would let go of the same picture.
    ASSERT_TRUE(renderer.Construct({ 1, 1 }, kCVPixelFormatType_32BGRA));
    constexpr int threads = 4;
    std::vector<Ref<CVPixelBuffer>> pictures;
    for (int i = 0; i < threads; ++i)
        pictures.push_back(grey(1, 1, i));
    std::atomic<int> ready = 0;
    std::vector<std::thread> producers;
    for (int i = 0; i < threads; ++i)
        producers.emplace_back([&, i] {
            for (++ready; ready < threads;)
                std::this_thread::yield();
            for (int frame = 0; frame < 5000; ++frame)
                renderer.SetInputPixelBuffer(pictures[static_cast<std::size_t>(i)]);
        });
    for (auto& producer : producers)
        producer.join();
    long held = 0;
    for (const auto& picture : pictures)
        held += picture->retainCount() - 1;
    EXPECT_EQ(held, 1) << "the renderer holds the last one";
}

TEST(UCoreSpinlockMutex, LetsOneThroughAtATime)
{
    ZVCMIO::UCoreSpinlockMutex mutex;
    long count = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int i = 0; i < 20'000; ++i) {
                const std::lock_guard lock(mutex);
                const auto seen = count;
                if (i % 64 == 0)
                    std::this_thread::yield();
                count = seen + 1;
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(count, 80'000);
}

TEST(UCoreSpinlockMutex, ItsEndWaitsForWhoeverHoldsIt)
{
    std::optional<ZVCMIO::UCoreSpinlockMutex> mutex(std::in_place);
    std::atomic<bool> ending = false;
    std::atomic<bool> released = false;
    auto& held = *mutex;
    held.lock();
    std::thread end([&] {
        ending = true;
        mutex.reset();
        EXPECT_TRUE(released);
    });
    while (!ending)
        std::this_thread::yield();
    for (int turn = 0; turn < 10'000; ++turn)
        std::this_thread::yield();
    released = true;
    held.unlock();
    end.join();
}

TEST(OSTypeRef, OwnsOneReference)
{
    const auto first = make<CFDictionary>();
    const auto second = make<CFDictionary>();
    requiredCpp::T_ostyperef<Renderer::cfdictionary_config_t> holder;
    EXPECT_FALSE(holder.Construct(nullptr));
    EXPECT_TRUE(holder.Construct(first));
    EXPECT_EQ(first->retainCount(), 2);
    EXPECT_TRUE(holder.Construct(first));
    EXPECT_EQ(first->retainCount(), 2);
    holder.assign(second);
    EXPECT_EQ(first->retainCount(), 1);
    EXPECT_EQ(holder.get_object(), second);
    holder.Destruct();
    EXPECT_EQ(second->retainCount(), 1);
    EXPECT_EQ(holder.get_object(), nullptr);
}
