#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/WithRequirements/LoggedChecks.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/PixelBufferRendererGlobalDoubleBuffered.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>

namespace {

using Renderer = ZVCMIO::PixelBufferRendererGlobalDoubleBuffered;
constexpr CGSize size { 64, 36 };

Ref<CVPixelBuffer> grey(std::size_t width, std::size_t height, int value)
{
    Ref<CVPixelBuffer> buffer;
    CVPixelBufferCreate(kCFAllocatorDefault, width, height, kCVPixelFormatType_32BGRA, nullptr, &buffer);
    for (std::size_t y = 0; y < height; ++y)
        std::memset(buffer->baseAddress() + y * buffer->bytesPerRow(), value, width * 4);
    return buffer;
}

int firstByte(const Ref<CVPixelBuffer>& buffer)
{
    return static_cast<int>(buffer->baseAddress()[0]);
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
    StandardErrorCapture log;
    EXPECT_FALSE(renderer.IsConstructed());
    EXPECT_FALSE(renderer.CopyOutputPixelBuffer());
    EXPECT_EQ(renderer.GetSurfaceIDOutputPixelBufferA(), 0xFFFFFFFFU);
    EXPECT_FALSE(renderer.CreatePixelBuffers());
    const auto text = log.text();
    EXPECT_EQ(reports(text, "pixelBuffer"), 1);
    EXPECT_EQ(reports(text, "pixelBufferProperties"), 1);
    EXPECT_EQ(reports(text, "mOutputPixelBufferB.get_object()"), 1);
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
    EXPECT_EQ(firstByte(b), 10);
    renderer.SetInputPixelBuffer(grey(64, 36, 20).get());
    EXPECT_EQ(renderer.CopyOutputPixelBuffer(), a);
    EXPECT_EQ(firstByte(a), 20);
    // What a reader took stays as it is during the next frame.
    EXPECT_EQ(firstByte(b), 10);
    renderer.SetInputPixelBuffer(grey(32, 36, 30).get());
    EXPECT_EQ(firstByte(b), 30);
    EXPECT_EQ(firstByte(a), 20);
}

TEST_F(GlobalDoubleBuffered, ConstructingAgainBeginsAgain)
{
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    renderer.SetInputPixelBuffer(grey(96, 54, 10).get());
    ASSERT_TRUE(renderer.Construct({ 16, 16 }, kCVPixelFormatType_32BGRA));
    EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 0U);
    EXPECT_EQ(renderer.CopyOutputPixelBuffer()->width(), 16U);
}

TEST_F(GlobalDoubleBuffered, TheAttributesAskForGlobalSurfacesOfTheSize)
{
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    const auto attributes = renderer.CopyPixelBufferAttributesWithSurfaceProperties(nullptr);
    EXPECT_EQ(attributes->count(), 5U);
    EXPECT_EQ(attributes->get<CFNumber>(kCVPixelBufferPixelFormatTypeKey)->integerValue(), 0x42475241);
    EXPECT_EQ(attributes->get<CFNumber>(kCVPixelBufferWidthKey)->doubleValue(), 64);
    EXPECT_EQ(attributes->get<CFNumber>(kCVPixelBufferHeightKey)->doubleValue(), 36);
    EXPECT_EQ(attributes->objectForKey(kCVPixelBufferMetalCompatibilityKey), kCFBooleanTrue);
    EXPECT_EQ(attributes->get<CFDictionary>(kCVPixelBufferIOSurfacePropertiesKey)->count(), 0U);
}

TEST_F(GlobalDoubleBuffered, ANullInputIsReportedAndDoesNotCount)
{
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    StandardErrorCapture log;
    renderer.SetInputPixelBuffer(nullptr);
    EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 0U);
    EXPECT_EQ(reports(log.text(), "inputPixelBufferRetainedCopy"), 1);
}

TEST_F(GlobalDoubleBuffered, SurfacesThatCannotBeHadAreReportedForEachFrame)
{
    StandardErrorCapture log;
    {
        const FailPoint::Scope fails("CVPixelBufferCreate", kCVReturnError);
        EXPECT_FALSE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    }
    EXPECT_TRUE(renderer.IsConstructed());
    renderer.SetInputPixelBuffer(grey(4, 4, 4).get());
    EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 1U);
    const auto text = log.text();
    const std::string creation
        = "SRC>>CVPixelBufferCreate(kCFAllocatorDefault, mRendererDimensions.width, mRendererDimensions.height, "
          "mRendererPixelFormat, mRendererPixelBufferProperties.get_object(), &outputPixelBuffer";
    for (const char* source : { "outputPixelBufferA", "outputPixelBufferB", "mOutputPixelBufferA.get_object()",
             "mOutputPixelBufferB.get_object()", "outputPixelBufferRetainedCopy" })
        EXPECT_EQ(reports(text, source), 1) << source;
    for (const auto& source : { creation + "A)", creation + "B)" })
        EXPECT_NE(text.find(source), std::string::npos) << source;
}

TEST_F(GlobalDoubleBuffered, AFailureOfTheFirstSurfaceDoesNotKeepTheSecondFromBeingMade)
{
    FailPoint::arm("CVPixelBufferCreate", kCVReturnError, 0, 1);
    EXPECT_FALSE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    EXPECT_FALSE(renderer.CopyOutputPixelBuffer());
    EXPECT_NE(renderer.GetSurfaceIDOutputPixelBufferB(), 0xFFFFFFFFU);
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
    const auto text = log.text();
    for (const char* source : { "inputBuffer", "renderBuffer", "renderSurface", "bufferSurface" })
        EXPECT_EQ(reports(text, source), 1) << source;
}

TEST(GlobalDoubleBufferedWithoutOpenGL, RendersNothingAndGoesOn)
{
    const AutoreleasePool pool;
    const FailPoint::Scope none("GLContextCreate");
    StandardErrorCapture log;
    {
        Renderer renderer;
        EXPECT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
        renderer.SetInputPixelBuffer(grey(4, 4, 4).get());
        EXPECT_TRUE(renderer.CopyOutputPixelBuffer());
    }
    EXPECT_EQ(reports(log.text(), "SRC>>mAcceleratedCIContext->IsValid()"), 2);
}

TEST_F(GlobalDoubleBuffered, InputsOfManyThreadsComeOneAtATime)
{
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    constexpr int threads = 4;
    constexpr int frames = 50;
    std::vector<std::thread> producers;
    for (int i = 0; i < threads; ++i)
        producers.emplace_back([&, i] {
            const auto picture = grey(96, 54, i + 1);
            for (int frame = 0; frame < frames; ++frame)
                renderer.SetInputPixelBuffer(picture);
        });
    for (auto& producer : producers)
        producer.join();
    EXPECT_EQ(renderer.GetRenderedSurfaceNumber(), 0U);
    // Each picture is whole: of one producer.
    const auto output = renderer.CopyOutputPixelBuffer();
    const int value = firstByte(output);
    EXPECT_GE(value, 1);
    for (std::size_t y = 0; y < 36; ++y)
        for (std::size_t x = 0; x < 64 * 4; ++x)
            ASSERT_EQ(static_cast<int>(output->baseAddress()[y * output->bytesPerRow() + x]), value);
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
