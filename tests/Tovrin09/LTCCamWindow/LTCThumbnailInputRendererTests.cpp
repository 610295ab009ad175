#include "Tovrin09/LTCCamWindow/LTCThumbnailInputRenderer.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/CoreVideo/AlphaFirst.h"
#include "tests/Platform/CoreImage/ReferencePicture.h"
#include "tests/WithRequirements/WholeLines.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"

#include <gtest/gtest.h>

using namespace ReferencePicture;

namespace {

const WholeLines whole("AVCapturePixelBufferRenderer.cpp");

class ThumbnailInputRenderer : public testing::Test {
protected:
    void SetUp() override
    {
        context->setDelegate(renderer);
        context->awakeFromNib();
    }
    void TearDown() override { FailPoint::disarmAll(); }
    Ref<CVPixelBuffer> thumbnailOf(CVPixelBufferRef input)
    {
        renderer->setInputPixelBuffer(input);
        return renderer->copyOutputPixelBuffer();
    }
    const AutoreleasePool pool;
    const Ref<LTCThumbnailInputRenderer> renderer = make<LTCThumbnailInputRenderer>();
    const Ref<AVCaptureAcceleratedContext> context = make<AVCaptureAcceleratedContext>();
    StandardErrorCapture log;
};

}

TEST_F(ThumbnailInputRenderer, IsMadeByAnInterfaceFile)
{
    const auto made = NSClassFromString(CFSTR("LTCThumbnailInputRenderer"))->createInstance();
    auto* const thumbnails = kindOf<AVCapturePixelBufferRenderer>(made);
    ASSERT_TRUE(thumbnails);
    EXPECT_EQ(thumbnails->rendererDimensions(), (CGSize { 640, 360 }));
    EXPECT_EQ(thumbnails->rendererPixelFormat(), 0x42475241U);
}

TEST_F(ThumbnailInputRenderer, EachThumbnailIsANewPictureOf640By360)
{
    const auto first = thumbnailOf(noise(1280, 720).get());
    const auto second = thumbnailOf(noise(1280, 720).get());
    EXPECT_NE(first, second);
    EXPECT_NE(IOSurfaceGetID(first->surface()), IOSurfaceGetID(second->surface()));
    for (const auto& thumbnail : { first, second }) {
        EXPECT_EQ(thumbnail->width(), 640U);
        EXPECT_EQ(thumbnail->height(), 360U);
        EXPECT_EQ(thumbnail->pixelFormat(), 0x42475241U);
    }
    EXPECT_EQ(first->retainCount(), 1);
    EXPECT_EQ(log.text(), "");
}

TEST_F(ThumbnailInputRenderer, EveryPixelIsWhatTheDefinitionSays)
{
    for (const bool usesOpenGL : { false, true }) {
        if (usesOpenGL)
            FailPoint::arm("CIContext.rendersWithTheProcessor");
        for (const auto& [width, height] : inputSizes) {
            const auto input = noise(width, height);
            EXPECT_LE(greatestError(*input, *thumbnailOf(input)), width == 640 && height == 360 ? 0 : 2)
                << width << " by " << height << (usesOpenGL ? " with OpenGL" : "");
        }
    }
    EXPECT_EQ(log.text(), "");
}

TEST_F(ThumbnailInputRenderer, BytesWithAlphaFirstComeOutInTheirColours)
{
    const auto input = noise(320, 180);
    EXPECT_LE(greatestError(*input, *thumbnailOf(alphaFirst(*input).get())), 2);
    EXPECT_EQ(log.text(), "");
}

TEST_F(ThumbnailInputRenderer, WithoutAnInputTheThumbnailIsUndrawnAndALineSaysSo)
{
    thumbnailOf(noise(64, 36).get());
    const auto thumbnail = thumbnailOf(nullptr);
    ASSERT_TRUE(thumbnail);
    EXPECT_EQ(thumbnail->width(), 640U);
    EXPECT_TRUE(isUndrawn(*thumbnail));
    EXPECT_EQ(linesOf(log), whole.type("inputPixelBufferRetainedCopy", "copyOutputPixelBuffer"));
}

TEST_F(ThumbnailInputRenderer, WithoutAContextTheThumbnailIsUndrawnWithoutALine)
{
    const auto alone = make<LTCThumbnailInputRenderer>();
    alone->setInputPixelBuffer(noise(640, 360).get());
    EXPECT_TRUE(isUndrawn(*alone->copyOutputPixelBuffer()));
    EXPECT_EQ(log.text(), "");
}

TEST_F(ThumbnailInputRenderer, AThumbnailThatCannotBeHadIsReported)
{
    const FailPoint::Scope fails("CVPixelBufferCreate", kCVReturnAllocationFailed);
    EXPECT_FALSE(renderer->copyOutputPixelBuffer());
    EXPECT_EQ(linesOf(log),
        whole.source("REQUIRED_CVRETURN FAILED: kCVReturnAllocationFailed (-6662)",
            "CVPixelBufferCreate(kCFAllocatorDefault, _rendererDimensions.width, _rendererDimensions.height, "
            "_rendererPixelFormat, self.pixelBufferAttributes, &copyOutputPixelBuffer)",
            "copyOutputPixelBuffer"));
}
