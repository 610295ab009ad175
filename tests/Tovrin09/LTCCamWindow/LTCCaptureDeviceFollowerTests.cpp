#include "Tovrin09/LTCCamWindow/LTCCaptureDeviceFollower.h"

#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/AVFoundation/CaptureSource.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/AVFoundation/AttachedDevices.h"

#include <gtest/gtest.h>

namespace {

/// Counts the changes of a key that it hears of.
class KeyObserver : public NSObject {
public:
    void observeValueForKeyPath_ofObject_change_context(
        CFString* /*keyPath*/, NSObject* /*object*/, CFDictionary* /*change*/, const void* /*context*/) override
    {
        ++changes;
    }
    int changes = 0;
};

/// A graph, its recorder controller and the follower as the interface file puts them together, and a machine whose
/// devices the test attaches.
class DeviceFollower : public testing::Test, AttachedDevices {
protected:
    void TearDown() override
    {
        follower = nullptr;
        recorder = nullptr;
        writer = nullptr;
        FailPoint::disarmAll();
        DispatchMain::drain();
    }
    void launch()
    {
        writer = make<AVCaptureFilteredMovieWriterController>();
        recorder = make<AVCaptureSessionRecorderController>();
        recorder->setRecorder(writer);
        follower = make<LTCCaptureDeviceFollower>();
        follower->outletMovieWriter = writer.get();
        follower->outletRecorder = recorder.get();
        recorder->awakeFromNib();
        follower->awakeFromNib();
        writer->setupAndStartCaptureSession();
        DispatchMain::drain();
    }
    /// Each time it is attached a device is another object.
    void plugIn(const std::string& name, AVMediaType mediaType = AVMediaTypeVideo, const std::string& maker = "")
    {
        AVCaptureDevice::Properties properties;
        properties.uniqueID = "id of " + name;
        properties.localizedName = name;
        properties.manufacturer = maker;
        properties.mediaType = mediaType;
        devices[name] = make<AVCaptureDevice>(
            std::move(properties), [](CaptureSink&) { return std::unique_ptr<CaptureSource>(); });
        CaptureDeviceList::shared().deviceCame(devices[name]);
        DispatchMain::drain();
    }
    void plugInMicrophone(const std::string& name) { plugIn(name, AVMediaTypeAudio); }
    void unplug(const std::string& name)
    {
        CaptureDeviceList::shared().deviceWent(devices[name]);
        DispatchMain::drain();
    }
    static void makeDefault(const std::string& name)
    {
        CaptureDeviceList::shared().setDefaultMicrophone("id of " + name);
        DispatchMain::drain();
    }
    /// What a person does with the pop-up.
    void choose(const std::string& name)
    {
        recorder->setSelectedVideoDeviceName(CFString::create(name).get());
        DispatchMain::drain();
    }
    std::string camera() const { return std::string(textOf(recorder->selectedVideoDeviceName())); }
    std::string microphone() const
    {
        std::string result;
        for (const auto& each : writer->captureSession()->inputs()->values())
            if (auto* const device = kindOf<AVCaptureDeviceInput>(each)->device();
                device->hasMediaType(AVMediaTypeAudio))
                result += device->properties().localizedName;
        return result;
    }
    std::vector<std::string> names() const
    {
        std::vector<std::string> result;
        for (const auto& each : recorder->videoDeviceNames()->values())
            result.emplace_back(textOf(kindOf<CFString>(each)));
        return result;
    }
    using Names = std::vector<std::string>;

    AutoreleasePool pool;
    std::map<std::string, Ref<AVCaptureDevice>> devices;
    Ref<AVCaptureFilteredMovieWriterController> writer;
    Ref<AVCaptureSessionRecorderController> recorder;
    Ref<LTCCaptureDeviceFollower> follower;
};

TEST_F(DeviceFollower, WhenTheCameraInUseGoesTheDefaultPolicyChoosesAnother)
{
    plugIn("First");
    plugIn("Second");
    plugIn("FaceTime Camera");
    launch();
    EXPECT_EQ(camera(), "FaceTime Camera");
    choose("Second");
    EXPECT_EQ(camera(), "Second");
    unplug("Second");
    EXPECT_EQ(camera(), "FaceTime Camera");
    unplug("FaceTime Camera");
    EXPECT_EQ(camera(), "First");
    EXPECT_TRUE(writer->captureSession()->isRunning());
}

TEST_F(DeviceFollower, ACameraThatIsNotInUseMayComeAndGo)
{
    plugIn("First");
    launch();
    const Ref<AVCaptureDeviceInput> input(writer->videoDeviceInput());
    plugIn("Second");
    plugIn("FaceTime Camera");
    unplug("Second");
    EXPECT_EQ(writer->videoDeviceInput(), input.get());
}

TEST_F(DeviceFollower, ACameraThatComesBackIsInUseAgain)
{
    plugIn("First");
    plugIn("Second");
    launch();
    choose("Second");
    unplug("Second");
    EXPECT_EQ(camera(), "First");
    plugIn("Third");
    EXPECT_EQ(camera(), "First");
    plugIn("Second");
    EXPECT_EQ(camera(), "Second");
    EXPECT_EQ(writer->selectedVideoDevice(), devices["Second"].get());
    unplug("Second");
    unplug("First");
    EXPECT_EQ(camera(), "Third");
    plugIn("First");
    EXPECT_EQ(camera(), "First");
    plugIn("Second");
    EXPECT_EQ(camera(), "Second");
}

TEST_F(DeviceFollower, AChoiceMadeMeanwhileHolds)
{
    plugIn("First");
    plugIn("Second");
    plugIn("Third");
    launch();
    choose("Second");
    unplug("Second");
    EXPECT_EQ(camera(), "First");
    choose("Third");
    plugIn("Second");
    EXPECT_EQ(camera(), "Third");
    unplug("Third");
    EXPECT_EQ(camera(), "First");
    // The one that stands in is a choice too, once somebody has made it.
    choose("First");
    plugIn("Third");
    EXPECT_EQ(camera(), "First");
}

TEST_F(DeviceFollower, TheTestPictureStandsInWhileThereIsNoCamera)
{
    launch();
    EXPECT_EQ(camera(), "Test Picture");
    EXPECT_EQ(names(), Names { "Test Picture" });
    plugIn("First");
    EXPECT_EQ(camera(), "First");
    EXPECT_EQ(names(), Names { "First" });
    unplug("First");
    EXPECT_EQ(camera(), "Test Picture");
    EXPECT_EQ(names(), Names { "Test Picture" });
    plugIn("Second");
    EXPECT_EQ(camera(), "Second");
    plugIn("First");
    EXPECT_EQ(camera(), "First");
    EXPECT_EQ(names(), (Names { "Second", "First" }));
}

TEST_F(DeviceFollower, WhenEverythingGoesAndComesBackTheFirstChoiceReturns)
{
    plugIn("First");
    plugIn("Second");
    launch();
    choose("Second");
    plugInMicrophone("Microphone");
    EXPECT_EQ(microphone(), "Microphone");
    for (const auto* const each : { "Second", "First", "Microphone" })
        unplug(each);
    EXPECT_EQ(camera(), "Test Picture");
    EXPECT_EQ(microphone(), "Silence");
    plugIn("First");
    EXPECT_EQ(camera(), "First");
    plugIn("Second");
    EXPECT_EQ(camera(), "Second");
    plugInMicrophone("Microphone");
    EXPECT_EQ(microphone(), "Microphone");
}

TEST_F(DeviceFollower, ACameraThatLeavesAndReturnsBeforeAnybodyLooksStaysInUse)
{
    plugIn("First");
    plugIn("Second");
    launch();
    choose("Second");
    CaptureDeviceList::shared().deviceWent(devices["Second"]);
    plugIn("Second");
    EXPECT_EQ(camera(), "Second");
    EXPECT_TRUE(writer->selectedVideoDevice()->isConnected());
}

TEST_F(DeviceFollower, ACameraThatWasChosenAsItLeftIsReplaced)
{
    plugIn("First");
    plugIn("Second");
    launch();
    CaptureDeviceList::shared().deviceWent(devices["Second"]);
    writer->setSelectedVideoDevice(devices["Second"]);
    EXPECT_EQ(writer->selectedVideoDevice(), nullptr);
    DispatchMain::drain();
    EXPECT_EQ(camera(), "First");
}

TEST_F(DeviceFollower, ThePopUpHearsOfEveryArrivalAndDepartureAtOnce)
{
    plugIn("First");
    launch();
    const auto observer = make<KeyObserver>();
    recorder->addObserver_forKeyPath_options_context(observer, "videoDeviceNames", 0, nullptr);
    plugIn("Second");
    EXPECT_EQ(observer->changes, 1);
    EXPECT_EQ(names(), (Names { "First", "Second" }));
    unplug("Second");
    EXPECT_EQ(observer->changes, 2);
    EXPECT_EQ(names(), Names { "First" });
    recorder->removeObserver_forKeyPath(observer, "videoDeviceNames");
}

TEST_F(DeviceFollower, TheMicrophoneInUseIsReplacedByTheDefaultOneAndReturns)
{
    for (const auto* const each : { "Built In", "Desk", "Headset" })
        plugInMicrophone(each);
    makeDefault("Headset");
    launch();
    EXPECT_EQ(microphone(), "Headset");
    unplug("Headset");
    EXPECT_EQ(microphone(), "Built In");
    // The system takes a moment to say which one is the default now.
    makeDefault("Desk");
    EXPECT_EQ(microphone(), "Desk");
    plugInMicrophone("Headset");
    EXPECT_EQ(microphone(), "Headset");
    EXPECT_NE(writer->audioConnection(), nullptr);
    EXPECT_TRUE(writer->captureSession()->isRunning());
}

TEST_F(DeviceFollower, AnotherDefaultMicrophoneIsNotFollowedWhileTheOneInUseIsThere)
{
    plugInMicrophone("Built In");
    launch();
    EXPECT_EQ(microphone(), "Built In");
    plugInMicrophone("Desk");
    makeDefault("Desk");
    EXPECT_EQ(microphone(), "Built In");
}

TEST_F(DeviceFollower, SilenceGivesWayToTheMicrophoneThatTheSystemPrefers)
{
    launch();
    EXPECT_EQ(microphone(), "Silence");
    plugInMicrophone("Built In");
    EXPECT_EQ(microphone(), "Built In");
    plugInMicrophone("Desk");
    makeDefault("Desk");
    EXPECT_EQ(microphone(), "Desk");
    HostClock::driveByHand(true);
    HostClock::advance(3'000'000'000);
    makeDefault("Built In");
    EXPECT_EQ(microphone(), "Desk");
    HostClock::driveByHand(false);
}

TEST_F(DeviceFollower, AGraphThatStartedWithNothingGetsWhatArrives)
{
    {
        const FailPoint::Scope none("AVCaptureDevice.none");
        launch();
        EXPECT_EQ(writer->selectedVideoDevice(), nullptr);
        EXPECT_EQ(microphone(), "");
    }
    plugIn("First");
    EXPECT_EQ(camera(), "First");
    plugInMicrophone("Microphone");
    EXPECT_EQ(microphone(), "Microphone");
}

TEST_F(DeviceFollower, AfterTheGraphWasTornDownNothingIsDone)
{
    plugIn("First");
    launch();
    writer->stopAndTearDownCaptureSession();
    const Ref<AVCaptureDeviceInput> input(writer->videoDeviceInput());
    unplug("First");
    plugIn("Second");
    plugInMicrophone("Microphone");
    EXPECT_EQ(writer->videoDeviceInput(), input.get());
}

TEST_F(DeviceFollower, NothingHoldsIt)
{
    plugIn("First");
    launch();
    const WeakRef weakFollower(follower);
    follower = nullptr;
    EXPECT_FALSE(weakFollower.strongReference());
    unplug("First");
    EXPECT_EQ(camera(), "First");
}

}
