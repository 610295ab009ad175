#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/Foundation/NSNotification.h"
#include "tests/AVFoundation/AttachedDevices.h"
#include "tests/AVFoundation/CaptureRecorder.h"
#include "tests/AVFoundation/Sound/SoundLevels.h"

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>

using testing::DoubleNear;
using testing::Each;
using testing::ElementsAre;

namespace {

/// Keeps the notifications that it is sent.
class Listener : public NSObject {
    NS_OBJECT(Listener)
public:
    Listener() = default;
    void heard(NSNotification* notification)
    {
        names.push_back(notification->name()->string());
        last = notification;
    }
    std::vector<std::string> names;
    Ref<NSNotification> last;
};

NS_IMPLEMENTATION(Listener, NSObject)
{
    type.message("heard:", &Listener::heard);
}

}

class AVCaptureSessionTest : public testing::Test, AttachedDevices {
protected:
    void SetUp() override
    {
        session = make<AVCaptureSession>();
        videoOutput = make<AVCaptureVideoDataOutput>();
        audioOutput = make<AVCaptureAudioDataOutput>();
        videoOutput->setVideoSettings(
            CFDictionary::create({
                                     { kCVPixelBufferWidthKey, CFNumber::create(640.0).get() },
                                     { kCVPixelBufferHeightKey, CFNumber::create(360.0).get() },
                                 })
                .get());
        videoOutput->setSampleBufferDelegate_queue(video, videoQueue);
        audioOutput->setSampleBufferDelegate_queue(audio, audioQueue);
    }
    void TearDown() override
    {
        session->stopRunning();
        session->waitUntilSettled();
        dispatch_sync(videoQueue, [] {});
        dispatch_sync(audioQueue, [] {});
        FailPoint::disarmAll();
    }
    static Ref<AVCaptureDeviceInput> firstInput(AVMediaType mediaType)
    {
        const AutoreleasePool pool;
        auto* const devices = AVCaptureDevice::devicesWithMediaType(mediaType);
        return AVCaptureDeviceInput::initWithDevice_error(kindOf<AVCaptureDevice>(devices->objectAtIndex(0)), nullptr);
    }
    void addEverything()
    {
        session->addInput(firstInput(AVMediaTypeAudio).get());
        session->addOutput(audioOutput);
        session->addInput(firstInput(AVMediaTypeVideo).get());
        session->addOutput(videoOutput);
    }

    AutoreleasePool pool;
    Ref<AVCaptureSession> session;
    Ref<AVCaptureVideoDataOutput> videoOutput;
    Ref<AVCaptureAudioDataOutput> audioOutput;
    const Ref<CaptureRecorder> video = make<CaptureRecorder>();
    const Ref<CaptureRecorder> audio = make<CaptureRecorder>();
    const Ref<dispatch_queue> videoQueue = dispatch_queue_create("video queue");
    const Ref<dispatch_queue> audioQueue = dispatch_queue_create("audio queue");
};

TEST_F(AVCaptureSessionTest, TheTestPictureArrivesInTheSizeOfTheSettingsOnTheDelegatesQueue)
{
    addEverything();
    session->startRunning();
    ASSERT_TRUE(video->waitFor(3));
    const auto notes = video->notes();
    const auto* const picture = CMSampleBufferGetImageBuffer(notes[0].sample);
    EXPECT_EQ(picture->width(), 640U);
    EXPECT_EQ(picture->height(), 360U);
    EXPECT_EQ(picture->pixelFormat(), kCVPixelFormatType_32BGRA);
    EXPECT_NE(picture->surface(), nullptr);
    EXPECT_EQ(video->lastQueueLabel(), "video queue");
    EXPECT_EQ(video->lastConnection().get(), videoOutput->connectionWithMediaType(AVMediaTypeVideo));
}

TEST_F(AVCaptureSessionTest, FramesCarryRisingNumbersAndHostClockStampsThirtyASecond)
{
    addEverything();
    const double before = static_cast<double>(HostClock::nanoseconds()) / 1e9;
    session->startRunning();
    ASSERT_TRUE(video->waitFor(31));
    const auto notes = video->notes();
    ASSERT_TRUE(notes[0].counter && notes[30].counter);
    EXPECT_NEAR((notes[30].time - notes[0].time) * 30, *notes[30].counter - *notes[0].counter, 2);
    EXPECT_GE(notes[0].time, before);
    for (std::size_t i = 1; i <= 30; ++i)
        EXPECT_GT(notes[i].counter, notes[i - 1].counter);
}

TEST_F(AVCaptureSessionTest, SoundIsContiguousStereoOnTheClockOfThePictures)
{
    addEverything();
    session->startRunning();
    ASSERT_TRUE(audio->waitFor(25));
    ASSERT_TRUE(video->waitFor(1));
    const auto notes = audio->notes();
    const auto* const format = CMAudioFormatDescriptionGetStreamBasicDescription(notes[0].sample->formatDescription());
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->mSampleRate, 48000);
    EXPECT_EQ(format->mChannelsPerFrame, 2U);
    EXPECT_EQ(format->mBitsPerChannel, 16U);
    EXPECT_EQ(format->mBytesPerFrame, 4U);
    for (std::size_t i = 1; i < notes.size(); ++i)
        EXPECT_NEAR(notes[i].time, notes[i - 1].time + notes[i - 1].duration, 0.001);
    const double firstPicture = video->notes()[0].time;
    EXPECT_GT(firstPicture, notes.front().time - 0.040);
    EXPECT_LT(firstPicture, notes.back().time + notes.back().duration + 0.040);
    const auto connection = audio->lastConnection();
    EXPECT_THAT(averageLevels(*connection), Each(-160));
    EXPECT_EQ(connection->latestSamples(100).size(), 100U);
}

TEST_F(AVCaptureSessionTest, WhileTheCallbackIsBusyOneFrameWaitsAndTheOthersAreThrownAway)
{
    std::mutex gate;
    std::unique_lock closed(gate);
    std::atomic<bool> isEntered { false };
    video->inCallback = [&] {
        isEntered = true;
        const std::lock_guard passed(gate);
    };
    addEverything();
    session->startRunning();
    const auto waitUntil = [](const auto& holds) {
        const auto started = std::chrono::steady_clock::now();
        while (!holds() && std::chrono::steady_clock::now() - started < std::chrono::seconds(10))
            std::this_thread::yield();
        return holds();
    };
    ASSERT_TRUE(waitUntil([&] { return isEntered.load(); }));
    const auto received = videoOutput->receivedFrameCount();
    const auto late = videoOutput->lateFrameCount();
    ASSERT_TRUE(waitUntil([&] { return videoOutput->receivedFrameCount() >= received + 8; }));
    EXPECT_GE(videoOutput->lateFrameCount() - late, 6U);
    EXPECT_TRUE(video->notes().empty());
    closed.unlock();
    ASSERT_TRUE(video->waitFor(8));
    const auto notes = video->notes();
    std::uint32_t widestGap = 0;
    for (std::size_t i = 1; i < notes.size(); ++i)
        widestGap = std::max(widestGap, *notes[i].counter - *notes[i - 1].counter);
    EXPECT_GE(widestGap, 6U);
}

TEST_F(AVCaptureSessionTest, StopPostsItsNotificationBeforeItReturnsAndThenDeliversNothing)
{
    addEverything();
    const auto listener = make<Listener>();
    auto* const center = NSNotificationCenter::defaultCenter();
    center->addObserver_selector_name_object(listener, "heard:", AVCaptureSessionDidStopRunningNotification, session);
    session->startRunning();
    ASSERT_TRUE(video->waitFor(1));
    EXPECT_TRUE(listener->names.empty());
    session->stopRunning();
    EXPECT_EQ(listener->names, std::vector<std::string> { "AVCaptureSessionDidStopRunningNotification" });
    EXPECT_FALSE(session->isRunning());
    session->stopRunning();
    EXPECT_EQ(listener->names.size(), 1U);

    session->waitUntilSettled();
    dispatch_sync(videoQueue, [] {});
    const auto received = videoOutput->receivedFrameCount();
    session->startRunning();
    video->clear();
    EXPECT_TRUE(video->waitFor(2));
    EXPECT_GT(videoOutput->receivedFrameCount(), received);
}

TEST_F(AVCaptureSessionTest, ConnectionsExistOnlyBetweenAnInputAndAnOutputOfOneKind)
{
    session->addOutput(videoOutput);
    EXPECT_EQ(videoOutput->connectionWithMediaType(AVMediaTypeVideo), nullptr);
    const auto input = firstInput(AVMediaTypeVideo);
    session->addInput(input);
    const Ref<AVCaptureConnection> first(videoOutput->connectionWithMediaType(AVMediaTypeVideo));
    ASSERT_TRUE(first);
    EXPECT_EQ(videoOutput->connectionWithMediaType(AVMediaTypeAudio), nullptr);
    EXPECT_FALSE(session->canAddInput(firstInput(AVMediaTypeVideo).get()));
    EXPECT_THROW(session->addInput(input), NSException);
    session->removeInput(input);
    EXPECT_EQ(videoOutput->connectionWithMediaType(AVMediaTypeVideo), nullptr);
    EXPECT_FALSE(first->isActive());
    session->addInput(firstInput(AVMediaTypeVideo).get());
    EXPECT_NE(videoOutput->connectionWithMediaType(AVMediaTypeVideo), first.get());
}

TEST_F(AVCaptureSessionTest, AChangeOfTheCameraInsideABracketGoesOnWithTheNewConnection)
{
    addEverything();
    session->startRunning();
    ASSERT_TRUE(video->waitFor(2));
    const auto old = video->lastConnection();
    session->beginConfiguration();
    session->removeInput(old->input());
    session->addInput(firstInput(AVMediaTypeVideo).get());
    session->commitConfiguration();
    session->commitConfiguration();
    session->waitUntilSettled();
    dispatch_sync(videoQueue, [] {});
    video->clear();
    ASSERT_TRUE(video->waitFor(2));
    EXPECT_NE(video->lastConnection(), old);
    EXPECT_EQ(video->lastConnection().get(), videoOutput->connectionWithMediaType(AVMediaTypeVideo));
}

TEST_F(AVCaptureSessionTest, ADelegateThatHasGoneGetsNothing)
{
    addEverything();
    auto passing = make<CaptureRecorder>();
    videoOutput->setSampleBufferDelegate_queue(passing, videoQueue);
    session->startRunning();
    ASSERT_TRUE(passing->waitFor(1));
    dispatch_sync(videoQueue, [&] { passing = nullptr; });
    const auto received = videoOutput->receivedFrameCount();
    const auto started = std::chrono::steady_clock::now();
    while (videoOutput->receivedFrameCount() < received + 4
        && std::chrono::steady_clock::now() - started < std::chrono::seconds(10))
        std::this_thread::yield();
    EXPECT_EQ(videoOutput->lateFrameCount(), 0U);
    EXPECT_EQ(videoOutput->sampleBufferDelegate(), nullptr);
}

TEST_F(AVCaptureSessionTest, RefusalsComeFromTheFailPointsAndForUnknownPresets)
{
    const auto input = firstInput(AVMediaTypeVideo);
    EXPECT_TRUE(session->canAddInput(input));
    EXPECT_TRUE(session->canAddOutput(videoOutput));
    EXPECT_TRUE(session->canSetSessionPreset(AVCaptureSessionPreset1280x720));
    EXPECT_FALSE(session->canSetSessionPreset(CFSTR("AVCaptureSessionPreset3x3")));
    EXPECT_FALSE(session->canSetSessionPreset(nullptr));
    EXPECT_FALSE(session->canAddInput(nullptr));
    EXPECT_FALSE(session->canAddOutput(nullptr));
    const FailPoint::Scope noInput("AVCaptureSession.canAddInput");
    const FailPoint::Scope noOutput("AVCaptureSession.canAddOutput");
    const FailPoint::Scope noPreset("AVCaptureSession.canSetSessionPreset");
    EXPECT_FALSE(session->canAddInput(input));
    EXPECT_FALSE(session->canAddOutput(videoOutput));
    EXPECT_FALSE(session->canSetSessionPreset(AVCaptureSessionPreset1280x720));
    session->setSessionPreset(AVCaptureSessionPreset640x480);
    EXPECT_TRUE(CFEqual(session->sessionPreset(), AVCaptureSessionPreset640x480));
}

TEST_F(AVCaptureSessionTest, TheSoundConnectionOffersLevelAndSamplesWithoutADelegate)
{
    audioOutput->setSampleBufferDelegate_queue(nullptr, nullptr);
    addEverything();
    auto* const connection = audioOutput->connectionWithMediaType(AVMediaTypeAudio);
    ASSERT_NE(connection, nullptr);
    EXPECT_THAT(averageLevels(*connection), ElementsAre(-160, -160));
    EXPECT_TRUE(connection->latestSamples(100).empty());
    EXPECT_EQ(videoOutput->connectionWithMediaType(AVMediaTypeVideo)->audioChannels()->count(), 0U);
    const std::vector<std::int16_t> loud(1920, 16384);
    HostClock::driveByHand(true);
    session->startRunning();
    for (int run = 0; run < 20; ++run) {
        const auto taken = HostClock::nanoseconds();
        HostClock::advance(20'000'000);
        audioOutput->deliver(UINT64_MAX, std::as_bytes(std::span(loud)), taken);
    }
    HostClock::driveByHand(false);
    EXPECT_THAT(averageLevels(*connection), ElementsAre(DoubleNear(-6.02, 0.01), DoubleNear(-6.02, 0.01)));
    EXPECT_THAT(peakLevels(*connection), ElementsAre(DoubleNear(-6.02, 0.01), DoubleNear(-6.02, 0.01)));
    EXPECT_EQ(connection->latestSamples(3), (std::vector<float> { 0.5F, 0.5F, 0.5F }));
    EXPECT_TRUE(audio->notes().empty());
}

TEST_F(AVCaptureSessionTest, ASessionThatGoesWhileItRunsLeavesNothingBehind)
{
    addEverything();
    session->startRunning();
    ASSERT_TRUE(video->waitFor(1));
    const WeakRef weakOutput(videoOutput);
    const auto replacement = make<AVCaptureSession>();
    session = replacement;
    videoOutput = nullptr;
    const auto started = std::chrono::steady_clock::now();
    while (weakOutput.strongReference() && std::chrono::steady_clock::now() - started < std::chrono::seconds(10)) {
        dispatch_sync(videoQueue, [] {});
        std::this_thread::yield();
    }
    EXPECT_FALSE(weakOutput.strongReference());
}
