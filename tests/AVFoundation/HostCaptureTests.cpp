// Runs inside a private session with one camera and no microphone; see CMakeLists.txt.

#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSNotification.h"
#include "tests/AVFoundation/CaptureRecorder.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace {

/// A program that runs for the length of a scope.
class Process {
public:
    explicit Process(const std::string& shellCommand)
    {
        std::string program = "/bin/sh";
        std::string option = "-c";
        std::string command = "exec " + shellCommand;
        char* arguments[] { program.data(), option.data(), command.data(), nullptr };
        mRuns = posix_spawn(&mIdentifier, program.c_str(), nullptr, nullptr, arguments, environ) == 0;
    }
    ~Process()
    {
        if (!mRuns)
            return;
        kill(mIdentifier, SIGTERM);
        waitpid(mIdentifier, nullptr, 0);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

private:
    pid_t mIdentifier = 0;
    bool mRuns = false;
};

std::string nameAt(AVMediaType mediaType, std::size_t index)
{
    const AutoreleasePool pool;
    auto* const device
        = kindOf<AVCaptureDevice>(AVCaptureDevice::devicesWithMediaType(mediaType)->objectAtIndex(index));
    return device ? std::string(textOf(device->localizedName())) : "";
}

}

class HostCapture : public testing::Test {
protected:
    void open(AVMediaType mediaType)
    {
        auto* const devices = AVCaptureDevice::devicesWithMediaType(mediaType);
        ASSERT_GE(devices->count(), 1U);
        session->addInput(
            AVCaptureDeviceInput::initWithDevice_error(kindOf<AVCaptureDevice>(devices->objectAtIndex(0)), nullptr)
                .get());
    }
    AutoreleasePool pool;
    const Ref<AVCaptureSession> session = make<AVCaptureSession>();
    const Ref<AVCaptureVideoDataOutput> videoOutput = make<AVCaptureVideoDataOutput>();
    const Ref<AVCaptureAudioDataOutput> audioOutput = make<AVCaptureAudioDataOutput>();
    const Ref<CaptureRecorder> video = make<CaptureRecorder>();
    const Ref<CaptureRecorder> audio = make<CaptureRecorder>();
    const Ref<dispatch_queue> queue = dispatch_queue_create("HostCapture");
};

TEST_F(HostCapture, TheCameraOfTheSessionIsTheOnlyOneAndSilenceStandsIn)
{
    EXPECT_EQ(nameAt(AVMediaTypeVideo, 0), "Session Camera");
    EXPECT_EQ(nameAt(AVMediaTypeVideo, 1), "");
    auto* const camera
        = kindOf<AVCaptureDevice>(AVCaptureDevice::devicesWithMediaType(AVMediaTypeVideo)->objectAtIndex(0));
    EXPECT_FALSE(textOf(camera->uniqueID()).empty());
    EXPECT_EQ(AVCaptureDevice::deviceWithUniqueID(camera->uniqueID()), camera);
    EXPECT_EQ(nameAt(AVMediaTypeAudio, 0), "Silence");
    EXPECT_EQ(AVCaptureDevice::devicesWithMediaType(AVMediaTypeMuxed)->count(), 0U);
}

TEST_F(HostCapture, PicturesComeInTheForcedSizeAtTheCamerasRateWithNoneLost)
{
    videoOutput->setVideoSettings(CFDictionary::create({
                                                           { kCVPixelBufferWidthKey, CFNumber::create(1280.0).get() },
                                                           { kCVPixelBufferHeightKey, CFNumber::create(720.0).get() },
                                                       })
                                      .get());
    videoOutput->setSampleBufferDelegate_queue(video, queue);
    open(AVMediaTypeVideo);
    session->addOutput(videoOutput);
    session->startRunning();
    ASSERT_TRUE(video->waitFor(120));
    const auto notes = video->notes();
    const auto* const picture = CMSampleBufferGetImageBuffer(notes[0].sample);
    EXPECT_EQ(picture->width(), 1280U);
    EXPECT_EQ(picture->height(), 720U);
    EXPECT_NEAR(119 / (notes[119].time - notes[0].time), 30, 3);
    EXPECT_EQ(videoOutput->lateFrameCount(), 0U);
    EXPECT_NEAR(notes.back().time, static_cast<double>(HostClock::nanoseconds()) / 1e9, 0.5);
    session->stopRunning();
    session->waitUntilSettled();
}

TEST_F(HostCapture, ACameraThatComesAndGoesIsTold)
{
    struct Heard {
        std::vector<std::string> lines;
    } heard;
    const auto tell = [&heard](const char* what) {
        return [&heard, what](NSNotification* notification) {
            auto* const device = kindOf<AVCaptureDevice>(notification->object());
            heard.lines.push_back(std::string(what) + std::string(textOf(device->localizedName())));
        };
    };
    auto* const center = NSNotificationCenter::defaultCenter();
    const auto came = center->addObserverForName_object_queue_usingBlock(
        AVCaptureDeviceWasConnectedNotification, nullptr, nullptr, tell("+"));
    const auto went = center->addObserverForName_object_queue_usingBlock(
        AVCaptureDeviceWasDisconnectedNotification, nullptr, nullptr, tell("-"));
    EXPECT_EQ(nameAt(AVMediaTypeVideo, 1), "");
    {
        const Process microphone(
            "pw-cli -m create-node adapter '{ factory.name=support.null-audio-sink node.name=probe "
            "node.description=\"Probe Microphone\" media.class=Audio/Source object.linger=false "
            "audio.position=FL,FR }' >/dev/null 2>&1");
        EXPECT_TRUE(DispatchMain::runUntil([&] { return heard.lines.size() >= 2; }, 10));
        EXPECT_EQ(heard.lines, (std::vector<std::string> { "+Probe Microphone", "-Silence" }));
        EXPECT_EQ(nameAt(AVMediaTypeAudio, 0), "Probe Microphone");
    }
    EXPECT_TRUE(DispatchMain::runUntil([&] { return heard.lines.size() >= 4; }, 10));
    EXPECT_EQ(
        heard.lines, (std::vector<std::string> { "+Probe Microphone", "-Silence", "+Silence", "-Probe Microphone" }));
    center->removeObserver(came.get());
    center->removeObserver(went.get());
}

TEST_F(HostCapture, AMicrophoneDeliversContiguousSoundOnTheHostClock)
{
    const Process microphone(
        "pw-cli -m create-node adapter '{ factory.name=support.null-audio-sink node.name=probe "
        "node.description=\"Probe Microphone\" media.class=Audio/Source/Virtual object.linger=false "
        "audio.position=MONO }' >/dev/null 2>&1");
    ASSERT_TRUE(DispatchMain::runUntil([] { return nameAt(AVMediaTypeAudio, 0) == "Probe Microphone"; }, 10));
    audioOutput->setSampleBufferDelegate_queue(audio, queue);
    open(AVMediaTypeAudio);
    session->addOutput(audioOutput);
    session->startRunning();
    ASSERT_TRUE(audio->waitFor(50));
    const auto notes = audio->notes();
    for (std::size_t i = 1; i < notes.size(); ++i)
        EXPECT_NEAR(notes[i].time, notes[i - 1].time + notes[i - 1].duration, 0.002);
    EXPECT_NEAR(notes.back().time, static_cast<double>(HostClock::nanoseconds()) / 1e9, 0.5);
    session->stopRunning();
    session->waitUntilSettled();
}

TEST_F(HostCapture, TheVirtualCameraIsNoCameraAndASlowOnePassesAtItsRate)
{
    // The second camera begins when the node of the virtual one is there, so the list has seen both.
    NSBundle::mainBundle()->setInfo("CMIOExtensionIdentifier", "org.tovrin.tovrin.09.CMIOExtension");
    const Process extension(CAMERA_EXTENSION);
    const Process slow(
        "sh -c 'until pw-cli ls Node | grep -q CMIOExtension; do sleep 0.1; done; "
        "ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=15 -f yuv4mpegpipe -pix_fmt yuv420p - | " CAMERA_FEED
        " --name \"Slow Camera\"'");
    ASSERT_TRUE(DispatchMain::runUntil([] { return !nameAt(AVMediaTypeVideo, 1).empty(); }, 20));
    EXPECT_EQ(nameAt(AVMediaTypeVideo, 0), "Session Camera");
    EXPECT_EQ(nameAt(AVMediaTypeVideo, 1), "Slow Camera");
    EXPECT_EQ(nameAt(AVMediaTypeVideo, 2), "");

    auto* const camera
        = kindOf<AVCaptureDevice>(AVCaptureDevice::devicesWithMediaType(AVMediaTypeVideo)->objectAtIndex(1));
    session->addInput(AVCaptureDeviceInput::initWithDevice_error(camera, nullptr).get());
    videoOutput->setSampleBufferDelegate_queue(video, queue);
    session->addOutput(videoOutput);
    session->startRunning();
    ASSERT_TRUE(video->waitFor(40));
    const auto notes = video->notes();
    EXPECT_EQ(CMSampleBufferGetImageBuffer(notes[0].sample)->width(), 320U);
    EXPECT_NEAR(39 / (notes[39].time - notes[0].time), 15, 1);
    session->stopRunning();
    session->waitUntilSettled();
}
