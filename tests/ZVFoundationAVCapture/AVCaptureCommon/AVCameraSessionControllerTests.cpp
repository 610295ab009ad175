#include "tests/ZVFoundationAVCapture/AVCaptureCommon/CaptureFixture.h"

namespace {

class SessionObserver : public NSObject, public AVCapturingSessionObserverProtocol {
    NS_OBJECT(SessionObserver)
public:
    SessionObserver() = default;
    void capturingSessionConfigurationChanged(AVCameraSessionController* controller) override
    {
        ++changes;
        last = controller;
        wasMain = DispatchMain::isMainThread();
    }
    int changes = 0;
    bool wasMain = false;
    Ref<AVCameraSessionController> last;
};

NS_IMPLEMENTATION(SessionObserver, NSObject)
{
    type.message("capturingSessionConfigurationChanged:", &SessionObserver::capturingSessionConfigurationChanged);
}

class ErrorKeeper : public AVCameraSessionController {
    NS_OBJECT(ErrorKeeper)
public:
    ErrorKeeper() = default;
    void delegatedCapturingError(NSError* error) override { errors.emplace_back(error); }
    std::vector<Ref<NSError>> errors;
};

NS_IMPLEMENTATION(ErrorKeeper, AVCameraSessionController) { }

class CountingSessionController : public AVCameraSessionController {
    NS_OBJECT(CountingSessionController)
public:
    CountingSessionController() = default;
    void beginSessionConfiguration(AVCaptureSession* changed) override
    {
        ++begins;
        AVCameraSessionController::beginSessionConfiguration(changed);
    }
    void commitSessionConfiguration() override
    {
        ++commits;
        AVCameraSessionController::commitSessionConfiguration();
    }
    int begins = 0;
    int commits = 0;
};

NS_IMPLEMENTATION(CountingSessionController, AVCameraSessionController) { }

}

class AVCameraSessionControllerTest : public CaptureFixture {
protected:
    void TearDown() override
    {
        controller->destructRecordingSession();
        CaptureFixture::TearDown();
    }
    void observe() { controller->setOutletSessionObserver(observer); }
    int changes()
    {
        DispatchMain::drain();
        return observer->changes;
    }
    const Ref<CountingSessionController> controller = make<CountingSessionController>();
    const Ref<SessionObserver> observer = make<SessionObserver>();
};

TEST_F(AVCameraSessionControllerTest, WithoutACameraThereIsNoDefaultAndALineSaysSo)
{
    const FailPoint::Scope none("AVCaptureDevice.none");
    StandardErrorCapture log;
    EXPECT_EQ(controller->videoDeviceFaceTimeOrDeviceInDefaultPosition(), nullptr);
    EXPECT_EQ(controller->videoDeviceInDefaultPosition(), nullptr);
    EXPECT_EQ(controller->audioDeviceInFirstPosition(), nullptr);
    const auto text = log.text();
    EXPECT_EQ(reports(text, "SRC>>videoCaptureDevices.count>0"), 2);
    EXPECT_EQ(reports(text, "SRC>>audioDevices.count>0"), 1);
}

TEST_F(AVCameraSessionControllerTest, ListsThatFailAreNoLists)
{
    const FailPoint::Scope fails("AVCaptureDevice.devicesWithMediaType");
    StandardErrorCapture log;
    EXPECT_EQ(controller->videoDeviceFaceTimeOrDeviceInDefaultPosition(), nullptr);
    EXPECT_EQ(controller->videoDeviceInDefaultPosition(), nullptr);
    EXPECT_EQ(controller->videoDeviceWithPosition(AVCaptureDevicePositionFront), nullptr);
    EXPECT_EQ(controller->audioDeviceInFirstPosition(), nullptr);
    EXPECT_EQ(controller->availableVideoInputDevices()->count(), 0U);
    EXPECT_EQ(AVCameraSessionController::availableAudioInputDevicesOfClass()->count(), 0U);
    EXPECT_EQ(log.text(), "");
}

TEST_F(AVCameraSessionControllerTest, TheLastOfTheFavouredMakerIsTheDefaultUnlessOneHasAFavouredName)
{
    const auto first = attach("Other", "Someone");
    EXPECT_EQ(controller->videoDeviceFaceTimeOrDeviceInDefaultPosition(), first);
    attach("Camera A", "Apple Inc.");
    const auto last = attach("Camera B", "Apple Inc.");
    EXPECT_EQ(controller->videoDeviceFaceTimeOrDeviceInDefaultPosition(), last);
    EXPECT_EQ(controller->videoDeviceInDefaultPosition(), first);
    const auto named = attach("iSight", "Someone");
    EXPECT_EQ(controller->videoDeviceFaceTimeOrDeviceInDefaultPosition(), named);
    attach("FaceTime HD", "Someone");
    EXPECT_EQ(controller->videoDeviceFaceTimeOrDeviceInDefaultPosition(), named);
}

TEST_F(AVCameraSessionControllerTest, NamesAndMakersAreComparedInTheirCase)
{
    const auto first = attach("facetime camera", "apple");
    attach("My FaceTime", "An Apple");
    EXPECT_EQ(controller->videoDeviceFaceTimeOrDeviceInDefaultPosition(), first);
}

TEST_F(AVCameraSessionControllerTest, ADeviceWithoutANameIsPassedOverWhateverItsMaker)
{
    const auto first = attach("Other", "Someone");
    attach("", "Apple Inc.");
    EXPECT_EQ(controller->videoDeviceFaceTimeOrDeviceInDefaultPosition(), first);
}

TEST_F(AVCameraSessionControllerTest, ADeviceIsFoundByItsPosition)
{
    attach("Other");
    const auto front = attach("Front", "", AVMediaTypeVideo, AVCaptureDevicePositionFront);
    EXPECT_EQ(controller->videoDeviceWithPosition(AVCaptureDevicePositionFront), front);
    EXPECT_EQ(controller->videoDeviceWithPosition(AVCaptureDevicePositionBack), nullptr);
}

TEST_F(AVCameraSessionControllerTest, AudioDevicesIsNullWhileTheClassListsThem)
{
    const auto microphone = attach("Microphone", "", AVMediaTypeAudio);
    EXPECT_EQ(controller->audioDevices(), nullptr);
    EXPECT_TRUE(AVCameraSessionController::availableAudioInputDevicesOfClass()->containsObject(microphone));
    EXPECT_EQ(controller->audioDeviceInFirstPosition(), microphone);
    attach("Camera");
    EXPECT_EQ(controller->videoDevices()->count(), 1U);
}

TEST_F(AVCameraSessionControllerTest, ANullBlockStillBracketsCommitsTwiceAndReports)
{
    observe();
    controller->sessionConfigurationWithBlock(nullptr);
    EXPECT_EQ(controller->begins, 1);
    EXPECT_EQ(controller->commits, 2);
    EXPECT_EQ(changes(), 1);
    EXPECT_TRUE(observer->wasMain);
    EXPECT_EQ(observer->last.get(), controller.get());
}

TEST_F(AVCameraSessionControllerTest, AnExceptionOfTheHostIsLoggedAndTheChangeReported)
{
    observe();
    StandardErrorCapture log;
    controller->sessionConfigurationWithBlock([](AVCaptureSession*) { throw NSException("Name", "the reason"); });
    EXPECT_NE(log.text().find("sessionConfigurationWithBlock NSException:the reason\n"), std::string::npos);
    EXPECT_EQ(controller->begins, 1);
    EXPECT_EQ(controller->commits, 1);
    EXPECT_EQ(changes(), 1);
}

TEST_F(AVCameraSessionControllerTest, AnotherExceptionPassesOnAfterTheCommitAndTheChangeIsNotReported)
{
    observe();
    EXPECT_THROW(controller->sessionConfigurationWithBlock([](AVCaptureSession*) { throw std::runtime_error("mine"); }),
        std::runtime_error);
    EXPECT_EQ(controller->commits, 1);
    EXPECT_EQ(changes(), 0);
}

TEST_F(AVCameraSessionControllerTest, AfterDestructionNothingIsConfigured)
{
    observe();
    EXPECT_NE(controller->observers(), nullptr);
    controller->destructRecordingSession();
    bool ran = false;
    controller->sessionConfigurationWithBlock([&ran](AVCaptureSession*) { ran = true; });
    EXPECT_FALSE(ran);
    EXPECT_EQ(controller->begins, 0);
    EXPECT_EQ(changes(), 0);
    EXPECT_EQ(controller->session(), nullptr);
    EXPECT_EQ(controller->observers(), nullptr);
    EXPECT_FALSE(controller->addObserverForNotificationName_andBlock(CFSTR("any"), [](NSNotification*) {}));
    EXPECT_FALSE(controller->sessionAddOutput(make<AVCaptureVideoDataOutput>().get()));
}

TEST_F(AVCameraSessionControllerTest, AnObserverThatHasGoneIsNotTold)
{
    {
        const AutoreleasePool inner;
        const auto passing = make<SessionObserver>();
        controller->setOutletSessionObserver(passing);
        controller->delegatedSessionConfigurationChanged();
    }
    DispatchMain::drain();
    EXPECT_EQ(controller->outletSessionObserver(), nullptr);
}

TEST_F(AVCameraSessionControllerTest, OnlyNotificationsAboutTheSessionReachTheController)
{
    observe();
    auto* const center = NSNotificationCenter::defaultCenter();
    const auto device = attach("Camera");
    center->postNotificationName_object(AVCaptureDeviceWasConnectedNotification, device);
    EXPECT_EQ(changes(), 0);
    center->postNotificationName_object(AVCaptureDeviceWasConnectedNotification, controller->session());
    center->postNotificationName_object(AVCaptureDeviceWasDisconnectedNotification, controller->session());
    EXPECT_EQ(changes(), 2);
}

TEST_F(AVCameraSessionControllerTest, ARuntimeErrorArrivesWithItsError)
{
    const auto keeper = make<ErrorKeeper>();
    const auto error = NSError::errorWithMessage(CFSTR("domain"), 7, "gone");
    auto* const center = NSNotificationCenter::defaultCenter();
    center->postNotificationName_object(AVCaptureSessionRuntimeErrorNotification, keeper->session());
    EXPECT_TRUE(keeper->errors.empty());
    const auto userInfo = CFDictionary::create({ { AVCaptureSessionErrorKey, error } });
    center->postNotificationName_object_userInfo(AVCaptureSessionRuntimeErrorNotification, keeper->session(), userInfo);
    ASSERT_EQ(keeper->errors.size(), 1U);
    EXPECT_EQ(keeper->errors[0], error);
    keeper->destructRecordingSession();
}

TEST_F(AVCameraSessionControllerTest, TheDefaultSettingsAreThoseOfSubclasses)
{
    auto* const settings = AVCameraSessionController::defaultPixelBufferSettings();
    EXPECT_EQ(settings->count(), 4U);
    EXPECT_EQ(settings->get<CFNumber>(kCVPixelBufferPixelFormatTypeKey)->integerValue(), 0x32767579);
    EXPECT_NE(settings->get<CFArray>(kCVPixelBufferIOSurfacePropertiesKey), nullptr);
    EXPECT_EQ(AVCameraSessionController::defaultCompressedVideoSettings()->count(), 0U);
    EXPECT_TRUE(CFEqual(AVCameraSessionController::defaultSessionPreset(), AVCaptureSessionPreset1280x720));
}
