#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/AVFoundation/CaptureSource.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/NSNotification.h"
#include "tests/AVFoundation/AttachedDevices.h"

#include <gtest/gtest.h>

class AVCaptureDeviceTest : public testing::Test, AttachedDevices {
protected:
    void TearDown() override
    {
        FailPoint::disarmAll();
        DispatchMain::drain();
    }
    static Ref<AVCaptureDevice> makeDevice(const std::string& name, AVMediaType mediaType)
    {
        AVCaptureDevice::Properties properties;
        properties.uniqueID = CaptureDeviceList::shared().unusedIdentifier(name);
        properties.localizedName = name;
        properties.mediaType = mediaType;
        return make<AVCaptureDevice>(
            std::move(properties), [](CaptureSink&) { return std::unique_ptr<CaptureSource>(); });
    }
    static std::vector<std::string> names(AVMediaType mediaType)
    {
        std::vector<std::string> result;
        for (const auto& device : AVCaptureDevice::devicesWithMediaType(mediaType)->values())
            result.emplace_back(textOf(kindOf<AVCaptureDevice>(device)->localizedName()));
        return result;
    }
    using Names = std::vector<std::string>;
    AutoreleasePool pool;
};

TEST_F(AVCaptureDeviceTest, StandInsAreOfferedWhileThereIsNothingOfAKind)
{
    EXPECT_EQ(names(AVMediaTypeVideo), Names { "Test Picture" });
    EXPECT_EQ(names(AVMediaTypeAudio), Names { "Silence" });
    EXPECT_EQ(names(AVMediaTypeMuxed), Names {});
    const auto camera = makeDevice("Camera", AVMediaTypeVideo);
    CaptureDeviceList::shared().deviceCame(camera);
    EXPECT_EQ(names(AVMediaTypeVideo), Names { "Camera" });
    EXPECT_EQ(names(AVMediaTypeAudio), Names { "Silence" });
    CaptureDeviceList::shared().deviceWent(camera);
    EXPECT_EQ(names(AVMediaTypeVideo), Names { "Test Picture" });
}

TEST_F(AVCaptureDeviceTest, ArrivalAndDepartureAreToldOnTheMainQueueTheStandInsToo)
{
    Names heard;
    const auto tell = [&heard](const char* what) {
        return [&heard, what](NSNotification* notification) {
            EXPECT_TRUE(DispatchMain::isMainThread());
            heard.push_back(
                what + std::string(textOf(kindOf<AVCaptureDevice>(notification->object())->localizedName())));
        };
    };
    auto* const center = NSNotificationCenter::defaultCenter();
    const auto came = center->addObserverForName_object_queue_usingBlock(
        AVCaptureDeviceWasConnectedNotification, nullptr, nullptr, tell("+"));
    const auto went = center->addObserverForName_object_queue_usingBlock(
        AVCaptureDeviceWasDisconnectedNotification, nullptr, nullptr, tell("-"));
    EXPECT_EQ(names(AVMediaTypeVideo), Names { "Test Picture" });
    const auto first = makeDevice("First", AVMediaTypeVideo);
    const auto second = makeDevice("Second", AVMediaTypeVideo);
    auto& list = CaptureDeviceList::shared();
    list.deviceCame(first);
    EXPECT_TRUE(heard.empty());
    list.deviceCame(second);
    list.deviceWent(first);
    list.deviceWent(first);
    list.deviceWent(second);
    DispatchMain::drain();
    EXPECT_EQ(heard, (Names { "+First", "-Test Picture", "+Second", "-First", "+Test Picture", "-Second" }));
    center->removeObserver(came.get());
    center->removeObserver(went.get());
}

TEST_F(AVCaptureDeviceTest, TheDefaultMicrophoneIsFirstAndAnotherOneIsTold)
{
    auto& list = CaptureDeviceList::shared();
    for (const auto* const name : { "First", "Second", "Third" })
        list.deviceCame(makeDevice(name, AVMediaTypeAudio));
    int heard = 0;
    const auto token = NSNotificationCenter::defaultCenter()->addObserverForName_object_queue_usingBlock(
        AVCaptureDeviceDefaultMicrophoneChangedNotification, nullptr, nullptr, [&heard](NSNotification*) { ++heard; });
    EXPECT_EQ(names(AVMediaTypeAudio), (Names { "First", "Second", "Third" }));
    list.setDefaultMicrophone("Third");
    EXPECT_EQ(names(AVMediaTypeAudio), (Names { "Third", "First", "Second" }));
    list.setDefaultMicrophone("Third");
    list.setDefaultMicrophone("Elsewhere");
    EXPECT_EQ(names(AVMediaTypeAudio), (Names { "First", "Second", "Third" }));
    EXPECT_EQ(heard, 0);
    DispatchMain::drain();
    EXPECT_EQ(heard, 2);
    NSNotificationCenter::defaultCenter()->removeObserver(token.get());
}

TEST_F(AVCaptureDeviceTest, CamerasWithoutColoursAreLast)
{
    AVCaptureDevice::Properties properties;
    properties.uniqueID = properties.localizedName = "Infrared";
    properties.mediaType = AVMediaTypeVideo;
    properties.isColourless = true;
    auto& list = CaptureDeviceList::shared();
    list.deviceCame(
        make<AVCaptureDevice>(std::move(properties), [](CaptureSink&) { return std::unique_ptr<CaptureSource>(); }));
    EXPECT_EQ(names(AVMediaTypeVideo), Names { "Infrared" });
    list.deviceCame(makeDevice("Camera", AVMediaTypeVideo));
    list.deviceCame(makeDevice("Another", AVMediaTypeVideo));
    EXPECT_EQ(names(AVMediaTypeVideo), (Names { "Camera", "Another", "Infrared" }));
}

TEST_F(AVCaptureDeviceTest, IdentifiersAreUniqueAndFindTheDevice)
{
    auto& list = CaptureDeviceList::shared();
    const auto first = makeDevice("Twin", AVMediaTypeVideo);
    list.deviceCame(first);
    const auto second = makeDevice("Twin", AVMediaTypeVideo);
    list.deviceCame(second);
    EXPECT_EQ(textOf(first->uniqueID()), "Twin");
    EXPECT_EQ(textOf(second->uniqueID()), "Twin#2");
    EXPECT_EQ(AVCaptureDevice::deviceWithUniqueID(CFSTR("Twin#2")), second.get());
    EXPECT_EQ(AVCaptureDevice::deviceWithUniqueID(CFSTR("Nobody")), nullptr);
}

TEST_F(AVCaptureDeviceTest, ADeviceThatHasGoneCannotBeAnInput)
{
    const auto camera = makeDevice("Camera", AVMediaTypeVideo);
    Ref<NSError> error;
    EXPECT_FALSE(AVCaptureDeviceInput::initWithDevice_error(camera, &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), AVErrorDeviceNotConnected);
    EXPECT_EQ(textOf(error->localizedDescription()), "\"Camera\" is not attached any more.");
    error = nullptr;
    CaptureDeviceList::shared().deviceCame(camera);
    EXPECT_TRUE(AVCaptureDeviceInput::initWithDevice_error(camera, &error));
    EXPECT_FALSE(error);
    EXPECT_EQ(AVCaptureDeviceInput::deviceInputWithDevice_error(nullptr, &error), nullptr);
    EXPECT_TRUE(error);
    const FailPoint::Scope fails("AVCaptureDeviceInput.initWithDevice", -5);
    EXPECT_FALSE(AVCaptureDeviceInput::initWithDevice_error(camera, &error));
    EXPECT_EQ(error->code(), -5);
}

TEST_F(AVCaptureDeviceTest, EveryDeviceCanBeTakenAway)
{
    CaptureDeviceList::shared().deviceCame(makeDevice("Camera", AVMediaTypeVideo));
    {
        const FailPoint::Scope none("AVCaptureDevice.none");
        EXPECT_EQ(names(AVMediaTypeVideo), Names {});
        EXPECT_EQ(names(AVMediaTypeAudio), Names {});
        const FailPoint::Scope fails("AVCaptureDevice.devicesWithMediaType");
        EXPECT_EQ(AVCaptureDevice::devicesWithMediaType(AVMediaTypeVideo), nullptr);
    }
    EXPECT_EQ(names(AVMediaTypeVideo), Names { "Camera" });
}

TEST_F(AVCaptureDeviceTest, WhatTheHostDoesNotKnowIsNull)
{
    const auto nameless = makeDevice("", AVMediaTypeVideo);
    EXPECT_EQ(nameless->localizedName(), nullptr);
    EXPECT_EQ(nameless->manufacturer(), nullptr);
    EXPECT_EQ(nameless->activeFormat(), nullptr);
    EXPECT_EQ(nameless->position(), AVCaptureDevicePositionUnspecified);
    EXPECT_TRUE(nameless->hasMediaType(AVMediaTypeVideo));
    EXPECT_FALSE(nameless->hasMediaType(AVMediaTypeAudio));
    EXPECT_FALSE(nameless->hasMediaType(nullptr));
}
