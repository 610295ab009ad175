#include "Tovrin09/Tovrin09/ZVCMIOOutputSurfaceRenderer.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/CoreVideo/AlphaFirst.h"
#include "tests/Platform/CoreImage/ReferencePicture.h"
#include "tests/ZVFoundationCMIO/ZVFoundationCoreMediaIO/AcceleratedContextLines.h"

#include <gtest/gtest.h>

using namespace ReferencePicture;

namespace {

const WholeLines whole("PixelBufferRendererGlobalDoubleBuffered.cpp");

class PlainOutputSurfaceRenderer : public testing::Test {
protected:
    void TearDown() override { FailPoint::disarmAll(); }
    const AutoreleasePool pool;
    StandardErrorCapture log;
    const Ref<ZVCMIOOutputSurfaceRenderer> renderer = make<ZVCMIOOutputSurfaceRenderer>();
};

/// A surface that cannot be had.
std::string creationFailed(const std::string& which)
{
    return whole.source("REQUIRED_CVRETURN FAILED: kCVReturnAllocationFailed (-6662)",
               "CVPixelBufferCreate(kCFAllocatorDefault, mRendererDimensions.width, mRendererDimensions.height, "
               "mRendererPixelFormat, mRendererPixelBufferProperties.get_object(), &outputPixelBuffer"
                   + which + ")",
               "CreatePixelBuffers")
        + whole.type("outputPixelBuffer" + which, "CreatePixelBuffers");
}

}

TEST_F(PlainOutputSurfaceRenderer, HasNoSurfaceUntilTheFirstPicture)
{
    const auto made = NSClassFromString(CFSTR("ZVCMIOOutputSurfaceRenderer"))->createInstance();
    auto* const byName = kindOf<ZVCMIOOutputSurfaceRenderer>(made);
    ASSERT_TRUE(byName);
    EXPECT_FALSE(byName->copyOutputPixelBuffer());
    byName->setInputPixelBuffer(grey(4, 4, 9).get());
    const auto output = byName->copyOutputPixelBuffer();
    ASSERT_TRUE(output);
    EXPECT_EQ(output->width(), 1280U);
    EXPECT_EQ(output->height(), 720U);
    EXPECT_EQ(output->pixelFormat(), 0x42475241U);
    EXPECT_TRUE(output->surface());
    EXPECT_EQ(log.text(), "");
}

TEST_F(PlainOutputSurfaceRenderer, AReaderGetsTheNewestPicture)
{
    for (const bool usesOpenGL : { false, true }) {
        if (usesOpenGL)
            FailPoint::arm("CIContext.rendersWithTheProcessor");
        for (const auto& [width, height] : inputSizes) {
            const auto input = noise(width, height);
            renderer->setInputPixelBuffer(input);
            EXPECT_LE(greatestError(*input, *renderer->copyOutputPixelBuffer()), width == 1280 ? 0 : 2)
                << width << " by " << height << (usesOpenGL ? " with OpenGL" : "");
        }
    }
    EXPECT_EQ(log.text(), "");
}

TEST_F(PlainOutputSurfaceRenderer, TwoSurfacesServeAllPicturesInTurn)
{
    std::vector<Ref<CVPixelBuffer>> outputs;
    for (int frame = 1; frame <= 4; ++frame) {
        renderer->setInputPixelBuffer(grey(64, 36, frame).get());
        outputs.push_back(renderer->copyOutputPixelBuffer());
        if (frame > 1) {
            EXPECT_EQ(firstByte(*outputs[outputs.size() - 2]), frame - 1) << "a reader has the time of one picture";
        }
    }
    EXPECT_NE(outputs[0], outputs[1]);
    EXPECT_EQ(outputs[0], outputs[2]);
    EXPECT_EQ(outputs[1], outputs[3]);
    EXPECT_EQ(firstByte(*outputs[2]), 3);
    EXPECT_EQ(firstByte(*outputs[3]), 4);
}

TEST_F(PlainOutputSurfaceRenderer, BytesWithAlphaFirstComeOutInTheirColours)
{
    const auto input = noise(320, 180);
    renderer->setInputPixelBuffer(alphaFirst(*input).get());
    EXPECT_LE(greatestError(*input, *renderer->copyOutputPixelBuffer()), 2);
    EXPECT_EQ(log.text(), "");
}

TEST_F(PlainOutputSurfaceRenderer, ANullInputIsReportedAndLeavesTheSurfacesEmpty)
{
    renderer->setInputPixelBuffer(nullptr);
    const auto empty = renderer->copyOutputPixelBuffer();
    ASSERT_TRUE(empty);
    EXPECT_TRUE(isUndrawn(*empty));
    renderer->setInputPixelBuffer(grey(64, 36, 7).get());
    const auto drawn = renderer->copyOutputPixelBuffer();
    renderer->setInputPixelBuffer(nullptr);
    EXPECT_EQ(renderer->copyOutputPixelBuffer(), drawn);
    EXPECT_EQ(firstByte(*drawn), 7);
    EXPECT_TRUE(isUndrawn(*empty));
    const auto line = whole.type("inputPixelBufferRetainedCopy", "OnInputPixelBufferChanged");
    EXPECT_EQ(linesOf(log), line + line);
}

TEST_F(PlainOutputSurfaceRenderer, SurfacesThatCannotBeHadAreNotAskedForAgain)
{
    const auto input = grey(64, 36, 7);
    FailPoint::arm("CVPixelBufferCreate", kCVReturnAllocationFailed);
    renderer->setInputPixelBuffer(input);
    FailPoint::disarmAll();
    renderer->setInputPixelBuffer(input);
    EXPECT_FALSE(renderer->copyOutputPixelBuffer());
    const auto line = whole.type("outputPixelBufferRetainedCopy", "OnInputPixelBufferChanged");
    EXPECT_EQ(linesOf(log),
        creationFailed("A") + creationFailed("B") + whole.type("mOutputPixelBufferA.get_object()", "CreatePixelBuffers")
            + whole.type("mOutputPixelBufferB.get_object()", "CreatePixelBuffers") + line + line);
}

TEST_F(PlainOutputSurfaceRenderer, BeingConstructedAgainItBeginsAgain)
{
    renderer->setInputPixelBuffer(grey(64, 36, 7).get());
    const auto before = renderer->copyOutputPixelBuffer();
    renderer->_constructRenderer();
    const auto after = renderer->copyOutputPixelBuffer();
    EXPECT_NE(after, before);
    EXPECT_TRUE(isUndrawn(*after));
    EXPECT_EQ(firstByte(*before), 7);
}

TEST(PlainOutputSurfaceRendererWithoutOpenGL, SaysSoWhenItIsMadeAndWithTheFirstPicture)
{
    const AutoreleasePool pool;
    const FailPoint::Scope none("GLContextCreate");
    StandardErrorCapture log;
    const auto renderer = make<ZVCMIOOutputSurfaceRenderer>();
    for (int frame = 0; frame < 3; ++frame)
        renderer->setInputPixelBuffer(grey(64, 36, 7).get());
    EXPECT_TRUE(isUndrawn(*renderer->copyOutputPixelBuffer()));
    const auto lines = [](const std::string& function) {
        return AcceleratedContextLines::withoutOpenGL()
            + AcceleratedContextLines::whole.notNull("mCGLPixelFormat", "IsValid")
            + whole.condition("mAcceleratedCIContext->IsValid()", function);
    };
    EXPECT_EQ(linesOf(log), lines("PixelBufferRendererGlobalDoubleBuffered") + lines("Construct"));
}
