#include "Platform/AVFoundation/GStreamerAudioSource.h"

#include "Platform/CoreFoundation/HostClock.h"
#include "tests/AVFoundation/Sound/SoundMeasures.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <gst/audio/gstaudiosrc.h>
#include <gtest/gtest.h>
#include <numbers>
#include <thread>

namespace {

/// A device whose element is made by a function.
struct MadeDevice {
    GstDevice parent;
    std::function<GstElement*()>* make;
};

GType madeDeviceType()
{
    static const GType registered = [] {
        GTypeInfo info {};
        info.class_size = sizeof(GstDeviceClass);
        info.instance_size = sizeof(MadeDevice);
        info.class_init = [](gpointer type, gpointer) {
            GST_DEVICE_CLASS(type)->create_element
                = [](GstDevice* device, const gchar*) { return (*reinterpret_cast<MadeDevice*>(device)->make)(); };
        };
        return g_type_register_static(GST_TYPE_DEVICE, "TovrinMadeDevice", &info, GTypeFlags {});
    }();
    return registered;
}

/// What the element below does, for all of its kind.
struct SoundCard {
    std::atomic<int> speed { 100 }; ///< of its crystal, in hundredths
    std::atomic<unsigned> delay { 0 }; ///< frames that it says to hold back
    std::atomic<std::int64_t> frames { 0 }; ///< read since it was opened
    std::atomic<std::int64_t> start { 0 };
};
SoundCard card;

/// An element that reads a sound card through GStreamer's ring buffer, as those of ALSA and PulseAudio do.
GType soundCardType()
{
    static const GType registered = [] {
        GTypeInfo info {};
        info.class_size = sizeof(GstAudioSrcClass);
        info.instance_size = sizeof(GstAudioSrc);
        info.class_init = [](gpointer type, gpointer) {
            const GstCapsOwner caps(
                gst_caps_from_string("audio/x-raw,format=S16LE,layout=interleaved,rate=48000,channels=2"));
            gst_element_class_add_pad_template(
                GST_ELEMENT_CLASS(type), gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps.get()));
            auto* const source = GST_AUDIO_SRC_CLASS(type);
            source->open = [](GstAudioSrc*) -> gboolean { return TRUE; };
            source->prepare = [](GstAudioSrc*, GstAudioRingBufferSpec*) -> gboolean {
                card.frames = 0;
                card.start = HostClock::nanoseconds();
                return TRUE;
            };
            source->unprepare = [](GstAudioSrc*) -> gboolean { return TRUE; };
            source->close = [](GstAudioSrc*) -> gboolean { return TRUE; };
            source->delay = [](GstAudioSrc*) -> guint { return card.delay; };
            source->reset = [](GstAudioSrc*) {};
            source->read = [](GstAudioSrc*, gpointer, guint size, GstClockTime*) -> guint {
                // Comes back when the card's crystal has counted so far; of what it heard nobody asks.
                card.frames += size / 4;
                const auto due = card.start + card.frames * 1'000'000'000 / 48000 * 100 / card.speed;
                std::this_thread::sleep_for(std::chrono::nanoseconds(due - HostClock::nanoseconds()));
                return size;
            };
        };
        return g_type_register_static(GST_TYPE_AUDIO_SRC, "TovrinSoundCard", &info, GTypeFlags {});
    }();
    return registered;
}

/// Keeps what a source brings.
class KeepingSink final : public CaptureSink {
public:
    struct Run {
        std::int64_t time;
        std::int64_t arrival;
        std::size_t frames;
    };
    CMVideoDimensions requestedDimensions() const override { return {}; }
    CMVideoDimensions preferredDimensions() const override { return {}; }
    bool admitPicture() override { return false; }
    void pictureCame(Ref<CVPixelBuffer>, std::int64_t, std::int64_t) override { }
    void pictureFailed() override { }
    void soundCame(std::vector<std::byte> bytes, std::int64_t hostTime) override
    {
        const std::lock_guard lock(mLock);
        runs.push_back({ hostTime, HostClock::nanoseconds(), bytes.size() / 4 });
        for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4) {
            std::int16_t sample = 0;
            std::memcpy(&sample, &bytes[at], 2);
            left.push_back(sample);
        }
        mCame.notify_all();
    }
    void sourceFailed(Ref<NSError>) override { }
    bool waitForFrames(std::size_t count)
    {
        std::unique_lock lock(mLock);
        return mCame.wait_for(lock, std::chrono::seconds(20), [&] { return left.size() >= count; });
    }
    std::vector<Run> runs;
    std::vector<std::int16_t> left;

private:
    std::mutex mLock;
    std::condition_variable mCame;
};

class GStreamerAudioSourceTest : public testing::Test {
protected:
    void open(std::function<GstElement*()> make)
    {
        mMake = std::move(make);
        const GstCapsOwner caps(gst_caps_new_any());
        auto* const device = static_cast<MadeDevice*>(g_object_new(
            madeDeviceType(), "caps", caps.get(), "display-name", "Made", "device-class", "Audio/Source", nullptr));
        device->make = &mMake;
        mDevice.reset(static_cast<GstDevice*>(gst_object_ref_sink(&device->parent)));
        source = std::make_unique<GStreamerAudioSource>(sink, mDevice.get());
        ASSERT_FALSE(source->start());
    }
    void openChain(const std::string& chain)
    {
        open([chain] { return gst_parse_bin_from_description(chain.c_str(), TRUE, nullptr); });
    }
    void openSoundCard()
    {
        open([] { return GST_ELEMENT(g_object_new(soundCardType(), nullptr)); });
    }
    void SetUp() override
    {
        gst_init(nullptr, nullptr);
        card.speed = 100;
        card.delay = 0;
    }
    void TearDown() override { source = nullptr; }
    /// How much time lies between the stamps of two runs, for each second of the sound between them.
    double stampedSecondsPerSecond(std::size_t first) const
    {
        std::size_t frames = 0;
        for (std::size_t index = first; index + 1 < sink.runs.size(); ++index)
            frames += sink.runs[index].frames;
        return static_cast<double>(sink.runs.back().time - sink.runs[first].time) * 48000 / 1e9
            / static_cast<double>(frames);
    }

    KeepingSink sink;
    std::unique_ptr<GStreamerAudioSource> source;

private:
    std::function<GstElement*()> mMake;
    GstOwned<GstDevice> mDevice;
};

TEST_F(GStreamerAudioSourceTest, DevicesOfAnyRateBringFortyEightThousandFrames)
{
    for (const int rate : { 44100, 48000, 16000 }) {
        sink.runs.clear();
        sink.left.clear();
        openChain("audiotestsrc is-live=true freq=997 samplesperbuffer=441 ! capsfilter caps=audio/x-raw,rate="
            + std::to_string(rate) + ",format=F32LE,channels=1");
        const auto begin = HostClock::nanoseconds();
        ASSERT_TRUE(sink.waitForFrames(48000)) << rate;
        source->stop();
        EXPECT_NEAR(static_cast<double>(HostClock::nanoseconds() - begin), 1e9, 0.5e9) << rate;
        const auto tone = measureTone(std::span(sink.left).subspan(4800, 38400), 997);
        EXPECT_NEAR(tone.frequency, 997, 0.01) << rate;
        EXPECT_LT(tone.restInDecibels, -75) << rate;
        EXPECT_NEAR(stampedSecondsPerSecond(5), 1, 0.03) << rate;
    }
}

TEST_F(GStreamerAudioSourceTest, DevicesOfAnyNumberOfChannelsBringTwo)
{
    // The tone in all channels, as a microphone for a room full of people brings it.
    for (const auto* const channels : { "1", "2,channel-mask=(bitmask)0x3", "6,channel-mask=(bitmask)0x3f" }) {
        sink.runs.clear();
        sink.left.clear();
        openChain("audiotestsrc is-live=true freq=997 volume=0.5 samplesperbuffer=441 ! capsfilter "
                  "caps=audio/x-raw,rate=44100,format=S16LE,channels="
            + std::string(channels));
        ASSERT_TRUE(sink.waitForFrames(24000)) << channels;
        source->stop();
        const auto heard = std::span(sink.left).subspan(4800, 19200);
        const auto tone = measureTone(heard, 997);
        EXPECT_NEAR(tone.frequency, 997, 0.1) << channels;
        EXPECT_NEAR(*std::ranges::max_element(heard), 16384, 200) << channels;
    }
}

TEST_F(GStreamerAudioSourceTest, WithoutAWordOnLatencyARunWasTakenJustBeforeItCame)
{
    openChain("audiotestsrc is-live=true samplesperbuffer=480 ! capsfilter "
              "caps=audio/x-raw,rate=48000,format=S16LE,channels=2");
    ASSERT_TRUE(sink.waitForFrames(24000));
    source->stop();
    std::vector<double> ages;
    for (const auto& run : sink.runs)
        ages.push_back(static_cast<double>(run.arrival - run.time) / 1e6);
    std::ranges::sort(ages);
    EXPECT_GE(ages.front(), 10);
    EXPECT_LT(ages[ages.size() / 2], 35);
}

TEST_F(GStreamerAudioSourceTest, ASoundCardIsStampedByTheHostClockAndNotByItsOwn)
{
    // Ten in a hundred too slow, so that a second shows it.
    card.speed = 90;
    openSoundCard();
    ASSERT_TRUE(sink.waitForFrames(72000));
    source->stop();
    EXPECT_NEAR(stampedSecondsPerSecond(10), 1 / 0.9, 0.03);
}

TEST_F(GStreamerAudioSourceTest, WhatASoundCardSaysToHoldBackIsTakenOff)
{
    openSoundCard();
    ASSERT_TRUE(sink.waitForFrames(24000));
    card.delay = 9600;
    ASSERT_TRUE(sink.waitForFrames(60000));
    source->stop();
    const auto age = [](const KeepingSink::Run& run) { return static_cast<double>(run.arrival - run.time) / 1e6; };
    EXPECT_LT(age(sink.runs[sink.runs.size() / 4]), 120);
    EXPECT_NEAR(age(sink.runs.back()), 220, 80);
}

}
