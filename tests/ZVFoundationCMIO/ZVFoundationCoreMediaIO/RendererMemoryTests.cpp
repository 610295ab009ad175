#include "tests/Platform/CoreImage/ReferencePicture.h"
#include "tests/ZVFoundationCMIO/ZVFoundationCoreMediaIO/HeapUse.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCapturePixelBufferRendererDoubleBufferedGlobal.h"
#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/PixelBufferRendererGlobalDoubleBuffered.h"

#include <gtest/gtest.h>

namespace {

using ReferencePicture::noise;
constexpr CGSize size { 64, 36 };

/// What ten frames take from the heap once the first ones have been rendered.
template <class Render> std::uint64_t heapUseOfTenFrames(const Render& render)
{
    for (int frame = 0; frame < 3; ++frame)
        render();
    const auto before = heapUse();
    for (int frame = 0; frame < 10; ++frame)
        render();
    return heapUse() - before;
}

}

TEST(RendererMemory, CountsWhatIsAskedForInBothLanguages)
{
    const auto before = heapUse();
    const auto object = std::make_unique<int>(1);
    EXPECT_EQ(heapUse() - before, 1U);
    const std::unique_ptr<void, decltype(&std::free)> memory(std::malloc(1), &std::free);
    EXPECT_TRUE(memory && object);
    EXPECT_EQ(heapUse() - before, 2U);
}

TEST(RendererMemory, TheObjectWithTwoSurfacesTakesNothingForAFrame)
{
    const auto context = make<AVCaptureAcceleratedContext>();
    // It lives as long as the process, as its kind does.
    static const auto renderer
        = make<AVCapturePixelBufferRendererDoubleBufferedGlobal>(size, kCVPixelFormatType_32BGRA);
    renderer->makeImmortal();
    context->setDelegate(renderer);
    context->lazyDelegate();
    const auto scaled = noise(96, 54);
    const auto plain = noise(64, 36);
    const auto before = renderer->frameNumber();
    EXPECT_EQ(heapUseOfTenFrames([&] { renderer->setInputPixelBuffer(scaled); }), 0U);
    EXPECT_EQ(heapUseOfTenFrames([&] { renderer->setInputPixelBuffer(plain); }), 0U);
    EXPECT_EQ(heapUseOfTenFrames([&] { renderer->copyOutputPixelBuffer(); }), 0U);
    EXPECT_EQ(renderer->frameNumber() - before, 26U);
    EXPECT_EQ(ReferencePicture::greatestError(*plain, *renderer->copyOutputPixelBuffer()), 0);
}

TEST(RendererMemory, ThePlainClassWithTwoSurfacesTakesNothingForAFrame)
{
    ZVCMIO::PixelBufferRendererGlobalDoubleBuffered renderer;
    ASSERT_TRUE(renderer.Construct(size, kCVPixelFormatType_32BGRA));
    const auto scaled = noise(96, 54);
    const auto plain = noise(64, 36);
    EXPECT_EQ(heapUseOfTenFrames([&] { renderer.SetInputPixelBuffer(scaled); }), 0U);
    EXPECT_EQ(heapUseOfTenFrames([&] { renderer.SetInputPixelBuffer(plain); }), 0U);
    EXPECT_EQ(heapUseOfTenFrames([&] { renderer.CopyOutputPixelBuffer(); }), 0U);
    EXPECT_EQ(ReferencePicture::greatestError(*plain, *renderer.CopyOutputPixelBuffer()), 0);
}
