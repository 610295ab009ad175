#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/WithRequirements/LoggedChecks.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCapturePixelBufferRendererDoubleBufferedGlobal.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

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

class PixelBufferRenderer : public testing::Test {
protected:
    void TearDown() override { FailPoint::disarmAll(); }
    template <class Renderer> Ref<Renderer> constructed()
    {
        auto renderer = make<Renderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
        context->setDelegate(renderer.get());
        context->lazyDelegate();
        return renderer;
    }
    const AutoreleasePool pool;
    const Ref<AVCaptureAcceleratedContext> context = make<AVCaptureAcceleratedContext>();
    StandardErrorCapture log;
};

using Renderer = AVCapturePixelBufferRenderer;
using DoubleRenderer = AVCapturePixelBufferRendererDoubleBufferedGlobal;

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
        EXPECT_EQ(firstByte(output), 70);
        EXPECT_EQ(static_cast<int>(output->baseAddress()[35 * output->bytesPerRow() + 63 * 4]), 70);
    }
    EXPECT_EQ(first->retainCount(), 1);
    EXPECT_EQ(log.text(), "");
}

TEST_F(PixelBufferRenderer, AnInputOfTheSizeIsCopiedByteForByte)
{
    const auto renderer = constructed<Renderer>();
    const auto input = grey(64, 36, 0);
    for (std::size_t i = 0; i < 64 * 4; ++i)
        input->baseAddress()[17 * input->bytesPerRow() + i] = static_cast<std::byte>(i);
    renderer->setInputPixelBuffer(input);
    const auto output = renderer->copyOutputPixelBuffer();
    for (std::size_t y = 0; y < 36; ++y)
        EXPECT_EQ(std::memcmp(input->baseAddress() + y * input->bytesPerRow(),
                      output->baseAddress() + y * output->bytesPerRow(), 64 * 4),
            0);
}

TEST_F(PixelBufferRenderer, WithoutAnInputTheNewBufferIsUndrawnAndALineSaysSo)
{
    const auto renderer = constructed<Renderer>();
    EXPECT_TRUE(renderer->copyOutputPixelBuffer());
    EXPECT_EQ(reports(log.text(), "inputPixelBufferRetainedCopy"), 1);
}

TEST_F(PixelBufferRenderer, BeforeThereIsAContextTheNewBufferIsUndrawnWithoutALine)
{
    const auto renderer = make<Renderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
    renderer->setInputPixelBuffer(grey(64, 36, 5).get());
    EXPECT_TRUE(renderer->copyOutputPixelBuffer());
    EXPECT_EQ(log.text(), "");
}

TEST_F(PixelBufferRenderer, ABufferThatCannotBeHadIsReported)
{
    const auto renderer = constructed<Renderer>();
    const FailPoint::Scope fails("CVPixelBufferCreate", kCVReturnAllocationFailed);
    EXPECT_FALSE(renderer->copyOutputPixelBuffer());
    EXPECT_NE(log.text().find("kCVReturnAllocationFailed"), std::string::npos);
}

TEST_F(PixelBufferRenderer, WhatIsMissingForARenderIsReported)
{
    const auto renderer = constructed<Renderer>();
    const auto input = grey(8, 8, 1);
    renderer->renderInputPixelBuffer_destinationPixelBuffer(nullptr, input);
    renderer->renderInputPixelBuffer_destinationPixelBuffer(input, nullptr);
    renderer->renderInputPixelBuffer_destinationPixelBuffer(input, input);
    const auto text = log.text();
    for (const char* source : { "inputBuffer", "renderBuffer", "renderSurface" })
        EXPECT_EQ(reports(text, source), 1) << source;
}

TEST_F(PixelBufferRenderer, AttributesAskForASurface)
{
    const auto renderer = make<Renderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
    for (auto* const attributes :
        { renderer->pixelBufferAttributes(), renderer->pixelBufferAttributesWithSurfaceProperties(nullptr) }) {
        EXPECT_EQ(attributes->count(), 5U);
        EXPECT_EQ(attributes->get<CFNumber>(kCVPixelBufferPixelFormatTypeKey)->integerValue(), 0x42475241);
        EXPECT_EQ(attributes->get<CFNumber>(kCVPixelBufferWidthKey)->doubleValue(), 64);
        EXPECT_EQ(attributes->get<CFNumber>(kCVPixelBufferHeightKey)->doubleValue(), 36);
        EXPECT_EQ(attributes->objectForKey(kCVPixelBufferMetalCompatibilityKey), kCFBooleanTrue);
        EXPECT_EQ(attributes->get<CFDictionary>(kCVPixelBufferIOSurfacePropertiesKey)->count(), 0U);
    }
    const auto global = make<DoubleRenderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
    EXPECT_EQ(global->pixelBufferAttributes()
                  ->get<CFDictionary>(kCVPixelBufferIOSurfacePropertiesKey)
                  ->objectForKey(kIOSurfaceIsGlobal),
        kCFBooleanTrue);
}

TEST_F(PixelBufferRenderer, ItIsConstructedByAContextThatHasNothing)
{
    const FailPoint::Scope fails("CGLCreateContext");
    const auto empty = make<AVCaptureAcceleratedContext>();
    const auto renderer = make<Renderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
    EXPECT_TRUE(renderer->constructRendererWithAcceleratedContext(empty.get()));
    EXPECT_EQ(renderer->rendererCIContext(), nullptr);
    EXPECT_EQ(renderer->rendererColorSpace(), empty->rendererColorSpace());
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
    EXPECT_EQ(firstByte(a), 10);
    renderer->setInputPixelBuffer(grey(128, 72, 20).get());
    EXPECT_EQ(renderer->copyOutputPixelBuffer(), a);
    EXPECT_EQ(firstByte(a), 10);
    EXPECT_EQ(firstByte(b), 20);
    renderer->setInputPixelBuffer(grey(128, 72, 30).get());
    EXPECT_EQ(renderer->copyOutputPixelBuffer(), b);
    EXPECT_EQ(firstByte(a), 30);
}

TEST_F(PixelBufferRenderer, ANullInputIsReportedAndDoesNotCount)
{
    const auto renderer = constructed<DoubleRenderer>();
    renderer->setInputPixelBuffer(nullptr);
    EXPECT_EQ(renderer->frameNumber(), 0U);
    renderer->setutputPixelBufferA(nullptr);
    renderer->setInputPixelBuffer(grey(4, 4, 4).get());
    EXPECT_EQ(renderer->frameNumber(), 0U);
    const auto text = log.text();
    EXPECT_EQ(reports(text, "inputPixelBufferRetainedCopy"), 1);
    EXPECT_EQ(reports(text, "outputPixelBufferRetainedCopy"), 1);
}

TEST_F(PixelBufferRenderer, AFailureOfTheFirstSurfaceDoesNotKeepTheSecondFromBeingMade)
{
    FailPoint::arm("CVPixelBufferCreate", kCVReturnError, 0, 1);
    const auto renderer = make<DoubleRenderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
    EXPECT_EQ(renderer->outputPixelBufferA(), nullptr);
    EXPECT_NE(renderer->outputPixelBufferB(), nullptr);
    const auto text = log.text();
    EXPECT_EQ(reports(text, "_outputPixelBufferA"), 1);
    EXPECT_EQ(reports(text, "self.outputPixelBufferA"), 1);
    EXPECT_EQ(reports(text, "_outputPixelBufferB"), 0);
}

TEST_F(PixelBufferRenderer, ItsSettersLackALetterWhichItsEndFinds)
{
    auto renderer = make<DoubleRenderer>(CGSize { 64, 36 }, kCVPixelFormatType_32BGRA);
    EXPECT_TRUE(renderer->respondsToSelector("setutputPixelBufferA:"));
    EXPECT_FALSE(renderer->respondsToSelector("setOutputPixelBufferA:"));
    renderer = nullptr;
    EXPECT_NE(log.text().find("setOutputPixelBufferA:"), std::string::npos);
}

TEST_F(PixelBufferRenderer, LocksAreTheKeysOfTheProperties)
{
    const auto renderer = make<DoubleRenderer>(CGSize { 2, 2 }, kCVPixelFormatType_32BGRA);
    EXPECT_EQ(renderer->inputPixelBufferSync(), CFSTR("inputPixelBuffer"));
    EXPECT_EQ(renderer->outputPixelBufferASync(), CFSTR("outputPixelBufferA"));
    EXPECT_EQ(renderer->outputPixelBufferBSync(), CFSTR("outputPixelBufferB"));
}
