#include "Tovrin09/AVCapturePixelsView/AVCapturePixelBufferView.h"
#include "Tovrin09/AVCapturePixelsView/AVCapturePixelsView.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/QuartzCore/CATransaction.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gtest/gtest.h>

#include <cstdio>
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

/// What is logged of a null where an object of a type is required, for `withoutLineNumbers`.
std::string missing(const std::string& source, const std::string& function)
{
    return "REQUIRED_CFTYPEOF " + source + "==NULL : in " + function + " LINE# N (AVCaptureLayerContentsView.cpp)\n\n";
}

/// The same of an object of another type.
std::string mistyped(
    const std::string& source, const std::string& function, CFType* object, const std::string& type, CFTypeID expected)
{
    char facts[160];
    std::snprintf(facts, sizeof facts, "((%s)0x%08lx) != %sGetTypeID() (%08lx!=%08lx)",
        CFCopyTypeIDDescription(CFGetTypeID(object))->string().data(), reinterpret_cast<unsigned long>(object),
        type.c_str(), static_cast<unsigned long>(CFGetTypeID(object)), static_cast<unsigned long>(expected));
    return "REQUIRED_CFTYPEOF [" + source + " " + facts + "] FAILED : in " + function
        + " LINE# N (AVCaptureLayerContentsView.cpp)\n\n";
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

TYPED_TEST(AVCapturePixelsViews, WhatIsNoPixelBufferIsReportedAndKeptButNotShown)
{
    auto* const text = CFSTR("text");
    StandardErrorCapture capture;
    elsewhere([&] { this->view->setLayerPixelBuffer(text); });
    DispatchMain::drain();
    const auto type = CVPixelBufferGetTypeID();
    EXPECT_EQ(withoutLineNumbers(capture.text()),
        mistyped("self.currentLayerContentsRef", "setCurrentPixelBuffer", text, "CVPixelBuffer", type)
            + mistyped("layerPixelBuffer", "setLayerPixelBuffer", text, "CVPixelBuffer", type));
    EXPECT_EQ(this->view->currentLayerContentsRef(), text);
    EXPECT_EQ(this->view->layer()->contents(), nullptr);
    // A picture that was not shown is not in flight either.
    const auto next = frame();
    elsewhere([&] { this->view->setLayerPixelBuffer(next); });
    DispatchMain::drain();
    EXPECT_EQ(this->view->layer()->contents(), next->surface());
}

TYPED_TEST(AVCapturePixelsViews, NoPixelBufferIsReportedToo)
{
    StandardErrorCapture capture;
    elsewhere([&] { this->view->setLayerPixelBuffer(nullptr); });
    DispatchMain::drain();
    EXPECT_EQ(withoutLineNumbers(capture.text()),
        missing("self.currentLayerContentsRef", "setCurrentPixelBuffer")
            + missing("layerPixelBuffer", "setLayerPixelBuffer"));
}

TYPED_TEST(AVCapturePixelsViews, ReadingAsTheOtherTypeIsReportedAndGivesTheValueAllTheSame)
{
    const auto buffer = frame();
    const auto image = CGImageCreateWithPixelBuffer(buffer);
    StandardErrorCapture capture;
    EXPECT_EQ(this->view->currentPixelBuffer(), nullptr);
    EXPECT_EQ(this->view->layerImageRef(), nullptr);
    this->view->setCurrentImageRef(image);
    EXPECT_EQ(this->view->layerPixelBuffer(), image);
    this->view->setCurrentPixelBuffer(buffer);
    EXPECT_EQ(this->view->currentImageRef(), buffer);
    EXPECT_EQ(withoutLineNumbers(capture.text()),
        missing("self.currentLayerContentsRef", "currentPixelBuffer")
            + missing("self.currentLayerContentsRef", "currentImageRef")
            + mistyped(
                "self.currentLayerContentsRef", "currentPixelBuffer", image, "CVPixelBuffer", CVPixelBufferGetTypeID())
            + mistyped("self.currentLayerContentsRef", "currentImageRef", buffer, "CGImage", CGImageGetTypeID()));
}

TYPED_TEST(AVCapturePixelsViews, WhatIsNoImageWithPixelsIsReportedAndNotShown)
{
    const auto buffer = frame();
    StandardErrorCapture capture;
    elsewhere([&] { this->view->setLayerImageRef(buffer); });
    DispatchMain::drain();
    EXPECT_EQ(withoutLineNumbers(capture.text()),
        mistyped("self.currentLayerContentsRef", "setCurrentImageRef", buffer, "CGImage", CGImageGetTypeID())
            + mistyped("layerImageRef", "setLayerImageRef", buffer, "CGImage", CGImageGetTypeID()));
    EXPECT_EQ(this->view->currentLayerContentsRef(), buffer);
    EXPECT_EQ(this->view->layer()->contents(), nullptr);
}

TYPED_TEST(AVCapturePixelsViews, OneLockServesThePropertyInEveryView)
{
    EXPECT_EQ(this->view->currentLayerContentsRefSync(), CFSTR("currentLayerContentsRef"));
    const auto buffer = frame();
    const AutoreleasePool pool;
    this->view->setCurrentLayerContentsRef(buffer);
    EXPECT_EQ(this->view->currentLayerContentsRef(), buffer);
    EXPECT_EQ(this->view->currentLayerContentsRefAutoreleasedCopy(), buffer);
    EXPECT_EQ(this->view->currentLayerContentsRefRetainedCopy(), buffer);
    EXPECT_EQ(this->view->currentLayerContentsRefCopy(), buffer);
    EXPECT_EQ(this->view->layer()->contents(), nullptr);
}

TYPED_TEST(AVCapturePixelsViews, ANewPictureReplacesTheOldOneWithoutAnAction)
{
    struct Host : CALayerHost {
        void layerNeedsDisplay() override { ++changes; }
        int changes = 0;
    } host;
    /// Says whether actions were disabled when the layer let go of it.
    class Picture final : public CFType {
    public:
        explicit Picture(bool& wasDisabled)
            : mWasDisabled(wasDisabled)
        {
        }
        ~Picture() override { mWasDisabled = CATransaction::disableActions(); }

    private:
        bool& mWasDisabled;
    };
    bool wasDisabled = false;
    this->view->setLayerContentsUI(make<Picture>(wasDisabled).get());
    this->view->layer()->setHost(&host);
    this->view->setLayerContentsUI(frame().get());
    EXPECT_TRUE(wasDisabled);
    EXPECT_FALSE(CATransaction::disableActions());
    EXPECT_EQ(host.changes, 1) << "the change shows when the transaction ends, and once";
    this->view->layer()->setHost(nullptr);
}

TYPED_TEST(AVCapturePixelsViews, WithoutALayerPicturesComeToNothing)
{
    this->view->setLayer(nullptr);
    elsewhere([&] { this->view->setLayerPixelBuffer(frame().get()); });
    DispatchMain::drain();
    EXPECT_EQ(this->view->layer(), nullptr);
    // That picture has arrived all the same: the next one is not dropped.
    const auto layer = make<CALayer>();
    this->view->setLayer(layer);
    const auto next = frame();
    elsewhere([&] { this->view->setLayerPixelBuffer(next); });
    DispatchMain::drain();
    EXPECT_EQ(layer->contents(), next->surface());
}

TYPED_TEST(AVCapturePixelsViews, TheLayerAndThePropertyAreEmptiedWithTheView)
{
    const Ref<CALayer> layer(this->view->layer());
    auto buffer = frame();
    const WeakRef<CVPixelBuffer> watched(buffer);
    elsewhere([&] { this->view->setLayerPixelBuffer(buffer); });
    DispatchMain::drain();
    buffer = nullptr;
    EXPECT_TRUE(watched.strongReference());
    this->view = nullptr;
    EXPECT_EQ(layer->contents(), nullptr);
    EXPECT_FALSE(watched.strongReference());
}

TYPED_TEST(AVCapturePixelsViews, ItsFrameIsTheOneItWasMadeWith)
{
    const auto framed = make<TypeParam>(NSMakeRect(10, 20, 300, 200));
    EXPECT_EQ(framed->frame(), NSMakeRect(10, 20, 300, 200));
    EXPECT_TRUE(framed->layer());
    EXPECT_EQ(framed->layerContentsRedrawPolicy(), 0);
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

TYPED_TEST(AVCapturePixelsViews, AnImageIsShownInItsSizeWithoutACopyOfItsPixels)
{
    const auto buffer = frame();
    elsewhere([&] { this->view->setLayerCIImage(CIImage::imageWithCVImageBuffer(buffer).get()); });
    DispatchMain::drain();
    auto* const shown = kindOf<NSImage>(this->view->layer()->contents());
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->size(), (NSSize { 8, 4 }));
    EXPECT_EQ(shown->representations().size(), 1U);
    EXPECT_EQ(shown->copyPixelBufferForLayer(), buffer);
}

TYPED_TEST(AVCapturePixelsViews, AnImageWithoutARepresentationShowsNothing)
{
    elsewhere([&] { this->view->setLayerPixelBuffer(frame().get()); });
    DispatchMain::drain();
    const FailPoint::Scope fails("NSCIImageRep.imageRepWithCIImage:");
    const auto image = CIImage::imageWithCVImageBuffer(frame().get());
    EXPECT_EQ(this->view->_imageWithCIImage(image), nullptr);
    elsewhere([&] { this->view->setLayerCIImage(image); });
    DispatchMain::drain();
    EXPECT_EQ(this->view->layer()->contents(), nullptr);
}

TYPED_TEST(AVCapturePixelsViews, NoImageHasNoExtentAndNoForm)
{
    EXPECT_EQ(this->view->_upsideDownImageWithImage(nullptr), nullptr);
    EXPECT_EQ(this->view->_imageWithCIImage(nullptr), nullptr);
}

TYPED_TEST(AVCapturePixelsViews, AnImageGoesThroughTwoTransformStepsUnchangedWithoutInversion)
{
    ASSERT_FALSE(this->view->invertedCIImage()) << "no kernel has such a number";
    const auto image = CIImage::imageWithCVImageBuffer(frame().get());
    const auto result = this->view->_upsideDownImageWithImage(image);
    EXPECT_NE(result, image);
    EXPECT_EQ(result->transform(), CGAffineTransformIdentity);
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
    const auto second = frame();
    elsewhere([&] { view->setLayerPixelBuffer(second); });
    DispatchMain::drain();
    EXPECT_EQ(view->layer()->contents(), first->surface());
    view->setLayerPixelBuffer(frame().get());
    EXPECT_EQ(view->layer()->contents(), first->surface());
    // The layer itself can still be set.
    view->setLayerContentsUI(second->surface());
    EXPECT_EQ(view->layer()->contents(), second->surface());
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
    const auto buffer = bufferOf(kCVPixelFormatType_32BGRA, false);
    StandardErrorCapture capture;
    view->setLayerPixelBuffer(buffer);
    EXPECT_EQ(withoutLineNumbers(capture.text()), missing("pixelBufferSurface", "setLayerPixelBuffer"));
    EXPECT_EQ(view->layer()->contents(), nullptr);
    EXPECT_EQ(view->currentPixelBuffer(), buffer);
}

TEST(AVCapturePixelBufferView, ABufferWithoutASurfaceIsShownAsAnImage)
{
    const auto view = make<AVCapturePixelBufferView>();
    const auto buffer = bufferOf(kCVPixelFormatType_32BGRA, false);
    StandardErrorCapture capture;
    elsewhere([&] { view->setLayerPixelBuffer(buffer); });
    DispatchMain::drain();
    EXPECT_EQ(capture.text(), "");
    auto* const shown = kindOf<NSImage>(view->layer()->contents());
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->copyPixelBufferForLayer(), buffer);
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
