#include "Tovrin09/Tovrin09/CMIOOutputViewController.h"

#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSError.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

#include <gtest/gtest.h>

namespace {

Ref<CVPixelBuffer> frame()
{
    Ref<CVPixelBuffer> buffer;
    CVPixelBufferCreate(kCFAllocatorDefault, 64, 36, kCVPixelFormatType_32BGRA, nullptr, &buffer);
    return buffer;
}

class OutputView : public testing::Test {
protected:
    OutputView() { DispatchMain::adoptCurrentThread(); }
    std::vector<std::string> rows()
    {
        std::vector<std::string> texts;
        for (long row = 0; row < controller->numberOfRowsInTableView(nullptr); ++row)
            texts.push_back(controller->tableView_objectValueForTableColumn_row(nullptr, nullptr, row)->description());
        return texts;
    }
    void set(const char* value, const char* key)
    {
        controller->setStatusValue_forKey(
            CFString::create(value).get(), CFString::create(std::string("CMIOOutputViewController_") + key).get());
    }
    static bool saysNoFrame(const std::string& text)
    {
        return text.find("outputPixelBufferRetainedCopy==NULL") != std::string::npos;
    }

    const AutoreleasePool pool;
    const Ref<CMIOOutputViewController> controller = make<CMIOOutputViewController>();
    const Ref<ZVCMIODeviceConnectionController> connection = make<ZVCMIODeviceConnectionController>();
    const Ref<ZVCMIOClientDeviceController> camera = make<ZVCMIOClientDeviceController>();
    StandardErrorCapture log;
};

}

TEST_F(OutputView, StartsWithOneEmptyRow)
{
    EXPECT_EQ(rows(), std::vector<std::string> { "" });
    EXPECT_EQ(log.text(), "");
}

TEST_F(OutputView, ListsItsRowsByKeyInWhateverOrderTheyCame)
{
    set("status", "StatusKey");
    set("error", "ErrorKey");
    set("name", "DeviceNameKey");
    set("uuid", "DeviceUUIDKey");
    EXPECT_EQ(rows(), (std::vector<std::string> { "name", "uuid", "error", "status" }));
}

TEST_F(OutputView, WhatIsNoTextIsIgnored)
{
    controller->setStatusValue_forKey(nullptr, CFSTR("CMIOOutputViewController_ErrorKey"));
    controller->setStatusValue_forKey(kCFNull, CFSTR("CMIOOutputViewController_ErrorKey"));
    controller->setStatusValue_forKey(kCFBooleanTrue, CFSTR("CMIOOutputViewController_ErrorKey"));
    controller->setStatusValue_forKey(CFSTR("value"), nullptr);
    EXPECT_EQ(rows(), std::vector<std::string> { "" });
}

TEST_F(OutputView, ARowOutsideTheTableIsReportedAndEmpty)
{
    const auto reported = [&](long row) {
        StandardErrorCapture capture;
        EXPECT_EQ(controller->tableView_objectValueForTableColumn_row(nullptr, nullptr, row)->description(), "");
        return capture.text();
    };
    for (const long row : { 1L, -1L })
        EXPECT_NE(reported(row).find("SRC>>tableViewRow<allKeysSorted.count in "), std::string::npos) << row;
    EXPECT_EQ(reported(0), "");
    controller->statusDictionary()->set(CFSTR("CMIOOutputViewController_StatusKey"), nullptr);
    EXPECT_NE(reported(0).find("SRC>>allKeysSorted.count>0 in "), std::string::npos);
}

TEST_F(OutputView, KeepsTheLatestFrameAndGivesItAgainAndAgain)
{
    const auto first = frame();
    const auto second = frame();
    controller->setOutputPixelBuffer(first);
    controller->setOutputPixelBuffer(second);
    EXPECT_EQ(first->retainCount(), 1);
    EXPECT_EQ(controller->copyFramePixelBufferWithPresentationTime(CMTime {}), second);
    EXPECT_EQ(controller->copyFramePixelBufferWithPresentationTime(CMTime {}), second);
    EXPECT_EQ(log.text(), "");
}

TEST_F(OutputView, WithoutAFrameGivesTheStandbyPictureAndSaysSo)
{
    controller->applicationWillFinishLaunching(nullptr);
    ASSERT_NE(controller->renderer(), nullptr);
    const auto standby = [&] {
        const auto given
            = controller->copyFramePixelBufferWithPresentationTime(CMClockGetTime(CMClockGetHostTimeClock()));
        return given && given->width() == 1280 && given->height() == 720;
    };
    EXPECT_TRUE(standby());
    EXPECT_TRUE(saysNoFrame(log.text()));
    const auto real = frame();
    controller->setOutputPixelBuffer(real);
    EXPECT_EQ(controller->copyFramePixelBufferWithPresentationTime(CMTime {}), real);
    controller->setOutputPixelBuffer(nullptr);
    EXPECT_TRUE(standby());
}

TEST_F(OutputView, LaunchSetsTheCameraUpInItsOrder)
{
    controller->outletCameraDeviceController = camera;
    controller->outletDeviceConnectionController = connection;
    controller->applicationWillFinishLaunching(nullptr);
    EXPECT_EQ(camera->cameraFrameRate(), 30U);
    EXPECT_EQ(connection->CMIOCameraDeviceUUID(), CMIOOutputViewController_CMIOExtension_DeviceUUID);
    EXPECT_EQ(connection->cameraDevice(), camera);
    EXPECT_EQ(connection->delegate(), controller);
    // The UID comes before the device and so before a rate: reported once, and no timers yet.
    EXPECT_NE(log.text().find("SRC>>self.cameraRenderFrameRate>0"), std::string::npos);
    EXPECT_EQ(connection->timerRender(), nullptr);
    controller->applicationDidFinishLaunching(nullptr);
    EXPECT_NE(connection->timerRender(), nullptr);
    EXPECT_EQ(rows(), (std::vector<std::string> { "C7F6C893-F380-4B0C-B11A-CE0553A5F2DE", "" }));
    connection->stopTimer();
}

TEST_F(OutputView, WithoutACameraNothingIsSetUpButTheUIDIsShown)
{
    controller->outletDeviceConnectionController = connection;
    controller->applicationWillFinishLaunching(nullptr);
    EXPECT_EQ(connection->CMIOCameraDeviceUUID(), nullptr);
    connection->setCameraDeviceUUID(CFSTR("U-I-D"));
    controller->applicationDidFinishLaunching(nullptr);
    EXPECT_EQ(connection->timerRender(), nullptr);
    EXPECT_EQ(rows(), (std::vector<std::string> { "U-I-D", "" }));
}

TEST_F(OutputView, ATickWithoutADeviceLeavesTheTableAsItWas)
{
    controller->outletCameraDeviceController = camera;
    controller->systemExtension_requestStatus(nullptr, CFSTR("Extension 0"));
    controller->deviceConnectionTimerConnect(connection);
    EXPECT_EQ(rows(), std::vector<std::string> { "Extension 0" });
    EXPECT_EQ(log.text(), "");
}

TEST_F(OutputView, AnErrorStaysOnShowAndOneWithoutWordsChangesNothing)
{
    const auto error = NSError::errorWithMessage(CFSTR("domain"), 1, "It was refused.");
    controller->systemExtension_requestError(nullptr, error);
    controller->systemExtension_requestStatus(nullptr, CFSTR("Extension 0"));
    controller->systemExtension_requestError(nullptr, nullptr);
    EXPECT_EQ(rows(), (std::vector<std::string> { "It was refused.", "Extension 0" }));
}
