#include "Tovrin09/Tovrin09/AppDelegateObjC.h"

#include "tests/WithRequirements/StandardErrorCapture.h"
#include "Tovrin09/LTCCamWindow/LTCCamWindowController.h"
#include "Tovrin09/Tovrin09/CMIOExtensionController.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCameraSessionController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

Ref<CVPixelBuffer> frame()
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, 8, 4, kCVPixelFormatType_32BGRA, nullptr, &buffer), 0);
    return buffer;
}

}

TEST(AppDelegateObjC, StandsAndRunsWithItsOutletsEmpty)
{
    const auto delegate = make<AppDelegateObjC>();
    StandardErrorCapture capture;
    delegate->applicationWillFinishLaunching(nullptr);
    delegate->applicationDidFinishLaunching(nullptr);
    delegate->camWindowController_didOutputPixelBuffer(nullptr, frame().get());
    delegate->actionFakeWebCamPanel(nullptr);
    delegate->applicationWillTerminate(nullptr);
    EXPECT_EQ(capture.text(), "");
    EXPECT_TRUE(delegate->applicationWillFinishLaunchingDone());
    EXPECT_TRUE(delegate->applicationDidFinishLaunchingDone());
    EXPECT_FALSE(delegate->window());
    EXPECT_FALSE(delegate->windowOutput());
}

TEST(AppDelegateObjC, ObjectsOfOtherClassesAreSkipped)
{
    const auto delegate = make<AppDelegateObjC>();
    delegate->outletWindowController = make<NSObject>();
    delegate->outletExtensionController = make<NSObject>();
    StandardErrorCapture capture;
    delegate->applicationWillFinishLaunching(nullptr);
    delegate->applicationDidFinishLaunching(nullptr);
    delegate->applicationWillTerminate(nullptr);
    EXPECT_EQ(capture.text(), "");
}

TEST(AppDelegateObjC, ASecondDeliveryOfALaunchNotificationHasNoEffect)
{
    const auto delegate = make<AppDelegateObjC>();
    delegate->applicationWillFinishLaunching(nullptr);
    const auto controller = make<LTCCamWindowController>();
    const auto window = make<NSWindow>();
    controller->setWindow(window);
    delegate->outletWindowController = controller;
    delegate->applicationWillFinishLaunching(nullptr);
    EXPECT_FALSE(delegate->window());
}

TEST(AppDelegateObjC, AFrameThatIsNoBufferIsReported)
{
    const auto delegate = make<AppDelegateObjC>();
    StandardErrorCapture capture;
    delegate->camWindowController_didOutputPixelBuffer(nullptr, nullptr);
    EXPECT_THAT(capture.text(), HasSubstr("inputPixelBuffer"));
}

TEST(AppDelegateObjC, FramesReachTheOutputView)
{
    const auto delegate = make<AppDelegateObjC>();
    const auto extension = make<CMIOExtensionController>();
    const auto output = make<CMIOOutputViewController>();
    extension->outletViewController = output;
    delegate->outletExtensionController = extension;
    const auto buffer = frame();
    delegate->camWindowController_didOutputPixelBuffer(nullptr, buffer);
    EXPECT_EQ(output->outputPixelBufferRetainedCopy(), buffer);
}

TEST(AppDelegateObjC, WhatMustBeSetBeforeTheProgramStartsIsSet)
{
    EXPECT_EQ(AVCaptureFilteredMovieWriter_CapturePixelBufferSizeOrZero, (NSSize { 1280, 720 }));
    EXPECT_EQ(AVCaptureFilteredMovieWriter_CaptureSessionPresetOrNil, AVCaptureSessionPreset1280x720);
    EXPECT_EQ(textOf(AVCameraSessionController_NoCameraDeviceName), "No Camera");
}

TEST(AppDelegateObjC, RestorableStateIsNotSupported)
{
    EXPECT_FALSE(make<AppDelegateObjC>()->applicationSupportsSecureRestorableState(nullptr));
    EXPECT_TRUE(make<AppDelegateObjC>()->respondsToSelector("applicationWillTerminate:"));
}
