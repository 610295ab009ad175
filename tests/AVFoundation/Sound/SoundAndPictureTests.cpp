#include "Platform/AVFoundation/AVCaptureSession.h"
#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/AVFoundation/AssetWriter/MovieReader.h"
#include "tests/AVFoundation/AssetWriter/Recording.h"
#include "tests/AVFoundation/AttachedDevices.h"
#include "tests/AVFoundation/Sound/Microphone.h"
#include "tests/AVFoundation/Sound/SoundMeasures.h"
#include "tests/AVFoundation/Sound/SuppliedDevice.h"

#include <cstring>
#include <deque>
#include <gtest/gtest.h>

namespace {

constexpr int width = 160;
constexpr int height = 96;
/// The scene flashes and clicks at once, this often, in seconds.
constexpr double interval = 5;
constexpr double seconds = MOVIE_SECONDS;

/// Writes what a session delivers into a movie, every sample.
class MovieDelegate : public NSObject,
                      public AVCaptureVideoDataOutputSampleBufferDelegate,
                      public AVCaptureAudioDataOutputSampleBufferDelegate {
    NS_OBJECT(MovieDelegate)
public:
    explicit MovieDelegate(Recording& recording)
        : mRecording(recording)
    {
    }
    void captureOutput_didOutputSampleBuffer_fromConnection(
        AVCaptureOutput* /*output*/, CMSampleBufferRef sampleBuffer, AVCaptureConnection* connection) override
    {
        const auto& input
            = connection->mediaType() == AVMediaTypeVideo ? mRecording.pictureInput : mRecording.soundInput;
        Recording::waitUntilReady(*input);
        refused += !input->appendSampleBuffer(sampleBuffer);
    }
    int refused = 0;

private:
    Recording& mRecording;
};

NS_IMPLEMENTATION(MovieDelegate, NSObject)
{
    type.message("captureOutput:didOutputSampleBuffer:fromConnection:",
        &MovieDelegate::captureOutput_didOutputSampleBuffer_fromConnection);
}

/// A camera and microphones in a session that is recorded.
///
/// Time is simulated: the host clock is driven by hand, from one event to the next, an event being a picture or a run
/// of sound that arrives; timers fire on the way. What each of them is, and when it arrives, is computed from the true
/// time. All classes between the devices and the file are the real ones and run on their own queues; after each event
/// the delegate's queue is waited for. So the clock goes as fast as the machine records.
class SoundAndPicture : public testing::Test, AttachedDevices {
protected:
    void SetUp() override
    {
        HostClock::driveByHand(true);
        begin = HostClock::nanoseconds();
        for (auto* const device : { camera.device(), firstMicrophone.device(), secondMicrophone.device() })
            CaptureDeviceList::shared().deviceCame(Ref(device));
        videoOutput->setVideoSettings(
            CFDictionary::create({
                                     { kCVPixelBufferWidthKey, CFNumber::create(double { width }).get() },
                                     { kCVPixelBufferHeightKey, CFNumber::create(double { height }).get() },
                                 })
                .get());
        recording.addPictureInput();
        recording.addSoundInput();
        ASSERT_TRUE(recording.writer->startWriting());
        recording.writer->startSessionAtSourceTime(Recording::at(begin));
        videoOutput->setSampleBufferDelegate_queue(delegate, queue);
        audioOutput->setSampleBufferDelegate_queue(delegate, queue);
        session->addInput(camera.input().get());
        session->addInput(firstMicrophone.input().get());
        session->addOutput(videoOutput);
        session->addOutput(audioOutput);
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

    /// Full of light and noise at the multiples of the interval.
    static double click(double time)
    {
        return std::abs(time - std::round(time / interval) * interval) < 0.0005 ? 0.9 : 0;
    }
    std::int64_t hostTime(double time) const { return begin + std::llround(time * 1e9); }
    void advanceTo(std::int64_t time)
    {
        if (time > HostClock::nanoseconds())
            HostClock::advance(time - HostClock::nanoseconds());
    }
    /// Pictures until \p end, at \p rate, and the sound that arrives meanwhile.
    void play(Microphone& heard, SuppliedDevice& microphone, double end, int rate)
    {
        const double first = pictureTime;
        for (int number = 0; pictureTime < end; pictureTime = first + static_cast<double>(++number) / rate) {
            while (heard.time() < pictureTime)
                for (const auto& run : heard.next())
                    waiting.push_back(run);
            playSound(microphone, hostTime(pictureTime));
            showPicture();
        }
    }
    void playSound(SuppliedDevice& microphone, std::int64_t until)
    {
        while (!waiting.empty() && begin + waiting.front().arrival <= until) {
            const auto run = std::move(waiting.front());
            waiting.pop_front();
            advanceTo(begin + run.arrival);
            const auto bytes = std::as_bytes(std::span(run.samples));
            EXPECT_TRUE(microphone.with([&](CaptureSink& sink) {
                sink.soundCame({ bytes.begin(), bytes.end() }, begin + run.time);
            }));
            dispatch_sync(queue, [] {});
        }
    }
    void showPicture()
    {
        advanceTo(hostTime(pictureTime));
        const bool flashes = std::abs(pictureTime - std::round(pictureTime / interval) * interval) < 1e-6;
        EXPECT_TRUE(camera.with([&](CaptureSink& sink) {
            ASSERT_TRUE(sink.admitPicture());
            sink.pictureCame(flashes ? bright : dark, hostTime(pictureTime), 0);
        }));
        dispatch_sync(queue, [] {});
    }
    void takeSecondMicrophone()
    {
        session->beginConfiguration();
        for (const auto& each : session->inputs()->values())
            if (auto* const input = kindOf<AVCaptureDeviceInput>(each); input->device() == firstMicrophone.device())
                session->removeInput(input);
        session->addInput(secondMicrophone.input().get());
        session->commitConfiguration();
        session->waitUntilSettled();
        waiting.clear();
    }

    AutoreleasePool pool;
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/movie.mov";
    Recording recording { path, width, height };
    const Ref<MovieDelegate> delegate = make<MovieDelegate>(recording);
    const Ref<dispatch_queue> queue = dispatch_queue_create("SoundAndPicture");
    const Ref<AVCaptureSession> session = make<AVCaptureSession>();
    const Ref<AVCaptureVideoDataOutput> videoOutput = make<AVCaptureVideoDataOutput>();
    const Ref<AVCaptureAudioDataOutput> audioOutput = make<AVCaptureAudioDataOutput>();
    SuppliedDevice camera { "Camera", AVMediaTypeVideo };
    SuppliedDevice firstMicrophone { "First Microphone", AVMediaTypeAudio };
    SuppliedDevice secondMicrophone { "Second Microphone", AVMediaTypeAudio };
    const Ref<CVPixelBuffer> dark = Recording::picture(width, height, 0xFF101010, 0);
    const Ref<CVPixelBuffer> bright = Recording::picture(width, height, 0xFFFFFFFF, 0);
    std::int64_t begin = 0;
    double pictureTime = 0; ///< of the next picture, in seconds since the beginning
    std::deque<Microphone::Run> waiting;
};

/// The times of the flashes, as pictures of the movie.
std::vector<double> flashesOf(const MovieContents& movie)
{
    std::vector<double> times;
    for (std::size_t index = 0; index < std::min(movie.middles.size(), movie.picture.packets.size()); ++index)
        if (movie.middles[index][0] > 128)
            times.push_back(movie.picture.packets[index].time);
    return times;
}

std::vector<double> clicksOf(const MovieContents& movie)
{
    std::vector<std::int16_t> left;
    for (std::size_t at = 0; at + 4 <= movie.soundBytes.size(); at += 4) {
        std::int16_t sample = 0;
        std::memcpy(&sample, &movie.soundBytes[at], 2);
        left.push_back(sample);
    }
    auto times = findClicks(left);
    for (auto& time : times)
        time /= 48000;
    return times;
}

TEST_F(SoundAndPicture, StayTogetherWhateverCameraAndMicrophoneDo)
{
    // Half the time in the dark, at 15 pictures a second, with a microphone that is fast and loses 0.7 s; then at 60,
    // with another one that is slow, brings its sound two runs at a time and loses 0.12 s.
    Microphone fast(200, 0, click);
    fast.tremble = 0.010;
    play(fast, firstMicrophone, seconds * 0.2 + 1, 15);
    fast.lose(0.7);
    play(fast, firstMicrophone, seconds * 0.5 + 1, 15);
    takeSecondMicrophone();
    Microphone slow(-200, pictureTime + 0.4, click);
    slow.tremble = 0.010;
    slow.burst = 2;
    play(slow, secondMicrophone, seconds * 0.7 + 2, 60);
    slow.lose(0.12);
    play(slow, secondMicrophone, seconds + 1, 60);
    session->stopRunning();
    session->waitUntilSettled();
    dispatch_sync(queue, [] {});
    ASSERT_TRUE(recording.writer->finishWriting());
    EXPECT_EQ(delegate->refused, 0);

    const auto movie = readMovie(path);
    const auto flashes = flashesOf(movie);
    auto clicks = clicksOf(movie);
    // At the very beginning the scene flashes, but the microphone fades in.
    const auto expected = static_cast<std::size_t>(seconds / interval) + 1;
    ASSERT_EQ(flashes.size(), expected);
    if (clicks.size() == expected - 1)
        clicks.insert(clicks.begin(), 0.0);
    ASSERT_EQ(clicks.size(), expected);
    double worst = 0;
    for (std::size_t index = 1; index < expected; ++index) {
        EXPECT_NEAR(flashes[index], static_cast<double>(index) * interval, 0.0001);
        EXPECT_NEAR(clicks[index], flashes[index], 0.020) << index;
        worst = std::max(worst, std::abs(clicks[index] - flashes[index]));
    }
    RecordProperty("worst", std::to_string(worst));
    RecordProperty("last", std::to_string(clicks.back() - flashes.back()));
    EXPECT_NEAR(clicks.back(), flashes.back(), 0.010);
    EXPECT_GE(movie.sound.duration, movie.picture.packets.back().time);
    EXPECT_EQ(movie.decodingErrors, 0U);
}

}
