#include "tests/ZVFoundationAVCapture/AVCaptureCommon/CaptureFixture.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVRecorderController.h"

namespace {

/// Notes which keys change on what it observes, and on which thread.
class KeyObserver : public NSObject {
    NS_OBJECT(KeyObserver)
public:
    KeyObserver() = default;
    void observe(NSObject* target, std::string_view key, unsigned options = 0)
    {
        target->addObserver_forKeyPath_options_context(this, key, options, nullptr);
    }
    void observeValueForKeyPath_ofObject_change_context(
        CFString* keyPath, NSObject*, CFDictionary* change, const void*) override
    {
        const bool isPrior = change && change->objectForKey(NSKeyValueChangeNotificationIsPriorKey);
        keys.push_back((isPrior ? "will " : "") + keyPath->string());
        onMain = onMain && DispatchMain::isMainThread();
    }
    std::vector<std::string> keys;
    bool onMain = true;
};

NS_IMPLEMENTATION(KeyObserver, NSObject) { }

}

class RecorderController : public CaptureFixture {
protected:
    void SetUp() override { AVCameraSessionController_NoCameraDeviceNameConstructor(); }
    void TearDown() override
    {
        if (recorder->session())
            recorder->stopAndTearDownCaptureSession();
        CaptureFixture::TearDown();
    }
    const Ref<AVCaptureFilteredMovieWriterController> recorder = make<AVCaptureFilteredMovieWriterController>();
    const Ref<AVRecorderController> controller = make<AVRecorderController>();
};

TEST_F(RecorderController, WithoutACameraTheNamesAreEmptyAndTheSelectionIsTheNoCameraName)
{
    const FailPoint::Scope none("AVCaptureDevice.none");
    EXPECT_EQ(controller->videoDeviceNames()->count(), 0U);
    controller->setRecorder(recorder);
    EXPECT_EQ(controller->videoDeviceNames()->count(), 0U);
    EXPECT_EQ(textOf(controller->selectedVideoDeviceName()), "No Camera");
    EXPECT_FALSE(controller->hasRecordingDevice());
    EXPECT_EQ(controller->audioDevices(), nullptr);
    EXPECT_EQ(controller->presets(), nullptr);
}

TEST_F(RecorderController, ACameraIsChosenByItsNameTheFirstOfTwoAlike)
{
    const auto first = attach("Twin");
    attach("Twin");
    const auto other = attach("Other");
    controller->setDelegate(recorder);
    EXPECT_EQ(controller->recorder(), recorder);
    controller->setSelectedVideoDeviceName(CFSTR("Other"));
    EXPECT_EQ(recorder->selectedVideoDevice(), other);
    controller->setSelectedVideoDeviceName(CFSTR("Twin"));
    EXPECT_EQ(recorder->selectedVideoDevice(), first);
    EXPECT_EQ(textOf(controller->selectedVideoDeviceName()), "Twin");
    controller->setSelectedVideoDeviceName(CFSTR("No Camera"));
    EXPECT_EQ(recorder->selectedVideoDevice(), first);
    controller->setSelectedVideoDeviceName(CFSTR("Nobody"));
    EXPECT_EQ(recorder->selectedVideoDevice(), first);
    controller->setSelectedVideoDeviceName(nullptr);
    EXPECT_EQ(recorder->selectedVideoDevice(), first);
}

TEST_F(RecorderController, ADeviceSwitchGivesTwoUpdatesOnTheMainQueue)
{
    attach("First");
    const auto second = attach("Second");
    controller->setRecorder(recorder);
    recorder->setSelectedVideoDevice(second);
    const auto observer = make<KeyObserver>();
    for (const char* key : { "videoDevices", "selectedVideoDeviceFormats", "audioDevices", "selectedAudioDevice" })
        observer->observe(controller, key);
    controller->awakeFromNib();
    EXPECT_EQ(observer->keys.size(), 6U);
    observer->keys.clear();
    const auto before = controller->pendingBindingUpdates();
    recorder->setSelectedVideoDevice(kindOf<AVCaptureDevice>(recorder->availableVideoInputDevices()->objectAtIndex(0)));
    EXPECT_EQ(controller->pendingBindingUpdates(), before + 2);
    EXPECT_TRUE(observer->keys.empty());
    DispatchMain::drain();
    const std::vector<std::string> once { "videoDevices", "selectedVideoDeviceFormats", "audioDevices",
        "selectedAudioDevice", "audioDevices", "selectedAudioDevice" };
    std::vector<std::string> twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    EXPECT_EQ(observer->keys, twice);
    EXPECT_TRUE(observer->onMain);
}

TEST_F(RecorderController, AnotherObjectsChangesAreIgnored)
{
    controller->setRecorder(recorder);
    controller->observeValueForKeyPath_ofObject_change_context(
        CFSTR("selectedVideoDevice"), controller, nullptr, nullptr);
    EXPECT_EQ(controller->pendingBindingUpdates(), 0);
    controller->observeValueForKeyPath_ofObject_change_context(
        CFSTR("selectedAudioDevice"), recorder, nullptr, nullptr);
    EXPECT_EQ(controller->pendingBindingUpdates(), 1);
}

TEST_F(RecorderController, RecordingIsNotItsJob)
{
    try {
        controller->setRecording(true);
        FAIL();
    } catch (const NSException& exception) {
        EXPECT_EQ(exception.name(), "Unimplemented methodunimplemented");
        EXPECT_EQ(exception.reason(), "setRecording: is not implemented");
    }
}

TEST_F(RecorderController, TheInterfaceFileFindsItByName)
{
    const auto made = NSClassFromString(CFSTR("AVRecorderController"))->createInstance();
    EXPECT_NE(kindOf<AVCaptureSessionRecorderController>(made), nullptr);
    made->setValue_forKey(CFSTR("none such"), "selectedVideoDeviceName");
    EXPECT_TRUE(
        CFEqual(made->valueForKey("selectedVideoDeviceName").get(), AVCameraSessionController_NoCameraDeviceName));
}

TEST_F(RecorderController, AnUpdateTellsOfAllKeysThatTheyWillChangeAndThenThatTheyDid)
{
    controller->setRecorder(recorder);
    // Two more depend on the others and are told with them.
    const std::vector<std::string> video { "videoDevices", "selectedVideoDevice", "selectedVideoDeviceFormats",
        "selectedVideoDeviceSupportedFrameRateRanges", "selectedVideoDeviceProvidesAudio", "audioDevices",
        "selectedAudioDevice", "selectedAudioDeviceFormats" };
    const std::vector<std::string> audio(video.end() - 3, video.end());
    const auto observer = make<KeyObserver>();
    for (const auto& key : video)
        observer->observe(controller, key, NSKeyValueObservingOptionPrior);
    const auto dependent = make<KeyObserver>();
    dependent->observe(controller, "videoDeviceNames", NSKeyValueObservingOptionPrior);
    dependent->observe(controller, "selectedVideoDeviceName", NSKeyValueObservingOptionPrior);
    const auto expectRoundsOf = [&](const std::vector<std::string>& keys) {
        std::vector<std::string> expected;
        for (const auto& key : keys)
            expected.push_back("will " + key);
        expected.insert(expected.end(), keys.begin(), keys.end());
        EXPECT_EQ(observer->keys, expected);
        observer->keys.clear();
    };
    controller->selectedAudioCaptureDeviceBindingChanged();
    expectRoundsOf(audio);
    EXPECT_TRUE(dependent->keys.empty());
    controller->selectedVideoCaptureDeviceBindingChanged();
    expectRoundsOf(video);
    for (const char* key :
        { "will videoDeviceNames", "videoDeviceNames", "will selectedVideoDeviceName", "selectedVideoDeviceName" })
        EXPECT_NE(std::ranges::find(dependent->keys, key), dependent->keys.end()) << key;
    controller->capturingSessionUIChangedConnectedDevices(nullptr);
    expectRoundsOf({ "videoDevices", "audioDevices" });
}

TEST_F(RecorderController, ARecorderThatCannotBeObservedIsReportedEachTime)
{
    controller->setRecorder(recorder);
    StandardErrorCapture log;
    {
        const FailPoint::Scope cannot("NSObject.respondsToSelector");
        controller->beginObservingVideoCaptureState();
        controller->endObservingVideoCaptureState();
    }
    const auto text = log.text();
    EXPECT_EQ(reports(text, "SRC>>[target respondsToSelector:@selector(addObserver:forKeyPath:options:context:)]"), 1);
    EXPECT_EQ(reports(text, "SRC>>[target respondsToSelector:@selector(removeObserver:forKeyPath:)]"), 1);
    recorder->setVideoDeviceInput(nullptr);
    EXPECT_EQ(controller->pendingBindingUpdates(), 0);
}

TEST_F(RecorderController, ObservingEndsWhenItIsToldTo)
{
    controller->setRecorder(recorder);
    controller->beginObservingVideoCaptureState();
    recorder->setVideoDeviceInput(nullptr);
    EXPECT_EQ(controller->pendingBindingUpdates(), 1);
    controller->endObservingVideoCaptureState();
    recorder->setVideoDeviceInput(nullptr);
    EXPECT_EQ(controller->pendingBindingUpdates(), 1);
    controller->endObservingVideoCaptureState();
}

TEST_F(RecorderController, ItsDelegateIsItsRecorder)
{
    const auto camera = attach("Camera");
    const auto other = make<AVCaptureFilteredMovieWriterController>();
    controller->setRecorder(recorder);
    controller->setDelegate(other);
    EXPECT_EQ(controller->recorder(), other);
    controller->setSelectedVideoDeviceName(CFSTR("Camera"));
    EXPECT_EQ(other->selectedVideoDevice(), camera);
    EXPECT_EQ(recorder->selectedVideoDevice(), nullptr);
    other->stopAndTearDownCaptureSession();
}

TEST_F(RecorderController, NamesFollowTheKeysThatTheyAreMadeOf)
{
    EXPECT_TRUE(
        AVRecorderController::keyPathsForValuesAffectingVideoDeviceNames()->containsObject(CFSTR("videoDevices")));
    EXPECT_EQ(AVRecorderController::keyPathsForValuesAffectingVideoDeviceNames()->count(), 1U);
    const auto name = AVRecorderController::keyPathsForValuesAffectingSelectedVideoDeviceName();
    EXPECT_EQ(name->count(), 2U);
    EXPECT_TRUE(name->containsObject(CFSTR("videoDevices")) && name->containsObject(CFSTR("selectedVideoDevice")));
    const auto device = AVCaptureFilteredMovieWriterController::keyPathsForValuesAffectingSelectedVideoDevice();
    EXPECT_TRUE(device->count() == 1 && device->containsObject(CFSTR("videoDeviceInput")));
    const auto sound = AVCameraSessionController::keyPathsForValuesAffectingSelectedVideoDeviceProvidesAudio();
    EXPECT_TRUE(sound->count() == 1 && sound->containsObject(CFSTR("selectedVideoDevice")));
}
