#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/Foundation/NSNotification.h"
#include "tests/AVFoundation/AttachedDevices.h"
#include "tests/AVFoundation/CaptureRecorder.h"
#include "tests/AVFoundation/ScriptedDevice.h"
#include "tests/AVFoundation/Sound/SoundLevels.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <sstream>
#include <thread>

using testing::Each;
using testing::Gt;

namespace {

constexpr double step = 0.1; ///< seconds that pass at once

/// The lines that were logged about \p name, without what the log puts before them.
std::vector<std::string> linesAbout(const std::string& log, const std::string& name)
{
    std::vector<std::string> result;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);)
        if (const auto begin = line.find('"' + name + '"'); begin != std::string::npos)
            result.push_back(line.substr(begin));
    return result;
}

}

/// A session whose devices and clock are the test's.
class CaptureBranchTest : public testing::Test, AttachedDevices {
protected:
    void SetUp() override
    {
        HostClock::driveByHand(true);
        session = make<AVCaptureSession>();
        videoOutput->setVideoSettings(
            CFDictionary::create({
                                     { kCVPixelBufferWidthKey, CFNumber::create(640.0).get() },
                                     { kCVPixelBufferHeightKey, CFNumber::create(360.0).get() },
                                 })
                .get());
        videoOutput->setSampleBufferDelegate_queue(video, queue);
        audioOutput->setSampleBufferDelegate_queue(audio, queue);
        session->addOutput(videoOutput);
        session->addOutput(audioOutput);
        errors = NSNotificationCenter::defaultCenter()->addObserverForName_object_queue_usingBlock(
            AVCaptureSessionRuntimeErrorNotification, session, nullptr, [this](NSNotification* notification) {
                auto* const error = kindOf<NSError>(
                    kindOf<CFDictionary>(notification->userInfo())->objectForKey(AVCaptureSessionErrorKey));
                heard.emplace_back(textOf(error->localizedDescription()));
            });
    }
    void TearDown() override
    {
        session->stopRunning();
        session->waitUntilSettled();
        dispatch_sync(queue, [] {});
        DispatchMain::drain();
        NSNotificationCenter::defaultCenter()->removeObserver(errors.get());
        HostClock::driveByHand(false);
        DispatchMain::drain();
    }
    void use(const ScriptedDevice& scripted)
    {
        CaptureDeviceList::shared().deviceCame(Ref(scripted.device()));
        session->addInput(AVCaptureDeviceInput::initWithDevice_error(scripted.device(), nullptr).get());
    }
    void replace(const ScriptedDevice& old, const ScriptedDevice& other)
    {
        session->beginConfiguration();
        for (const auto& each : session->inputs()->values())
            if (auto* const input = kindOf<AVCaptureDeviceInput>(each); input->device() == old.device())
                session->removeInput(input);
        session->addInput(AVCaptureDeviceInput::initWithDevice_error(other.device(), nullptr).get());
        session->commitConfiguration();
    }
    /// Lets time go by, in which the devices that are open deliver ten times a second.
    void pass(double seconds, std::initializer_list<ScriptedDevice*> delivering = {})
    {
        for (int i = 0; i < static_cast<int>(seconds / step + 0.5); ++i) {
            HostClock::advance(static_cast<std::int64_t>(step * 1e9));
            session->waitUntilSettled();
            for (auto* const each : delivering)
                each->deliver();
            session->waitUntilSettled();
            // The next picture would be late for a delegate that is still busy with this one.
            dispatch_sync(queue, [] {});
            DispatchMain::drain();
        }
    }
    /// Whether the test picture arrives, which counts its frames, and a scripted camera does not.
    bool standInIsShown()
    {
        video->clear();
        pass(step);
        if (!video->waitFor(1))
            return false;
        return video->notes().back().counter.has_value();
    }
    bool cameraIsShown(ScriptedDevice& camera)
    {
        dispatch_sync(queue, [] {});
        video->clear();
        pass(3 * step, { &camera });
        dispatch_sync(queue, [] {});
        const auto notes = video->notes();
        return notes.size() == 3
            && std::ranges::none_of(notes, [](const auto& each) { return each.counter.has_value(); });
    }

    AutoreleasePool pool;
    const Ref<dispatch_queue> queue = dispatch_queue_create("CaptureBranchTest");
    Ref<AVCaptureSession> session;
    const Ref<AVCaptureVideoDataOutput> videoOutput = make<AVCaptureVideoDataOutput>();
    const Ref<AVCaptureAudioDataOutput> audioOutput = make<AVCaptureAudioDataOutput>();
    const Ref<CaptureRecorder> video = make<CaptureRecorder>();
    const Ref<CaptureRecorder> audio = make<CaptureRecorder>();
    Ref<NSObject> errors;
    std::vector<std::string> heard; ///< the session's errors
};

TEST_F(CaptureBranchTest, ACameraThatAnotherProgramHoldsIsToldOnceAndTriedUntilItOpens)
{
    ScriptedDevice camera("Desk Camera");
    camera.setOpeningError(NSError::errorWithMessage(
        AVFoundationErrorDomain, AVErrorDeviceInUseByAnotherApplication, "Device '/dev/video0' is busy."));
    use(camera);
    StandardErrorCapture log;
    session->startRunning();
    session->waitUntilSettled();
    EXPECT_TRUE(standInIsShown());
    pass(29);
    EXPECT_EQ(heard, std::vector<std::string> { "Device '/dev/video0' is busy." });
    // At once, then after half a second, one, two, four and eight, and eight again.
    EXPECT_EQ(camera.openings(), 7);
    EXPECT_TRUE(standInIsShown());
    camera.setOpeningError(nullptr);
    pass(8, { &camera });
    EXPECT_TRUE(cameraIsShown(camera));
    EXPECT_EQ(linesAbout(log.text(), "Desk Camera"),
        (std::vector<std::string> {
            "\"Desk Camera\" cannot be used: Device '/dev/video0' is busy. Close the program that uses it, or choose "
            "another one. It is tried again until it works.",
            "\"Desk Camera\" works again." }));
    EXPECT_EQ(heard.size(), 1U);
}

TEST_F(CaptureBranchTest, TheRestWorksWhileOneDeviceDoesNot)
{
    ScriptedDevice camera("Desk Camera");
    ScriptedDevice microphone("Desk Microphone", AVMediaTypeAudio);
    camera.setHangs(true);
    use(camera);
    use(microphone);
    session->startRunning();
    ASSERT_TRUE(DispatchMain::runUntil([&] { return microphone.isOpen(); }, 10));
    for (int i = 0; i < 5; ++i) {
        HostClock::advance(static_cast<std::int64_t>(step * 1e9));
        microphone.deliver();
    }
    EXPECT_TRUE(audio->waitFor(1));
    EXPECT_THAT(averageLevels(*audioOutput->connectionWithMediaType(AVMediaTypeAudio)), Each(Gt(-10)));
    camera.setHangs(false);
}

TEST_F(CaptureBranchTest, ACameraThatDoesNotComeBackFromOpeningIsInterruptedAndHoldsNobodyUp)
{
    ScriptedDevice stuck("Stuck Camera");
    ScriptedDevice other("Other Camera");
    CaptureDeviceList::shared().deviceCame(Ref(other.device()));
    stuck.setHangs(true);
    use(stuck);
    StandardErrorCapture log;
    session->startRunning();
    ASSERT_TRUE(DispatchMain::runUntil([&] { return stuck.openings() == 1; }, 10));
    for (int i = 0; i < 75; ++i) {
        HostClock::advance(static_cast<std::int64_t>(step * 1e9));
        std::this_thread::yield();
    }
    ASSERT_TRUE(DispatchMain::runUntil([&] { return !heard.empty(); }, 10));
    EXPECT_EQ(heard, std::vector<std::string> { "It gives no picture." });
    EXPECT_EQ(stuck.interruptions(), 1);
    replace(stuck, other);
    session->waitUntilSettled();
    EXPECT_TRUE(cameraIsShown(other));
    EXPECT_FALSE(stuck.isOpen());
    stuck.setHangs(false);
}

TEST_F(CaptureBranchTest, ASilentMomentIsNoTroubleAndAStandstillIs)
{
    ScriptedDevice camera("Desk Camera");
    use(camera);
    StandardErrorCapture log;
    session->startRunning();
    session->waitUntilSettled();
    EXPECT_TRUE(cameraIsShown(camera));
    pass(3.5);
    EXPECT_EQ(camera.openings(), 1);
    camera.deliver();
    pass(3.5);
    EXPECT_TRUE(heard.empty());
    pass(0.8);
    EXPECT_EQ(heard, std::vector<std::string> { "It gives no picture." });
    EXPECT_TRUE(standInIsShown());
    pass(1, { &camera });
    EXPECT_EQ(camera.openings(), 2);
    EXPECT_TRUE(cameraIsShown(camera));
}

TEST_F(CaptureBranchTest, AShortFailureIsMendedWithoutALine)
{
    ScriptedDevice camera("Desk Camera");
    use(camera);
    StandardErrorCapture log;
    session->startRunning();
    session->waitUntilSettled();
    EXPECT_TRUE(cameraIsShown(camera));
    camera.fail("The stream has ended.");
    session->waitUntilSettled();
    pass(0.4);
    EXPECT_EQ(camera.openings(), 1);
    pass(0.2, { &camera });
    EXPECT_EQ(camera.openings(), 2);
    EXPECT_TRUE(cameraIsShown(camera));
    pass(2, { &camera });
    EXPECT_EQ(heard, std::vector<std::string> { "The stream has ended." });
    EXPECT_EQ(linesAbout(log.text(), "Desk Camera"), std::vector<std::string> {});
}

TEST_F(CaptureBranchTest, PausesGrowWhileItKeepsFailingAndBeginSmallAgainOnceItIsTrusted)
{
    ScriptedDevice camera("Desk Camera");
    use(camera);
    StandardErrorCapture log;
    session->startRunning();
    session->waitUntilSettled();
    for (const double pause : { 0.5, 1.0, 2.0, 4.0, 8.0, 8.0 }) {
        pass(0.5, { &camera });
        const int openings = camera.openings();
        camera.fail("It has failed.");
        session->waitUntilSettled();
        pass(pause - step, {});
        EXPECT_EQ(camera.openings(), openings);
        pass(2 * step, { &camera });
        EXPECT_EQ(camera.openings(), openings + 1);
    }
    pass(10, { &camera });
    camera.fail("It has failed.");
    session->waitUntilSettled();
    const int openings = camera.openings();
    pass(0.6, {});
    EXPECT_EQ(camera.openings(), openings + 1);
}

TEST_F(CaptureBranchTest, ACameraThatHasLeftIsNotSpokenOf)
{
    ScriptedDevice camera("Desk Camera");
    use(camera);
    StandardErrorCapture log;
    session->startRunning();
    session->waitUntilSettled();
    EXPECT_TRUE(cameraIsShown(camera));
    camera.setOpeningError(NSError::errorWithMessage(AVFoundationErrorDomain, AVErrorUnknown, "No such device."));
    camera.fail("It was pulled out.");
    CaptureDeviceList::shared().deviceWent(camera.device());
    session->waitUntilSettled();
    pass(3);
    EXPECT_TRUE(standInIsShown());
    EXPECT_EQ(linesAbout(log.text(), "Desk Camera"), std::vector<std::string> {});
}

TEST_F(CaptureBranchTest, SilenceStandsInForAMicrophone)
{
    ScriptedDevice microphone("Desk Microphone", AVMediaTypeAudio);
    use(microphone);
    StandardErrorCapture log;
    session->startRunning();
    session->waitUntilSettled();
    pass(0.5, { &microphone });
    ASSERT_TRUE(audio->waitFor(1));
    auto* const connection = audioOutput->connectionWithMediaType(AVMediaTypeAudio);
    EXPECT_THAT(averageLevels(*connection), Each(Gt(-10)));
    microphone.setOpeningError(NSError::errorWithMessage(
        AVFoundationErrorDomain, AVErrorApplicationIsNotAuthorizedToUseDevice, "Permission was denied."));
    microphone.fail("It has failed.");
    session->waitUntilSettled();
    audio->clear();
    pass(1);
    EXPECT_TRUE(audio->waitFor(10));
    EXPECT_THAT(averageLevels(*connection), Each(-160));
    pass(1);
    microphone.setOpeningError(nullptr);
    pass(4, { &microphone });
    EXPECT_THAT(averageLevels(*connection), Each(Gt(-10)));
    EXPECT_EQ(linesAbout(log.text(), "Desk Microphone"),
        (std::vector<std::string> {
            "\"Desk Microphone\" cannot be used: Permission was denied. Let your account use microphones; on most "
            "systems that is the group \"audio\". It is tried again until it works.",
            "\"Desk Microphone\" works again." }));
}

TEST_F(CaptureBranchTest, OfManyQuickChangesOnlyTheLastOpensItsCamera)
{
    ScriptedDevice first("First Camera");
    ScriptedDevice second("Second Camera");
    ScriptedDevice third("Third Camera");
    for (auto* const each : { &second, &third })
        CaptureDeviceList::shared().deviceCame(Ref(each->device()));
    use(first);
    session->startRunning();
    session->waitUntilSettled();
    second.setHangs(true);
    replace(first, second);
    for (int i = 0; i < 20; ++i) {
        replace(second, third);
        replace(third, second);
    }
    replace(second, third);
    second.setHangs(false);
    session->waitUntilSettled();
    EXPECT_TRUE(third.isOpen());
    EXPECT_FALSE(first.isOpen());
    EXPECT_FALSE(second.isOpen());
    EXPECT_TRUE(cameraIsShown(third));
}
