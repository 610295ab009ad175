#include "Platform/CoreMediaIO/CMIOHardware.h"
#include "Platform/CoreVideo/CVPixelBufferPool.h"
#include "Platform/Foundation/NSObject.h"
#include "Platform/SystemExtensions/Subprocess.h"
#include "tests/CameraExtension/ExtensionProcess.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <poll.h>

namespace {

constexpr std::size_t width = 1280;
constexpr std::size_t height = 720;
constexpr std::size_t frameLength = width * height * 3 / 2;

/// An independent program that takes frames of the camera, as I420, to their end.
class Consumer {
public:
    /// \param sink  where the frames go, in the words of gst-launch
    Consumer(unsigned frames, std::string sink)
        : mThread([this, frames, sink = std::move(sink)] {
            const auto start = std::chrono::steady_clock::now();
            mResult = runSubprocess({ "sh", "-c",
                                        "exec gst-launch-1.0 -q pipewiresrc "
                                        "target-object=org.tovrin.tovrin.09.CMIOExtension num-buffers="
                                            + std::to_string(frames) + " ! video/x-raw,format=I420 ! " + sink },
                std::chrono::seconds(90));
            mSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        })
    {
    }
    ~Consumer() { wait(); }

    SubprocessResult wait()
    {
        if (mThread.joinable())
            mThread.join();
        return mResult;
    }
    double seconds() const { return mSeconds; }

private:
    SubprocessResult mResult;
    double mSeconds = 0;
    std::thread mThread;
};

/// Feeds the sink stream as an application does: one buffer at a time, the next when the last has come back.
class Feeder : public NSObject {
    NS_OBJECT(Feeder)
public:
    Feeder() = default;

    void open()
    {
        ASSERT_TRUE(eventually([this] { return findDevice(); }));
        ASSERT_EQ(CMIOStreamCopyBufferQueue(mSink, &Feeder::altered, this, &mQueue), noErr);
        ASSERT_EQ(CMIODeviceStartStream(mDevice, mSink), noErr);
        const auto surface = make<CFDictionary>();
        const auto attributes = make<CFDictionary>();
        attributes->set(kCVPixelBufferIOSurfacePropertiesKey, surface.get());
        attributes->set(kCVPixelBufferWidthKey, CFNumber::create(width).get());
        attributes->set(kCVPixelBufferHeightKey, CFNumber::create(height).get());
        attributes->set(kCVPixelBufferPixelFormatTypeKey, CFNumber::create(kCVPixelFormatType_32BGRA).get());
        ASSERT_EQ(CVPixelBufferPoolCreate(kCFAllocatorDefault, nullptr, attributes, &mPool), kCVReturnSuccess);
    }

    /// One picture of a single grey.
    void feed(std::uint8_t grey)
    {
        ASSERT_TRUE(eventually([this] { return mIsReady.load(); }));
        Ref<CVPixelBuffer> pixels;
        ASSERT_EQ(CVPixelBufferPoolCreatePixelBuffer(kCFAllocatorDefault, mPool, &pixels), kCVReturnSuccess);
        std::fill_n(pixels->baseAddress(), pixels->bytesPerRow() * height, static_cast<std::byte>(grey));
        Ref<CMFormatDescription> format;
        ASSERT_EQ(CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, pixels, &format), noErr);
        CMSampleTimingInfo timing;
        timing.presentationTimeStamp = CMClockGetTime(CMClockGetHostTimeClock());
        mIsReady = false;
        ASSERT_EQ(CMSimpleQueueEnqueue(mQueue, make<CMSampleBuffer>(pixels, format, timing).leak()), noErr);
    }
    /// Thirty pictures a second until \p isEnough.
    void feedUntil(std::uint8_t grey, const std::function<bool()>& isEnough)
    {
        auto next = std::chrono::steady_clock::now();
        while (!isEnough()) {
            feed(grey);
            next += std::chrono::nanoseconds(std::chrono::seconds(1)) / 30;
            std::this_thread::sleep_until(next);
        }
    }

    std::string just() const
    {
        const CMIOObjectPropertyAddress address { 0x6A757374, kCMIOObjectPropertyScopeGlobal, 0 };
        CFTypeRef value = nullptr;
        std::uint32_t size = 0;
        EXPECT_EQ(CMIOObjectGetPropertyData(mSource, &address, 0, nullptr, sizeof value, &size, &value), noErr);
        const auto text = Ref<CFType>::adopt(value);
        return kindOf<CFString>(text) ? kindOf<CFString>(text)->string() : "";
    }

private:
    static void altered(CMIOStreamID, CFTypeRef, CFTypeRef refCon)
    {
        if (auto* const self = kindOf<Feeder>(refCon))
            self->mIsReady = true;
    }
    bool findDevice()
    {
        std::uint32_t size = 0;
        const CMIOObjectPropertyAddress list { kCMIOHardwarePropertyDevices, kCMIOObjectPropertyScopeGlobal, 0 };
        if (CMIOObjectGetPropertyData(kCMIOObjectSystemObject, &list, 0, nullptr, sizeof mDevice, &size, &mDevice)
                != noErr
            || size == 0)
            return false;
        const CMIOObjectPropertyAddress in { kCMIODevicePropertyStreams, kCMIODevicePropertyScopeInput, 0 };
        const CMIOObjectPropertyAddress out { kCMIODevicePropertyStreams, kCMIODevicePropertyScopeOutput, 0 };
        return CMIOObjectGetPropertyData(mDevice, &in, 0, nullptr, sizeof mSource, &size, &mSource) == noErr
            && CMIOObjectGetPropertyData(mDevice, &out, 0, nullptr, sizeof mSink, &size, &mSink) == noErr;
    }

    CMIODeviceID mDevice = 0;
    CMIOStreamID mSource = 0;
    CMIOStreamID mSink = 0;
    Ref<CMSimpleQueue> mQueue;
    Ref<CVPixelBufferPool> mPool;
    std::atomic<bool> mIsReady { true };
};

NS_IMPLEMENTATION(Feeder, NSObject)
{
    static_cast<void>(type);
}

class CameraNode : public testing::Test {
protected:
    void SetUp() override { feeder->open(); }

    /// The luma of the first pixel of each frame in a file of frames.
    static std::vector<int> lumas(const std::string& path)
    {
        std::vector<int> values;
        std::ifstream file(path, std::ios::binary);
        for (char first = 0; file.get(first); file.seekg(frameLength - 1, std::ios::cur))
            values.push_back(static_cast<unsigned char>(first));
        return values;
    }
    static std::string scratch(const char* name) { return RuntimeFolder::shared().path() + "/" + name; }

    ExtensionProcess extension;
    const Ref<Feeder> feeder = make<Feeder>();
};

TEST_F(CameraNode, ConsumersAreCountedWhenTheyComeAndGo)
{
    EXPECT_EQ(feeder->just(), "sc=0");
    {
        Consumer first(120, "fakesink");
        EXPECT_TRUE(eventually([&] { return feeder->just() == "sc=1"; }));
        Consumer second(60, "fakesink");
        EXPECT_TRUE(eventually([&] { return feeder->just() == "sc=2"; }));
        EXPECT_TRUE(second.wait().isSuccess());
        EXPECT_TRUE(first.wait().isSuccess());
    }
    EXPECT_TRUE(eventually([&] { return feeder->just() == "sc=0"; }));
}

TEST_F(CameraNode, WhatIsFedIsSeenThenRepeatedForASecondThenThePictureStandsBy)
{
    const auto path = scratch("frames.i420");
    std::vector<int> seen;
    {
        Consumer consumer(150, "filesink location=" + path);
        EXPECT_TRUE(eventually([&] { return feeder->just() == "sc=1"; }));
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        feeder->feedUntil(255, [&] { return std::chrono::steady_clock::now() > end; });
        EXPECT_TRUE(consumer.wait().isSuccess()) << consumer.wait().output;
        seen = lumas(path);
        std::filesystem::remove(path);
    }
    ASSERT_EQ(seen.size(), 150u);
    EXPECT_NE(seen.back(), 235);
    const auto fed = std::ranges::count(seen, 235);
    // A second of frames and a second of repetitions, less what a loaded machine leaves out.
    EXPECT_GE(fed, 45);
    EXPECT_LE(fed, 66);
}

TEST_F(CameraNode, TwoConsumersGetEveryFrameOfAFullRate)
{
    constexpr unsigned frames = 240;
    Consumer first(frames, "fakesink");
    Consumer second(frames, "fakesink");
    EXPECT_TRUE(eventually([&] { return feeder->just() == "sc=2"; }));
    std::atomic<bool> isDone { false };
    std::thread feeding([&] { feeder->feedUntil(90, [&] { return isDone.load(); }); });
    EXPECT_TRUE(first.wait().isSuccess());
    EXPECT_TRUE(second.wait().isSuccess());
    isDone = true;
    feeding.join();
    // Starting the programs is part of the time.
    EXPECT_LT(first.seconds(), frames / 27.0 + 2);
    EXPECT_LT(second.seconds(), frames / 27.0 + 2);
}

TEST_F(CameraNode, AConsumerThatIsSlowHoldsUpNeitherTheOthersNorItself)
{
    Consumer slow(20, "identity sleep-time=150000 ! fakesink sync=false");
    Consumer quick(120, "fakesink");
    EXPECT_TRUE(quick.wait().isSuccess());
    EXPECT_TRUE(slow.wait().isSuccess());
    EXPECT_LT(quick.seconds(), 120 / 27.0 + 2);
}

TEST_F(CameraNode, AnUnwatchedCameraSleeps)
{
    const auto wakeUps = [this] {
        std::uint64_t sum = 0;
        const auto tasks = "/proc/" + std::to_string(extension.identifier()) + "/task";
        for (const auto& task : std::filesystem::directory_iterator(tasks)) {
            std::ifstream status(task.path() / "status");
            for (std::string line; std::getline(status, line);) {
                if (line.starts_with("voluntary_ctxt_switches:"))
                    sum += std::stoull(line.substr(line.find(':') + 1));
            }
        }
        return sum;
    };
    std::uint64_t before = 0;
    // The session's own comings and goings end some time after the start.
    EXPECT_TRUE(eventually([&] {
        const auto now = wakeUps();
        ::poll(nullptr, 0, 1000);
        return wakeUps() == now && (before = now, true);
    }));
    ::poll(nullptr, 0, 3000);
    EXPECT_EQ(wakeUps(), before);
}

TEST_F(CameraNode, EveryFormatIsOfferedWithOneFixedSizeAndRate)
{
    const auto dump = runSubprocess({ "sh", "-c",
                                        "pw-cli ls Node | grep -B5 -A5 org.tovrin.tovrin.09.CMIOExtension | "
                                        "sed -n 's/.*id \\([0-9]*\\), type.*/\\1/p' | tail -1 | "
                                        "xargs -I@ pw-cli enum-params @ EnumFormat | grep -c 1280x720" },
        std::chrono::seconds(20));
    EXPECT_EQ(dump.output, "5");
}

}
