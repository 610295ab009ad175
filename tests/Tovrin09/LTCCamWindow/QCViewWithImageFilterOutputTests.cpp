#include "Tovrin09/LTCCamWindow/QCViewWithImageFilterOutput.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/dispatch/dispatch.h"
#include "tests/CoreLattice/Pictures.h"
#include "tests/WithRequirements/WholeLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <barrier>
#include <thread>

namespace {

using testing::HasSubstr;

const WholeLines whole("QCViewWithImageFilterOutput.cpp");

constexpr const char* invert = R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/
    void main() { gl_FragColor = vec4(1.0 - IMG_THIS_PIXEL(inputImage).rgb, 1.0); })";
constexpr const char* pointer = R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" },
    { "NAME": "inputX", "TYPE": "float" }, { "NAME": "inputY", "TYPE": "float" } ] }*/
    void main() { gl_FragColor = vec4(inputX, inputY, 0.0, 1.0); })";

Ref<CVPixelBuffer> frame(std::size_t width = 8, std::size_t height = 4)
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, width, height, kCVPixelFormatType_32BGRA, nullptr, &buffer), 0);
    return buffer;
}

/// Notes what it is told, and what the slot holds at that moment. Keeps the newest pictures only: no more of them can
/// be had than the framework lets out at a time.
class RenderTaker : public NSObject, public QCViewWithImageFilterOutputDelegate {
    NS_OBJECT(RenderTaker)
public:
    void ltcView_didRenderCompositionWithVideoCVPixelBuffer(LTCView* view, CVPixelBufferRef buffer) override
    {
        auto* const told = kindOf<QCViewWithImageFilterOutput>(view);
        if (buffers.size() == 4)
            buffers.erase(buffers.begin());
        buffers.emplace_back(buffer);
        slotWasFilled = told->outputImage() == buffer;
        formatWasThere = told->outputVideoFormatDescription() != nullptr;
    }
    std::vector<Ref<CVPixelBuffer>> buffers;
    bool slotWasFilled = false;
    bool formatWasThere = false;
};

NS_IMPLEMENTATION(RenderTaker, NSObject)
{
    type.message("ltcView:didRenderCompositionWithVideoCVPixelBuffer:",
        &RenderTaker::ltcView_didRenderCompositionWithVideoCVPixelBuffer);
}

/// A view that notes what reaches the composition, and on which thread.
class NotingView : public QCViewWithImageFilterOutput {
public:
    void setNeedsDisplay(bool needsDisplay) override
    {
        displayRequests.push_back(needsDisplay);
        wereOnMainThread = wereOnMainThread && DispatchMain::isMainThread();
        inputAtRequest = valueForInputKey(QCCompositionInputImageKey);
    }
    std::vector<bool> displayRequests;
    bool wereOnMainThread = true;
    Ref<CFType> inputAtRequest;
};

class FilterOutput : public testing::Test {
protected:
    void load(const char* source) { view->loadComposition(Pictures::composition(source)); }
    bool render() { return view->renderAtTime_arguments(0, nullptr); }
    double number(CFString* key)
    {
        const auto value = view->valueForInputKey(key);
        const auto* const number = kindOf<CFNumber>(value);
        return number ? number->doubleValue() : -1;
    }
    const AutoreleasePool pool;
    const Ref<NotingView> view = make<NotingView>();
    const Ref<RenderTaker> taker = make<RenderTaker>();
};

}

TEST(QCViewWithImageFilterOutput, ANewViewHasEmptySlotsAndThePointerInTheMiddle)
{
    const auto view = make<QCViewWithImageFilterOutput>();
    EXPECT_FALSE(view->outputImageRetainedCopy());
    EXPECT_FALSE(view->inputImageRetainedCopy());
    EXPECT_FALSE(view->copyVideoFormatDescription());
    EXPECT_EQ(view->normalizedMousePt(), (CGPoint { 0.5, 0.5 }));
    EXPECT_TRUE(view->acceptsFirstMouse(nullptr));
}

TEST(QCViewWithImageFilterOutput, LocksAreTheKeysOfTheProperties)
{
    const auto view = make<QCViewWithImageFilterOutput>();
    EXPECT_EQ(view->inputImageSync(), CFSTR("inputImage"));
    EXPECT_EQ(view->outputImageSync(), CFSTR("outputImage"));
    EXPECT_EQ(view->inputVideoFormatDescriptionSync(), CFSTR("inputVideoFormatDescription"));
    EXPECT_EQ(view->outputVideoFormatDescriptionSync(), CFSTR("outputVideoFormatDescription"));
}

TEST(QCViewWithImageFilterOutput, BeforeARenderTheFormatIsThatOfTheFirstFrame)
{
    const auto view = make<QCViewWithImageFilterOutput>();
    view->setCameraInputImage(frame(8, 4).get());
    EXPECT_EQ(view->copyVideoFormatDescription()->dimensions(), (CMVideoDimensions { 8, 4 }));
    // It is made once and goes stale with a later size.
    view->setCameraInputImage(frame(16, 4).get());
    EXPECT_EQ(view->copyVideoFormatDescription()->dimensions(), (CMVideoDimensions { 8, 4 }));
    EXPECT_EQ(view->inputImageRetainedCopy()->width(), 16u);
}

TEST(QCViewWithImageFilterOutput, AskingForTheOutputsFormatReportsThatThereIsNone)
{
    const auto view = make<QCViewWithImageFilterOutput>();
    view->setCameraInputImage(frame().get());
    StandardErrorCapture capture;
    EXPECT_EQ(view->videoFormatDescription(), view->inputVideoFormatDescription());
    EXPECT_THAT(capture.text(), HasSubstr("videoFormatDescription"));
}

TEST(QCViewWithImageFilterOutput, AChangedOutputSizeIsLoggedOnceAndFollowed)
{
    const auto view = make<QCViewWithImageFilterOutput>();
    EXPECT_TRUE(view->setOutputVideoFormatDescriptionWithCVPixelBuffer(frame(8, 4).get()));
    StandardErrorCapture capture;
    EXPECT_TRUE(view->setOutputVideoFormatDescriptionWithCVPixelBuffer(frame(16, 4).get()));
    EXPECT_TRUE(view->setOutputVideoFormatDescriptionWithCVPixelBuffer(frame(16, 4).get()));
    const auto text = capture.text();
    const std::string words
        = "SRC>>CMVideoFormatDescriptionMatchesImageBuffer(self.outputVideoFormatDescription,outputPixelBuffer)";
    EXPECT_THAT(text, HasSubstr(words));
    EXPECT_EQ(text.find(words), text.rfind(words));
    EXPECT_EQ(view->videoFormatDescription()->dimensions(), (CMVideoDimensions { 16, 4 }));
}

TEST(QCViewWithImageFilterOutput, WhatIsNoBufferIsReportedTwiceAndFalse)
{
    const auto view = make<QCViewWithImageFilterOutput>();
    StandardErrorCapture capture;
    EXPECT_FALSE(view->setInputVideoFormatDescriptionWithCVPixelBuffer(nullptr));
    const auto text = capture.text();
    EXPECT_THAT(text, HasSubstr("inputPixelBuffer"));
    EXPECT_THAT(text, HasSubstr("self.inputVideoFormatDescription"));
}

TEST(QCViewWithImageFilterOutput, AnEmptyFrameClearsTheInput)
{
    const auto view = make<QCViewWithImageFilterOutput>();
    view->setCameraInputImage(frame().get());
    view->setCameraInputImage(nullptr);
    EXPECT_FALSE(view->inputImageRetainedCopy());
}

TEST(QCViewWithImageFilterOutput, ThePointersPlaceIsAFractionOfTheView)
{
    const auto view = make<QCViewWithImageFilterOutput>();
    view->setFrameSize({ 200, 100 });
    view->mouseMoved(make<NSEvent>(NSEventTypeMouseMoved, NSPoint { 50, 75 }).get());
    EXPECT_EQ(view->normalizedMousePt(), (CGPoint { 0.25, 0.75 }));
    view->mouseDown(make<NSEvent>(NSEventTypeLeftMouseDown, NSPoint { 200, 0 }).get());
    EXPECT_EQ(view->normalizedMousePt(), (CGPoint { 1, 0 }));
}

TEST(QCViewWithImageFilterOutput, WithoutACompositionThereIsNoSnapshot)
{
    const auto view = make<QCViewWithImageFilterOutput>();
    StandardErrorCapture capture;
    EXPECT_FALSE(view->copySnapshotCGImageRef());
    EXPECT_THAT(capture.text(), HasSubstr("newSnapshotImage"));
}

TEST_F(FilterOutput, ARenderFillsTheSlotAndTheFormatBeforeTheDelegateIsTold)
{
    load(invert);
    view->setDelegate(taker);
    view->setCameraInputImage(Pictures::plain(16, 8, { 255, 0, 0 }).get());
    StandardErrorCapture log;
    ASSERT_TRUE(render());
    ASSERT_EQ(taker->buffers.size(), 1U);
    EXPECT_TRUE(taker->slotWasFilled);
    EXPECT_TRUE(taker->formatWasThere);
    const auto output = view->outputImageRetainedCopy();
    EXPECT_EQ(output, taker->buffers[0]);
    EXPECT_EQ(Pictures::pixelAt(*output, 3, 3), (Pictures::Pixel { 0, 255, 255 }));
    EXPECT_EQ(view->copyVideoFormatDescription()->dimensions(), (CMVideoDimensions { 16, 8 }));
    EXPECT_EQ(view->copyVideoFormatDescription(), view->outputVideoFormatDescriptionCopy());
    ASSERT_TRUE(render());
    EXPECT_NE(view->outputImageCopy(), output) << "the newest replaces the one before";
    EXPECT_EQ(log.text(), "");
}

TEST_F(FilterOutput, WithoutADelegateThatIsToldTheSlotStaysEmpty)
{
    load(invert);
    view->setCameraInputImage(frame().get());
    EXPECT_TRUE(render());
    EXPECT_EQ(view->outputImage(), nullptr);
    const auto deaf = make<NSObject>();
    view->setDelegate(deaf);
    EXPECT_TRUE(render());
    EXPECT_EQ(view->outputImage(), nullptr);
    EXPECT_EQ(view->outputVideoFormatDescription(), nullptr);
    EXPECT_EQ(view->copyVideoFormatDescription(), view->inputVideoFormatDescriptionCopy());
}

TEST_F(FilterOutput, AFailedRenderLeavesTheSlotAsItWas)
{
    load(invert);
    view->setDelegate(taker);
    view->setCameraInputImage(frame().get());
    ASSERT_TRUE(render());
    const auto output = view->outputImageRetainedCopy();
    view->loadComposition(nullptr);
    EXPECT_EQ(view->outputImageRetainedCopy(), output) << "a load clears no slot";
    EXPECT_FALSE(render());
    EXPECT_EQ(view->outputImageRetainedCopy(), output);
    EXPECT_EQ(taker->buffers.size(), 1U);
    load(pointer);
    EXPECT_EQ(view->outputImageRetainedCopy(), output);
}

TEST_F(FilterOutput, ThePointersPlaceReachesTheCompositionBeforeEachRender)
{
    load(pointer);
    view->setDelegate(taker);
    view->setCameraInputImage(frame().get());
    ASSERT_TRUE(render());
    EXPECT_EQ(Pictures::pixelAt(*view->outputImage(), 0, 0), (Pictures::Pixel { 128, 128, 0 }));
    view->setNormalizedMousePt({ 0.1, 1.25 });
    ASSERT_TRUE(render());
    EXPECT_EQ(number(QCCompositionInputXKey), static_cast<double>(0.1F)) << "narrowed to single precision";
    EXPECT_EQ(number(QCCompositionInputYKey), 1.25) << "as it is, beyond the view too";
    EXPECT_EQ(Pictures::pixelAt(*view->outputImage(), 0, 0), (Pictures::Pixel { 26, 255, 0 }));
}

TEST_F(FilterOutput, ACompositionWithoutPlacesGetsNone)
{
    load(R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" }, { "NAME": "inputY", "TYPE": "float" } ] }*/
        void main() { gl_FragColor = vec4(inputY); })");
    view->setNormalizedMousePt({ 0.25, 0.75 });
    view->setCameraInputImage(frame().get());
    StandardErrorCapture log;
    EXPECT_TRUE(render());
    EXPECT_FALSE(view->valueForInputKey(QCCompositionInputXKey));
    EXPECT_EQ(number(QCCompositionInputYKey), 0.75);
    load(invert);
    EXPECT_TRUE(render());
    EXPECT_EQ(log.text(), "");
}

TEST_F(FilterOutput, AFrameOfTheMainThreadReachesTheCompositionAtOnce)
{
    load(invert);
    const auto input = frame();
    view->setCameraInputImage(input);
    EXPECT_EQ(view->valueForInputKey(QCCompositionInputImageKey), input);
    EXPECT_EQ(view->displayRequests, std::vector<bool> { true });
    EXPECT_EQ(view->inputAtRequest, input) << "the value comes before the request";
}

TEST_F(FilterOutput, AFrameOfAnotherThreadHopsToTheMainOne)
{
    load(invert);
    const auto input = frame();
    std::thread([&] { view->setCameraInputImage(input); }).join();
    EXPECT_EQ(view->inputImageRetainedCopy(), input);
    EXPECT_FALSE(view->valueForInputKey(QCCompositionInputImageKey));
    EXPECT_TRUE(view->displayRequests.empty());
    EXPECT_EQ(view->retainCount(), 2) << "held until then";
    DispatchMain::drain();
    EXPECT_EQ(view->valueForInputKey(QCCompositionInputImageKey), input);
    EXPECT_EQ(view->displayRequests, std::vector<bool> { true });
    EXPECT_TRUE(view->wereOnMainThread);
    EXPECT_EQ(view->retainCount(), 1);
}

TEST_F(FilterOutput, ACompositionWithoutAnImageGetsNoFrames)
{
    load("/*{ \"INPUTS\": [ { \"NAME\": \"level\", \"TYPE\": \"float\" } ] }*/ void main() { gl_FragColor = "
         "vec4(level); }");
    StandardErrorCapture log;
    view->setCameraInputImage(frame().get());
    view->setCameraInputImage(nullptr);
    EXPECT_TRUE(view->displayRequests.empty());
    EXPECT_EQ(log.text(), "") << "nor is a lacking frame reported";
    EXPECT_TRUE(view->inputVideoFormatDescription());
}

TEST_F(FilterOutput, AnEmptyFrameIsReportedWhenTheCompositionHasAnImage)
{
    load(invert);
    const auto input = frame();
    view->setCameraInputImage(input);
    StandardErrorCapture log;
    view->setCameraInputImage(nullptr);
    EXPECT_EQ(linesOf(log), whole.notNull("inputImage", "setCameraInputImage"));
    EXPECT_FALSE(view->inputImageRetainedCopy());
    EXPECT_EQ(view->valueForInputKey(QCCompositionInputImageKey), input) << "nothing was sent";
    EXPECT_EQ(view->displayRequests.size(), 1U);
}

TEST_F(FilterOutput, AFormatThatCannotBeMadeIsReportedWithBothLabels)
{
    const FailPoint::Scope fails("CMVideoFormatDescriptionCreateForImageBuffer", -12710);
    {
        StandardErrorCapture log;
        EXPECT_FALSE(view->setInputVideoFormatDescriptionWithCVPixelBuffer(frame().get()));
        const auto* const function = "setInputVideoFormatDescriptionWithCVPixelBuffer";
        EXPECT_EQ(linesOf(log),
            whole.type("newVideoFormatDesc", function) + whole.type("self.inputVideoFormatDescription", function));
    }
    StandardErrorCapture log;
    EXPECT_FALSE(view->setOutputVideoFormatDescriptionWithCVPixelBuffer(frame().get()));
    const auto* const function = "setOutputVideoFormatDescriptionWithCVPixelBuffer";
    EXPECT_EQ(linesOf(log),
        whole.type("newVideoFormatDesc", function) + whole.type("self.outputVideoFormatDescription", function));
}

TEST_F(FilterOutput, ACallThatSucceedsWithoutAFormatIsReportedToo)
{
    const FailPoint::Scope fails("CMVideoFormatDescriptionCreateForImageBuffer", 0);
    StandardErrorCapture log;
    EXPECT_FALSE(view->setInputVideoFormatDescriptionWithCVPixelBuffer(frame().get()));
    const auto* const function = "setInputVideoFormatDescriptionWithCVPixelBuffer";
    EXPECT_EQ(linesOf(log),
        whole.type("newVideoFormatDesc", function) + whole.type("self.inputVideoFormatDescription", function));
}

TEST_F(FilterOutput, WhatIsNoBufferLeavesTheFormatThatIsThere)
{
    ASSERT_TRUE(view->setOutputVideoFormatDescriptionWithCVPixelBuffer(frame(8, 4).get()));
    const auto present = view->outputVideoFormatDescriptionCopy();
    StandardErrorCapture log;
    EXPECT_TRUE(view->setOutputVideoFormatDescriptionWithCVPixelBuffer(nullptr));
    EXPECT_EQ(view->outputVideoFormatDescriptionCopy(), present);
    EXPECT_EQ(linesOf(log), whole.type("outputPixelBuffer", "setOutputVideoFormatDescriptionWithCVPixelBuffer"));
}

TEST_F(FilterOutput, CopyingTheFormatReportsNothing)
{
    StandardErrorCapture log;
    EXPECT_FALSE(view->copyVideoFormatDescription());
    view->setCameraInputImage(frame().get());
    EXPECT_EQ(view->copyVideoFormatDescription(), view->inputVideoFormatDescriptionCopy());
    EXPECT_EQ(log.text(), "");
}

TEST_F(FilterOutput, ASnapshotNeedsNeitherADelegateNorARenderBefore)
{
    load(invert);
    view->setCameraInputImage(Pictures::plain(16, 8, { 0, 0, 255 }).get());
    StandardErrorCapture log;
    const auto snapshot = view->copySnapshotCGImageRef();
    auto* const image = kindOf<CGImage>(snapshot);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width(), 16U);
    EXPECT_EQ(std::to_integer<int>(image->row(0)[0]), 0) << "blue comes first and is none";
    EXPECT_EQ(std::to_integer<int>(image->row(0)[2]), 255);
    EXPECT_EQ(view->outputImage(), nullptr);
    EXPECT_EQ(log.text(), "");
}

TEST_F(FilterOutput, ASlotGivesTheOldPictureBackWhenItGetsAnother)
{
    const auto first = frame();
    view->setOutputImage(first);
    EXPECT_EQ(first->retainCount(), 2);
    EXPECT_EQ(view->outputImage(), first);
    EXPECT_EQ(first->retainCount(), 2) << "a plain read holds nothing";
    {
        const AutoreleasePool inner;
        EXPECT_EQ(view->outputImageAutoreleasedCopy(), first);
        EXPECT_EQ(first->retainCount(), 3);
    }
    EXPECT_EQ(view->outputImageCopy(), first);
    view->setOutputImage(nullptr);
    EXPECT_EQ(first->retainCount(), 1);
    EXPECT_FALSE(view->outputImageRetainedCopy());
}

/// The capture queue puts frames in and takes pictures out while the framework renders, the pointer moves, and another
/// composition is loaded now and then.
TEST_F(FilterOutput, TheSlotsServeAllThreadsAtOnce)
{
    constexpr int turns = 200;
    load(pointer);
    view->setDelegate(taker);
    std::barrier start(3);
    std::thread capture([&] {
        start.arrive_and_wait();
        for (int i = 0; i < turns; ++i) {
            const AutoreleasePool inner;
            view->setCameraInputImage(frame(8, i % 2 ? 4 : 6).get());
            const auto output = view->outputImageRetainedCopy();
            EXPECT_EQ(output ? output->width() : 8U, 8U);
            const auto format = view->copyVideoFormatDescription();
            EXPECT_EQ(format ? format->dimensions().width : 8, 8);
        }
    });
    std::thread rendering([&] {
        start.arrive_and_wait();
        for (int i = 0; i < turns; ++i) {
            const AutoreleasePool inner;
            render();
        }
    });
    StandardErrorCapture log;
    start.arrive_and_wait();
    for (int i = 0; i < turns; ++i) {
        const AutoreleasePool inner;
        view->setNormalizedMousePt({ i / 200.0, 0.5 });
        if (i % 50 == 0)
            load(i % 100 ? pointer : invert);
        DispatchMain::drain();
    }
    capture.join();
    rendering.join();
    DispatchMain::drain();
    ASSERT_TRUE(render());
    EXPECT_EQ(view->outputImageRetainedCopy(), taker->buffers.back());
}
