// Runs inside a private session without a microphone; see CMakeLists.txt.

#include "Platform/AVFoundation/AVCaptureSession.h"
#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "tests/AVFoundation/Sound/SoundMeasures.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace {

/// Keeps the left channel. Belongs to its queue.
class LeftKeeper : public NSObject, public AVCaptureAudioDataOutputSampleBufferDelegate {
    NS_OBJECT(LeftKeeper)
public:
    LeftKeeper() = default;
    void captureOutput_didOutputSampleBuffer_fromConnection(
        AVCaptureOutput* /*output*/, CMSampleBufferRef sampleBuffer, AVCaptureConnection* /*connection*/) override
    {
        const std::int64_t time = sampleBuffer->timing().presentationTimeStamp.value;
        if (left.empty())
            firstTime = time;
        else
            jumps += time != nextTime;
        nextTime = time + static_cast<std::int64_t>(sampleBuffer->sampleCount()) * 1'000'000 / 48;
        for (std::size_t frame = 0; frame < sampleBuffer->sampleCount(); ++frame) {
            std::int16_t sample = 0;
            std::memcpy(&sample, &sampleBuffer->sound()[frame * 4], 2);
            left.push_back(sample);
        }
    }
    std::vector<std::int16_t> left;
    std::int64_t firstTime = 0;
    std::int64_t nextTime = 0;
    int jumps = 0;
};

NS_IMPLEMENTATION(LeftKeeper, NSObject)
{
    type.message("captureOutput:didOutputSampleBuffer:fromConnection:",
        &LeftKeeper::captureOutput_didOutputSampleBuffer_fromConnection);
}

}

TEST(HostSound, AClickIsStampedWithTheTimeAtWhichTheMicrophoneTookIt)
{
    const AutoreleasePool pool;
    std::string program = CLICKING_MICROPHONE;
    char* arguments[] { program.data(), nullptr };
    pid_t process = 0;
    ASSERT_EQ(posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments, environ), 0);
    Ref<AVCaptureDevice> device;
    const bool came = DispatchMain::runUntil(
        [&] {
            const AutoreleasePool inner;
            device = Ref(
                kindOf<AVCaptureDevice>(AVCaptureDevice::devicesWithMediaType(AVMediaTypeAudio)->objectAtIndex(0)));
            return device && textOf(device->localizedName()) == "Clicking Microphone";
        },
        10);

    const auto queue = dispatch_queue_create("HostSound");
    const auto keeper = make<LeftKeeper>();
    const auto session = make<AVCaptureSession>();
    const auto output = make<AVCaptureAudioDataOutput>();
    output->setSampleBufferDelegate_queue(keeper, queue);
    session->addInput(AVCaptureDeviceInput::initWithDevice_error(device, nullptr).get());
    session->addOutput(output);
    session->startRunning();
    constexpr std::size_t wanted = std::size_t { 48000 } * 6;
    std::size_t got = 0;
    const auto started = std::chrono::steady_clock::now();
    while (got < wanted && std::chrono::steady_clock::now() - started < std::chrono::seconds(20))
        dispatch_sync(queue, [&] { got = keeper->left.size(); });
    session->stopRunning();
    session->waitUntilSettled();
    dispatch_sync(queue, [] {});
    kill(process, SIGTERM);
    waitpid(process, nullptr, 0);

    ASSERT_TRUE(came);
    ASSERT_GE(got, wanted);
    EXPECT_EQ(keeper->jumps, 0);
    const auto clicks = findClicks(keeper->left);
    ASSERT_GE(clicks.size(), 4U);
    // A machine that is busy misses cycles of the graph, so that sound is lost; within a second that is put right.
    std::vector<double> errors;
    for (const double click : clicks) {
        const double time = static_cast<double>(keeper->firstTime) / 1e9 + click / 48000;
        errors.push_back(std::abs(time - std::round(time)));
    }
    std::ranges::sort(errors);
    EXPECT_LT(errors[(errors.size() - 1) / 2], 0.005);
}
