#include "Tovrin09/Tovrin09/CMIOOutputSurfaceRenderer.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/CoreVideo/AlphaFirst.h"
#include "tests/Platform/CoreImage/ReferencePicture.h"
#include "tests/WithRequirements/WholeLines.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"

#include <gtest/gtest.h>

using namespace ReferencePicture;

namespace {

const WholeLines whole("AVCapturePixelBufferRendererDoubleBufferedGlobal.cpp");

class OutputSurfaceRenderer : public testing::Test {
protected:
    void SetUp() override
    {
        context->setDelegate(renderer);
        context->awakeFromNib();
    }
    void TearDown() override { FailPoint::disarmAll(); }
    const AutoreleasePool pool;
    // Its end writes a line, which goes where it was meant to.
    const Ref<CMIOOutputSurfaceRenderer> renderer = make<CMIOOutputSurfaceRenderer>();
    const Ref<AVCaptureAcceleratedContext> context = make<AVCaptureAcceleratedContext>();
    StandardErrorCapture log;
};

}

TEST_F(OutputSurfaceRenderer, HasTwoSurfacesOfTheCamerasSizeFromTheStart)
{
    const auto made = NSClassFromString(CFSTR("CMIOOutputSurfaceRenderer"))->createInstance();
    auto* const surfaces = kindOf<AVCapturePixelBufferRendererDoubleBufferedGlobal>(made);
    ASSERT_TRUE(surfaces);
    EXPECT_EQ(surfaces->rendererDimensions(), (CGSize { 1280, 720 }));
    EXPECT_EQ(surfaces->rendererPixelFormat(), 0x42475241U);
    EXPECT_EQ(surfaces->frameNumber(), 0U);
    for (auto* const buffer : { surfaces->outputPixelBufferA(), surfaces->outputPixelBufferB() }) {
        EXPECT_EQ(buffer->width(), 1280U);
        EXPECT_EQ(buffer->height(), 720U);
        EXPECT_EQ(buffer->pixelFormat(), 0x42475241U);
        EXPECT_TRUE(isUndrawn(*buffer));
    }
    EXPECT_NE(IOSurfaceGetID(surfaces->outputPixelBufferA()->surface()),
        IOSurfaceGetID(surfaces->outputPixelBufferB()->surface()));
    EXPECT_EQ(surfaces->pixelBufferAttributes()
                  ->get<CFDictionary>(kCVPixelBufferIOSurfacePropertiesKey)
                  ->objectForKey(kIOSurfaceIsGlobal),
        kCFBooleanTrue);
    EXPECT_EQ(log.text(), "");
}

TEST_F(OutputSurfaceRenderer, AReaderGetsThePictureBeforeTheNewestOne)
{
    for (const bool usesOpenGL : { false, true }) {
        if (usesOpenGL)
            FailPoint::arm("CIContext.rendersWithTheProcessor");
        Ref<CVPixelBuffer> before;
        for (const auto& [width, height] : inputSizes) {
            const auto input = noise(width, height);
            renderer->setInputPixelBuffer(input);
            const auto read = renderer->copyOutputPixelBuffer();
            EXPECT_EQ(read,
                renderer->frameNumber() % 2 == 1 ? renderer->outputPixelBufferB() : renderer->outputPixelBufferA());
            if (before) {
                EXPECT_LE(greatestError(*before, *read), before->width() == 1280 ? 0 : 2)
                    << before->width() << " by " << before->height() << (usesOpenGL ? " with OpenGL" : "");
            }
            before = input;
        }
    }
    EXPECT_EQ(log.text(), "");
}

TEST_F(OutputSurfaceRenderer, BytesWithAlphaFirstComeOutInTheirColours)
{
    const auto input = noise(320, 180);
    renderer->setInputPixelBuffer(alphaFirst(*input).get());
    EXPECT_LE(greatestError(*input, *renderer->outputPixelBufferA()), 2);
    EXPECT_TRUE(isUndrawn(*renderer->copyOutputPixelBuffer())) << "the first picture is not to be seen yet";
}

TEST_F(OutputSurfaceRenderer, ANullInputIsReportedAndChangesNothing)
{
    const auto input = noise(320, 180);
    renderer->setInputPixelBuffer(input);
    renderer->setInputPixelBuffer(nullptr);
    EXPECT_EQ(renderer->frameNumber(), 1U);
    EXPECT_LE(greatestError(*input, *renderer->outputPixelBufferA()), 2);
    EXPECT_TRUE(isUndrawn(*renderer->outputPixelBufferB()));
    EXPECT_EQ(linesOf(log), whole.type("inputPixelBufferRetainedCopy", "inputPixelBufferChanged"));
}

TEST_F(OutputSurfaceRenderer, WithoutAContextPicturesCountAndAreNotDrawn)
{
    const auto alone = make<CMIOOutputSurfaceRenderer>();
    for (int frame = 0; frame < 3; ++frame)
        alone->setInputPixelBuffer(noise(64, 36).get());
    EXPECT_EQ(alone->frameNumber(), 3U);
    EXPECT_TRUE(isUndrawn(*alone->outputPixelBufferA()));
    EXPECT_TRUE(isUndrawn(*alone->outputPixelBufferB()));
    EXPECT_EQ(log.text(), "");
}
