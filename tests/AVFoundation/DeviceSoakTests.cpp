#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/AVFoundation/CaptureRecorder.h"
#include "tests/AVFoundation/ScriptedDevice.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <array>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace {

#ifdef TOVRIN_LONG_TESTS
constexpr std::chrono::seconds soakTime { 60 };
#else
constexpr std::chrono::seconds soakTime { 2 };
#endif

/// Runs \p work again and again on a thread of its own until the scope ends.
class Repeating {
public:
    explicit Repeating(const std::function<void(std::minstd_rand&)>& work, unsigned seed)
        : mThread([this, work, seed] {
            std::minstd_rand random(seed);
            while (!mEnds.load()) {
                const AutoreleasePool pool;
                work(random);
            }
        })
    {
    }
    ~Repeating()
    {
        mEnds.store(true);
        mThread.join();
    }
    Repeating(const Repeating&) = delete;
    Repeating& operator=(const Repeating&) = delete;

private:
    std::atomic<bool> mEnds { false };
    std::thread mThread;
};

Ref<AVCaptureDeviceInput> anyInput(AVMediaType mediaType, std::minstd_rand& random)
{
    auto* const devices = AVCaptureDevice::devicesWithMediaType(mediaType);
    const auto index = random() % devices->count();
    return AVCaptureDeviceInput::initWithDevice_error(kindOf<AVCaptureDevice>(devices->objectAtIndex(index)), nullptr);
}

void replaceInput(AVCaptureSession& session, AVMediaType mediaType, std::minstd_rand& random)
{
    for (const auto& each : session.inputs()->values())
        if (auto* const input = kindOf<AVCaptureDeviceInput>(each); input->device()->hasMediaType(mediaType))
            session.removeInput(input);
    if (const auto input = anyInput(mediaType, random); input && session.canAddInput(input))
        session.addInput(input);
}

}

TEST(DeviceSoak, DevicesComeAndGoWhileTheSessionStartsStopsAndIsConfigured)
{
    auto& list = CaptureDeviceList::shared();
    list.useHostDevices(false);
    StandardErrorCapture log;
    const AutoreleasePool pool;
    std::vector<std::unique_ptr<ScriptedDevice>> devices;
    for (const auto* const name : { "First", "Second", "Third" })
        devices.push_back(std::make_unique<ScriptedDevice>(name));
    for (const auto* const name : { "Fourth", "Fifth" })
        devices.push_back(std::make_unique<ScriptedDevice>(name, AVMediaTypeAudio));
    const auto queue = dispatch_queue_create("DeviceSoak");
    const auto video = make<CaptureRecorder>();
    const auto audio = make<CaptureRecorder>();
    const auto videoOutput = make<AVCaptureVideoDataOutput>();
    const auto audioOutput = make<AVCaptureAudioDataOutput>();
    videoOutput->setVideoSettings(CFDictionary::create({ { kCVPixelBufferWidthKey, CFNumber::create(64.0).get() },
                                                           { kCVPixelBufferHeightKey, CFNumber::create(36.0).get() } })
                                      .get());
    videoOutput->setSampleBufferDelegate_queue(video, queue);
    audioOutput->setSampleBufferDelegate_queue(audio, queue);
    const auto session = make<AVCaptureSession>();
    session->addOutput(videoOutput);
    session->addOutput(audioOutput);
    std::minstd_rand random(1);
    {
        const Repeating plugging(
            [&](std::minstd_rand& choice) {
                auto& device = *devices[choice() % devices.size()];
                if (device.device()->isConnected())
                    list.deviceWent(device.device());
                else
                    list.deviceCame(Ref(device.device()));
                std::this_thread::yield();
            },
            2);
        const Repeating delivering(
            [&](std::minstd_rand& choice) {
                auto& device = *devices[choice() % devices.size()];
                device.deliver();
                if (choice() % 50 == 0)
                    device.fail("It has failed.");
                if (choice() % 50 == 0)
                    list.setDefaultMicrophone(choice() % 2 ? "scripted Fourth" : "scripted Fifth");
                audio->clear();
                video->clear();
                std::this_thread::yield();
            },
            3);
        const auto end = std::chrono::steady_clock::now() + soakTime;
        while (std::chrono::steady_clock::now() < end) {
            const AutoreleasePool inner;
            switch (random() % 6) {
            case 0:
                session->startRunning();
                break;
            case 1:
                session->stopRunning();
                break;
            case 2:
                session->setSessionPreset(
                    random() % 2 ? AVCaptureSessionPreset1280x720 : AVCaptureSessionPreset640x480);
                break;
            default:
                session->beginConfiguration();
                replaceInput(*session, random() % 2 ? AVMediaTypeVideo : AVMediaTypeAudio, random);
                session->commitConfiguration();
                session->commitConfiguration();
            }
            DispatchMain::drain();
        }
    }
    // After all that it works as on the first day.
    list.removeAll();
    session->startRunning();
    replaceInput(*session, AVMediaTypeVideo, random);
    replaceInput(*session, AVMediaTypeAudio, random);
    session->waitUntilSettled();
    video->clear();
    audio->clear();
    EXPECT_TRUE(video->waitFor(3));
    EXPECT_TRUE(audio->waitFor(3));
    session->stopRunning();
    session->waitUntilSettled();
    for (const auto& device : devices)
        EXPECT_FALSE(device->isOpen());
    dispatch_sync(queue, [] {});
    DispatchMain::drain();
}
