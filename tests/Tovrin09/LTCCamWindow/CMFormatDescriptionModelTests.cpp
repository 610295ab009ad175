#include "Tovrin09/LTCCamWindow/CMFormatDescriptionModel.h"

#include "Platform/dispatch/dispatch.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class Observer : public NSObject {
public:
    void observeValueForKeyPath_ofObject_change_context(
        CFString* keyPath, NSObject*, CFDictionary*, const void*) override
    {
        EXPECT_EQ(textOf(keyPath), "tooltipSummary");
        EXPECT_TRUE(DispatchMain::isMainThread());
        ++notifications;
    }
    int notifications = 0;
};

Ref<CMFormatDescription> video(OSType subtype = kCVPixelFormatType_32BGRA, std::int32_t width = 1280)
{
    return make<CMFormatDescription>(subtype, CMVideoDimensions { width, 720 });
}

class CMFormatDescriptionModelTest : public testing::Test {
protected:
    void SetUp() override { model->addObserver_forKeyPath_options_context(observer, "tooltipSummary", 0, nullptr); }
    void TearDown() override
    {
        DispatchMain::drain();
        model->removeObserver_forKeyPath(observer, "tooltipSummary");
    }
    int notifications()
    {
        DispatchMain::drain();
        return observer->notifications;
    }
    Ref<CMFormatDescriptionModel> model = make<CMFormatDescriptionModel>();
    Ref<Observer> observer = make<Observer>();
};

}

TEST_F(CMFormatDescriptionModelTest, WithoutAFormatTheSummaryIsEmpty)
{
    EXPECT_EQ(model->tooltipSummary()->string(), "");
}

TEST_F(CMFormatDescriptionModelTest, ChangesAreAnnouncedLaterOnTheMainQueue)
{
    model->setVideoFormatDescription(video().get());
    EXPECT_EQ(observer->notifications, 0);
    EXPECT_EQ(notifications(), 1);
}

TEST_F(CMFormatDescriptionModelTest, EqualFormatsAreNoChangeAndTheFirstIsKept)
{
    const auto first = video();
    model->setVideoFormatDescription(first);
    model->setVideoFormatDescription(first);
    model->setVideoFormatDescription(video().get());
    EXPECT_EQ(notifications(), 1);
    EXPECT_EQ(model->videoFormat(), first);
    model->setVideoFormatDescription(video(kCVPixelFormatType_32BGRA, 640).get());
    EXPECT_EQ(notifications(), 2);
}

TEST_F(CMFormatDescriptionModelTest, NothingIsAlwaysAChange)
{
    model->setVideoFormatDescription(nullptr);
    model->setVideoFormatDescription(nullptr);
    EXPECT_EQ(notifications(), 2);
}

TEST_F(CMFormatDescriptionModelTest, WhatIsNoFormatIsReportedAndChangesNothing)
{
    const auto first = video();
    model->setVideoFormatDescription(first);
    StandardErrorCapture capture;
    model->setVideoFormatDescription(CFSTR("text"));
    EXPECT_THAT(capture.text(), HasSubstr("videoFormatDescription"));
    EXPECT_EQ(model->videoFormat(), first);
    EXPECT_EQ(notifications(), 1);
}

TEST_F(CMFormatDescriptionModelTest, TheFirstLineOfTheSummaryIsTheSubtype)
{
    const auto format = video();
    model->setVideoFormatDescription(format);
    EXPECT_EQ(model->tooltipSummary()->string(), "('BGRA')\n" + format->description() + "\n");
    EXPECT_THAT(model->videoFormatDescriptionString(video(0x01020304).get())->string(), StartsWith("(1020304)\n"));
    EXPECT_THAT(model->videoFormatDescriptionString(video(0).get())->string(), StartsWith("('noErr')\n"));
}

TEST_F(CMFormatDescriptionModelTest, ATextAboutNoFormatIsEmptyAndReported)
{
    StandardErrorCapture capture;
    EXPECT_EQ(model->videoFormatDescriptionString(nullptr)->string(), "");
    EXPECT_THAT(capture.text(), HasSubstr("videoFormatDesc"));
}
