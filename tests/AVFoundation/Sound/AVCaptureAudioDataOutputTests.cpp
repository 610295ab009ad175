#include "Platform/AVFoundation/AVCaptureSession.h"
#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/AVFoundation/AttachedDevices.h"
#include "tests/AVFoundation/Sound/SoundLevels.h"
#include "tests/AVFoundation/Sound/SuppliedDevice.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <future>
#include <gmock/gmock.h>
#include <thread>

using testing::DoubleNear;
using testing::Each;

namespace {

constexpr std::int64_t ms = 1'000'000;

struct Kept {
    std::vector<std::int16_t> samples;
    std::int64_t firstTime = 0;
    std::int64_t nextTime = 0; ///< where the last run ended
    int jumps = 0;
    std::int64_t behind() const { return HostClock::nanoseconds() - nextTime; }
};

/// Keeps what it is given. Belongs to its queue.
class SoundKeeper : public NSObject, public AVCaptureAudioDataOutputSampleBufferDelegate {
    NS_OBJECT(SoundKeeper)
public:
    SoundKeeper() = default;
    void captureOutput_didOutputSampleBuffer_fromConnection(
        AVCaptureOutput* /*output*/, CMSampleBufferRef sampleBuffer, AVCaptureConnection* /*connection*/) override
    {
        const auto& timing = sampleBuffer->timing();
        EXPECT_EQ(timing.presentationTimeStamp.timescale, 1'000'000'000);
        EXPECT_EQ(timing.duration.timescale, 48000);
        EXPECT_EQ(timing.duration.value, static_cast<std::int64_t>(sampleBuffer->sampleCount()));
        const std::int64_t time = timing.presentationTimeStamp.value;
        if (kept.samples.empty())
            kept.firstTime = time;
        else
            kept.jumps += time != kept.nextTime;
        const std::size_t before = kept.samples.size();
        kept.samples.resize(before + sampleBuffer->sampleCount() * 2);
        std::memcpy(&kept.samples[before], sampleBuffer->sound().data(), sampleBuffer->sound().size());
        // Runs are whole milliseconds, so this is exact.
        kept.nextTime = time + static_cast<std::int64_t>(sampleBuffer->sampleCount()) * ms / 48;
    }
    Kept kept;
};

NS_IMPLEMENTATION(SoundKeeper, NSObject)
{
    type.message("captureOutput:didOutputSampleBuffer:fromConnection:",
        &SoundKeeper::captureOutput_didOutputSampleBuffer_fromConnection);
}

class AVCaptureAudioDataOutputTest : public testing::Test, AttachedDevices {
protected:
    void SetUp() override
    {
        HostClock::driveByHand(true);
        for (auto* const device : { first.device(), second.device() })
            CaptureDeviceList::shared().deviceCame(Ref(device));
        output->setSampleBufferDelegate_queue(keeper, queue);
        session->addInput(first.input().get());
        session->addOutput(output);
        session->startRunning();
        session->waitUntilSettled();
    }
    void TearDown() override
    {
        session->stopRunning();
        session->waitUntilSettled();
        dispatch_sync(queue, [] {});
        HostClock::driveByHand(false);
        DispatchMain::drain();
    }
    /// Lets time go by, in which \p microphone, if there is one, brings sound of one value.
    void pass(std::int64_t duration, SuppliedDevice* microphone, std::int16_t value = 1000)
    {
        const std::vector<std::int16_t> samples(1920, value);
        const auto bytes = std::as_bytes(std::span(samples));
        for (; duration > 0; duration -= 20 * ms) {
            const auto taken = HostClock::nanoseconds();
            HostClock::advance(20 * ms);
            if (microphone)
                microphone->with([&](CaptureSink& sink) { sink.soundCame({ bytes.begin(), bytes.end() }, taken); });
        }
    }
    void replaceMicrophone(SuppliedDevice& other)
    {
        session->beginConfiguration();
        for (const auto& each : session->inputs()->values())
            session->removeInput(kindOf<AVCaptureDeviceInput>(each));
        session->addInput(other.input().get());
        session->commitConfiguration();
        session->waitUntilSettled();
    }
    /// All that has been delivered until now.
    Kept kept() const
    {
        Kept result;
        dispatch_sync(queue, [&] { result = keeper->kept; });
        return result;
    }
    Ref<AVCaptureConnection> connection() const { return Ref(output->connectionWithMediaType(AVMediaTypeAudio)); }
    /// Waits until the timer's ticks have been worked off.
    bool comesWithin(std::int64_t longest) const
    {
        const auto started = std::chrono::steady_clock::now();
        while (kept().behind() > longest && std::chrono::steady_clock::now() - started < std::chrono::seconds(10))
            std::this_thread::yield();
        return kept().behind() <= longest;
    }

    AutoreleasePool pool;
    const Ref<AVCaptureSession> session = make<AVCaptureSession>();
    const Ref<AVCaptureAudioDataOutput> output = make<AVCaptureAudioDataOutput>();
    const Ref<SoundKeeper> keeper = make<SoundKeeper>();
    const Ref<dispatch_queue> queue = dispatch_queue_create("AVCaptureAudioDataOutputTest");
    SuppliedDevice first { "First", AVMediaTypeAudio };
    SuppliedDevice second { "Second", AVMediaTypeAudio };
    static constexpr std::uint64_t lastSource = ~std::uint64_t { 0 };
};

TEST_F(AVCaptureAudioDataOutputTest, SoundIsDeliveredAsItWasTakenAndMeasured)
{
    const auto begin = HostClock::nanoseconds();
    pass(1000 * ms, &first);
    const auto sound = kept();
    EXPECT_EQ(sound.firstTime, begin);
    EXPECT_LT(sound.behind(), 10 * ms);
    EXPECT_EQ(sound.jumps, 0);
    EXPECT_TRUE(std::all_of(sound.samples.begin() + 400, sound.samples.end(), [](auto each) { return each == 1000; }));
    EXPECT_EQ(connection()->latestSamples(2), (std::vector<float>(2, 1000 / 32768.0F)));
    EXPECT_THAT(averageLevels(*connection()), Each(DoubleNear(20 * std::log10(1000 / 32768.0), 0.001)));
}

TEST_F(AVCaptureAudioDataOutputTest, AMicrophoneThatStallsBecomesSilenceInTime)
{
    pass(1000 * ms, &first);
    pass(2000 * ms, nullptr);
    EXPECT_TRUE(comesWithin(350 * ms));
    auto sound = kept();
    EXPECT_EQ(sound.jumps, 0);
    EXPECT_EQ(sound.samples.back(), 0);
    // The level shows what is delivered: silence.
    EXPECT_THAT(averageLevels(*connection()), Each(-160));
    EXPECT_THAT(peakLevels(*connection()), Each(-160)) << "after a second";
    EXPECT_EQ(connection()->latestSamples(1), std::vector<float> { 0 });
    pass(500 * ms, &first);
    sound = kept();
    EXPECT_LT(sound.behind(), 10 * ms);
    EXPECT_EQ(sound.samples.back(), 1000);
    EXPECT_EQ(sound.jumps, 0);
}

TEST_F(AVCaptureAudioDataOutputTest, AMicrophoneThatBringsNothingIsSilent)
{
    const auto begin = HostClock::nanoseconds();
    pass(1000 * ms, nullptr);
    EXPECT_TRUE(comesWithin(350 * ms));
    const auto sound = kept();
    EXPECT_EQ(sound.firstTime, begin);
    EXPECT_TRUE(std::ranges::all_of(sound.samples, [](auto each) { return each == 0; }));
}

TEST_F(AVCaptureAudioDataOutputTest, AnotherMicrophoneGoesOnWithoutAGap)
{
    pass(1000 * ms, &first);
    replaceMicrophone(second);
    pass(500 * ms, nullptr);
    pass(1000 * ms, &second, -2000);
    const auto sound = kept();
    EXPECT_EQ(sound.jumps, 0);
    EXPECT_LT(sound.behind(), 10 * ms);
    EXPECT_EQ(sound.samples.back(), -2000);
    EXPECT_THAT(peakLevels(*connection()), Each(DoubleNear(20 * std::log10(2000 / 32768.0), 0.001)));
    const auto silent = std::ranges::count(sound.samples, 0) / 96;
    EXPECT_NEAR(static_cast<double>(silent), 500, 12);
}

TEST_F(AVCaptureAudioDataOutputTest, SoundOfAnEarlierOpeningIsNotHeardAnyMore)
{
    pass(500 * ms, &first);
    const std::vector<std::int16_t> samples(1920, 3000);
    for (int run = 0; run < 25; ++run) {
        const auto taken = HostClock::nanoseconds();
        pass(20 * ms, &first);
        output->deliver(lastSource, std::as_bytes(std::span(samples)), taken);
    }
    const auto sound = kept();
    EXPECT_EQ(sound.samples.back(), 3000);
    const auto newer = std::ranges::find(sound.samples, 3000);
    EXPECT_EQ(std::count(newer, sound.samples.end(), 1000), 0);
    EXPECT_EQ(sound.jumps, 0);
}

TEST_F(AVCaptureAudioDataOutputTest, NothingIsDeliveredAfterTheStopAndTheNextStartBeginsAnew)
{
    pass(500 * ms, &first);
    session->stopRunning();
    const std::size_t delivered = kept().samples.size();
    pass(1000 * ms, &first);
    const std::vector<std::byte> late(3840);
    output->deliver(lastSource, late, HostClock::nanoseconds());
    EXPECT_EQ(kept().samples.size(), delivered);
    EXPECT_TRUE(connection()->latestSamples(1).empty()) << "nobody sees the last of it for ever";
    EXPECT_THAT(averageLevels(*connection()), Each(-160));
    EXPECT_THAT(peakLevels(*connection()), Each(-160));
    session->waitUntilSettled();
    session->startRunning();
    session->waitUntilSettled();
    const auto begin = HostClock::nanoseconds();
    dispatch_sync(queue, [&] { keeper->kept = {}; });
    pass(500 * ms, &first);
    const auto sound = kept();
    EXPECT_EQ(sound.firstTime, begin);
    EXPECT_EQ(sound.jumps, 0);
}

TEST_F(AVCaptureAudioDataOutputTest, ADelegateThatIsSecondsBehindLosesSoundAndNothingGrows)
{
    std::promise<void> gate;
    dispatch_async(queue, [&] { gate.get_future().wait(); });
    pass(20'000 * ms, &first);
    // The level needs no delegate.
    EXPECT_THAT(peakLevels(*connection()), Each(DoubleNear(20 * std::log10(1000 / 32768.0), 0.001)));
    gate.set_value();
    auto sound = kept();
    EXPECT_LE(sound.samples.size(), 5U * 48000 * 2);
    EXPECT_GT(sound.samples.size(), 4U * 48000 * 2);
    pass(1000 * ms, &first);
    sound = kept();
    EXPECT_EQ(sound.jumps, 1);
    EXPECT_LT(sound.behind(), 10 * ms);
}

TEST_F(AVCaptureAudioDataOutputTest, OddSizesAndNothingAreTaken)
{
    pass(500 * ms, &first);
    const std::vector<std::byte> odd(961);
    for (const std::size_t size : { 0, 1, 3, 5, 961 })
        first.with([&](CaptureSink& sink) {
            sink.soundCame({ odd.begin(), odd.begin() + static_cast<std::ptrdiff_t>(size) }, INT64_MIN);
        });
    pass(500 * ms, &first);
    const auto sound = kept();
    EXPECT_EQ(sound.jumps, 0);
    EXPECT_LT(sound.behind(), 110 * ms);
}

}
