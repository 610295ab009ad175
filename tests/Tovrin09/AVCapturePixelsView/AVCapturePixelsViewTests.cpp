#include "Tovrin09/AVCapturePixelsView/AVCapturePixelBufferView.h"
#include "Tovrin09/AVCapturePixelsView/AVCapturePixelsView.h"

#include "Platform/dispatch/dispatch.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "WithRequirements/ZVOperatingSystemVersion.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

Ref<CVPixelBuffer> bufferOf(OSType format, bool withSurface)
{
    Ref<CVPixelBuffer> buffer;
    const auto attributes = withSurface
        ? CFDictionary::create({ { kCVPixelBufferIOSurfacePropertiesKey, CFDictionary::create().get() } })
        : nullptr;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, 8, 4, format, attributes, &buffer), kCVReturnSuccess);
    return buffer;
}

Ref<CVPixelBuffer> frame()
{
    return bufferOf(kCVPixelFormatType_32BGRA, true);
}

/// Runs \p work on a thread that is not the main one, as the producers of pictures do, and waits for it.
template <class Work> void elsewhere(const Work& work)
{
    std::thread([&] {
        const AutoreleasePool pool;
        work();
    }).join();
}

}

/// What both views promise.
template <class View> class AVCapturePixelsViews : public testing::Test {
protected:
    void TearDown() override { DispatchMain::drain(); }
    Ref<View> view = make<View>();
};
using Views = testing::Types<AVCapturePixelsView, AVCapturePixelBufferView>;
TYPED_TEST_SUITE(AVCapturePixelsViews, Views);

TYPED_TEST(AVCapturePixelsViews, ANewViewShowsNothingInItsShapeOnBlack)
{
    auto* const layer = this->view->layer();
    ASSERT_TRUE(layer);
    EXPECT_EQ(layer->contents(), nullptr);
    EXPECT_EQ(layer->backgroundColor(), CGColorGetConstantColor(kCGColorBlack));
    EXPECT_TRUE(CFEqual(layer->contentsGravity(), kCAGravityResizeAspect));
    EXPECT_TRUE(this->view->wantsLayer());
    EXPECT_TRUE(this->view->isOpaque());
}

TYPED_TEST(AVCapturePixelsViews, ASurfaceReachesTheLayerOnTheMainThread)
{
    const auto first = frame();
    elsewhere([&] { this->view->setLayerPixelBuffer(first); });
    EXPECT_EQ(this->view->layer()->contents(), nullptr);
    DispatchMain::drain();
    EXPECT_EQ(this->view->layer()->contents(), first->surface());
}

TYPED_TEST(AVCapturePixelsViews, ASecondPictureInFlightIsDroppedButKept)
{
    const auto first = frame();
    const auto second = frame();
    elsewhere([&] {
        this->view->setLayerPixelBuffer(first);
        this->view->setLayerPixelBuffer(second);
    });
    EXPECT_EQ(this->view->currentPixelBuffer(), second);
    DispatchMain::drain();
    EXPECT_EQ(this->view->layer()->contents(), first->surface());
    const auto third = frame();
    elsewhere([&] { this->view->setLayerPixelBuffer(third); });
    DispatchMain::drain();
    EXPECT_EQ(this->view->layer()->contents(), third->surface());
}

TYPED_TEST(AVCapturePixelsViews, AlphaFirstIsShownAsAnImage)
{
    const auto buffer = bufferOf(kCVPixelFormatType_32ARGB, true);
    elsewhere([&] { this->view->setLayerPixelBuffer(buffer); });
    DispatchMain::drain();
    auto* const shown = kindOf<NSImage>(this->view->layer()->contents());
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->size(), (NSSize { 8, 4 }));
    EXPECT_EQ(shown->copyPixelBufferForLayer()->pixelFormat(), kCVPixelFormatType_32BGRA);
}

TYPED_TEST(AVCapturePixelsViews, WhatIsNoPixelBufferIsReportedAndNotShown)
{
    StandardErrorCapture capture;
    elsewhere([&] { this->view->setLayerPixelBuffer(CFSTR("text")); });
    DispatchMain::drain();
    EXPECT_NE(capture.text().find("layerPixelBuffer"), std::string::npos);
    EXPECT_EQ(this->view->layer()->contents(), nullptr);
}

TYPED_TEST(AVCapturePixelsViews, TheLayerIsNotTouchedOffTheMainThread)
{
    elsewhere([&] { this->view->setLayerContentsUI(CFSTR("contents")); });
    EXPECT_EQ(this->view->layer()->contents(), nullptr);
    this->view->setLayerContentsUI(CFSTR("contents"));
    EXPECT_EQ(this->view->layer()->contents(), CFSTR("contents"));
}

TYPED_TEST(AVCapturePixelsViews, SomethingElseThanAnImageIsIgnored)
{
    elsewhere([&] { this->view->setLayerCIImage(CFSTR("text")); });
    DispatchMain::drain();
    EXPECT_EQ(this->view->layer()->contents(), nullptr);
}

TYPED_TEST(AVCapturePixelsViews, AnImageGoesThroughTwoTransformStepsUnchangedWithoutInversion)
{
    if (this->view->invertedCIImage())
        GTEST_SKIP() << "this system's version asks for inversion";
    const auto image = CIImage::imageWithCVImageBuffer(frame().get());
    const auto result = this->view->_upsideDownImageWithImage(image);
    EXPECT_NE(result, image);
    EXPECT_EQ(result->transform(), CGAffineTransformIdentity);
}

TYPED_TEST(AVCapturePixelsViews, InversionIsAskedForAboveOneVersionOnly)
{
    EXPECT_EQ(TypeParam::upsideDownCIImage(), ZVOperatingSystemVersion_GetCurrent() > 1300);
    EXPECT_EQ(this->view->invertedCIImage(), TypeParam::upsideDownCIImage());
}

TYPED_TEST(AVCapturePixelsViews, AViewWithAPictureInFlightLivesUntilItHasArrived)
{
    WeakRef<TypeParam> weak(this->view);
    elsewhere([&] { this->view->setLayerPixelBuffer(frame().get()); });
    this->view = nullptr;
    EXPECT_TRUE(weak.strongReference());
    DispatchMain::drain();
    EXPECT_FALSE(weak.strongReference());
}

TYPED_TEST(AVCapturePixelsViews, AnImageWithPixelsIsKeptAndShown)
{
    const auto image = CGImageCreateWithPixelBuffer(frame().get());
    elsewhere([&] { this->view->setLayerImageRef(image); });
    DispatchMain::drain();
    EXPECT_EQ(this->view->layerImageRef(), image);
    EXPECT_EQ(this->view->layer()->contents(), image);
}

TEST(AVCapturePixelBufferView, AfterOneCallOnTheMainThreadAllLaterPicturesAreDropped)
{
    const auto view = make<AVCapturePixelBufferView>();
    const auto first = frame();
    view->setLayerPixelBuffer(first);
    EXPECT_EQ(view->layer()->contents(), first->surface());
    elsewhere([&] { view->setLayerPixelBuffer(frame().get()); });
    DispatchMain::drain();
    EXPECT_EQ(view->layer()->contents(), first->surface());
}

TEST(AVCapturePixelsView, CallsOnTheMainThreadShowAtOnceEachTime)
{
    const auto view = make<AVCapturePixelsView>();
    for (int index = 0; index < 2; ++index) {
        const auto buffer = frame();
        view->setLayerPixelBuffer(buffer);
        EXPECT_EQ(view->layer()->contents(), buffer->surface());
    }
}

TEST(AVCapturePixelsView, ABufferWithoutASurfaceIsReported)
{
    const auto view = make<AVCapturePixelsView>();
    StandardErrorCapture capture;
    view->setLayerPixelBuffer(bufferOf(kCVPixelFormatType_32BGRA, false).get());
    EXPECT_NE(capture.text().find("pixelBufferSurface"), std::string::npos);
    EXPECT_EQ(view->layer()->contents(), nullptr);
}

TEST(AVCapturePixelBufferView, ABufferWithoutASurfaceIsShownAsAnImage)
{
    const auto view = make<AVCapturePixelBufferView>();
    view->setLayerPixelBuffer(bufferOf(kCVPixelFormatType_32BGRA, false).get());
    EXPECT_TRUE(kindOf<NSImage>(view->layer()->contents()));
}

TEST(AVCapturePixelsView, OnlyTheBufferViewStoresWhatIsSetAsALayerImage)
{
    const auto image = CGImageCreateWithPixelBuffer(frame().get());
    const auto older = make<AVCapturePixelsView>();
    older->setLayerImage(image);
    EXPECT_EQ(older->currentLayerContentsRef(), nullptr);
    EXPECT_EQ(older->layer()->contents(), image);
    const auto newer = make<AVCapturePixelBufferView>();
    newer->setLayerImage(image);
    EXPECT_EQ(newer->currentLayerContentsRef(), image);
}
