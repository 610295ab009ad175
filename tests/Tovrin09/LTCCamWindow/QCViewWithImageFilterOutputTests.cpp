#include "Tovrin09/LTCCamWindow/QCViewWithImageFilterOutput.h"

#include "Platform/dispatch/dispatch.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

Ref<CVPixelBuffer> frame(std::size_t width = 8, std::size_t height = 4)
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, width, height, kCVPixelFormatType_32BGRA, nullptr, &buffer), 0);
    return buffer;
}

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
