// What happens when the machine, or its disk, is too slow.

#include "MovieReader.h"
#include "Recording.h"

#include "Platform/AVFoundation/AVAssetWriterMovieFile.h"
#include "Platform/AVFoundation/AVAssetWriterPictureEncoder.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreVideo/CVPixelBufferPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <thread>

namespace {

constexpr std::chrono::seconds deadline { 60 };
constexpr std::int64_t interval = 33'333'333; // nanoseconds

class AVAssetWriterLoad : public ::testing::Test {
protected:
    ~AVAssetWriterLoad() override { FailPoint::disarmAll(); }

    /// Appends in real time what the input is ready for. \return how many pictures it was not ready for
    int appendInRealTime(Recording& recording, int pictures)
    {
        const auto begin = std::chrono::steady_clock::now();
        int lost = 0;
        for (int index = 0; index < pictures; ++index, ++mCount) {
            std::this_thread::sleep_until(begin + std::chrono::nanoseconds(index * interval));
            if (!recording.pictureInput->isReadyForMoreMediaData()) {
                ++lost;
                continue;
            }
            EXPECT_TRUE(recording.appendPicture(Recording::start + mCount * interval));
        }
        return lost;
    }
    /// The longest time between two pictures from \p from to \p to, in seconds.
    static double longestGap(const MovieContents& movie, double from, double to)
    {
        double longest = 0;
        for (std::size_t index = 1; index < movie.picture.packets.size(); ++index) {
            const double time = movie.picture.packets[index].time;
            if (time >= from && time <= to)
                longest = std::max(longest, time - movie.picture.packets[index - 1].time);
        }
        return longest;
    }
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/movie.mov";
    std::int64_t mCount = 0;
};

TEST_F(AVAssetWriterLoad, TheEncoderTakesStepsAndTheMovieCanBePlayedThroughThemAll)
{
    constexpr AVAssetWriterPictureEncoder::Settings settings { 320, 240, 875520, 30 };
    const auto encoder = AVAssetWriterPictureEncoder::open(settings, true, nullptr);
    ASSERT_NE(encoder, nullptr);
    const auto file = AVAssetWriterMovieFile::create(path, nullptr);
    auto format = encoder->trackFormat();
    format.transform = { 1, 0, 0, 1, 0, 0 };
    format.decoderConfiguration = encoder->decoderConfiguration();
    auto& track = file->addTrack(format);
    const auto output = [&](std::span<const std::byte> picture, std::uint64_t time, bool isKeyFrame) {
        track.appendPicture(picture, time, isKeyFrame);
    };
    std::uint64_t time = 0;
    std::size_t waiting = 8;
    const auto encodeUntil = [&](AVAssetWriterPace::Step step) {
        for (int index = 0; index < 600 && encoder->step() != step; ++index, time += 3000) {
            const auto picture = Recording::picture(320, 240, 0xFF405060, index);
            ASSERT_EQ(encoder->encode(picture, time, { waiting, 8 }, output), nullptr);
        }
        EXPECT_EQ(encoder->step(), step);
    };
    EXPECT_EQ(encoder->step(), AVAssetWriterPace::Fast);
    FailPoint::arm("AVAssetWriter.encodeSlowly", 45'000);
    encodeUntil(AVAssetWriterPace::Coarse);
    encodeUntil(AVAssetWriterPace::CoarseAndHalf);
    const auto half = time;
    waiting = 0;
    FailPoint::arm("AVAssetWriter.encodeSlowly", 11'000); // much less, but not for nothing
    encodeUntil(AVAssetWriterPace::Coarse);
    const auto whole = time;
    FailPoint::disarm("AVAssetWriter.encodeSlowly");
    encodeUntil(AVAssetWriterPace::Fast);
    ASSERT_EQ(encoder->finish(output), nullptr);
    track.endPictures(time);
    ASSERT_EQ(file->writeFragment(), nullptr);
    ASSERT_EQ(file->complete(), nullptr);

    const auto movie = readMovie(path);
    EXPECT_EQ(movie.decodingErrors, 0U);
    EXPECT_EQ(movie.decodedPictures, movie.picture.packets.size());
    EXPECT_GE(movie.pictureParameterSets.size(), 2U);
    double inHalf = 0;
    const double from = static_cast<double>(half) / 90000;
    const double to = static_cast<double>(whole) / 90000;
    for (const auto& packet : movie.picture.packets)
        inHalf += packet.time >= from && packet.time < to ? 1 : 0;
    EXPECT_NEAR(inHalf, (to - from) * 30 / 2, 1.5);
    EXPECT_NEAR(movie.duration, static_cast<double>(time) / 90000, 0.001);
}

TEST_F(AVAssetWriterLoad, AnOverloadedMachineRecordsEverySecondPictureInsteadOfStuttering)
{
    FailPoint::arm("AVAssetWriter.encodeSlowly", 45'000);
    Recording recording(path, 320, 240, true);
    recording.addPictureInput();
    ASSERT_TRUE(recording.begin());
    appendInRealTime(recording, 120);
    ASSERT_TRUE(recording.writer->finishWriting());
    ASSERT_TRUE(AVAssetWriter::waitForUnfinishedMovies(deadline));
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusCompleted);
    const auto movie = readMovie(path);
    EXPECT_EQ(movie.decodingErrors, 0U);
    EXPECT_EQ(movie.decodedPictures, movie.picture.packets.size());
    EXPECT_GE(movie.picture.packets.size(), 40U);
    // Those that are left come evenly. Were they only lost as the queue is full, most would be one interval apart.
    std::vector<double> gaps;
    for (std::size_t index = 1; index < movie.picture.packets.size(); ++index)
        if (movie.picture.packets[index].time > 2)
            gaps.push_back(movie.picture.packets[index].time - movie.picture.packets[index - 1].time);
    ASSERT_GT(gaps.size(), 10U);
    std::ranges::nth_element(gaps, gaps.begin() + static_cast<std::ptrdiff_t>(gaps.size() / 2));
    EXPECT_NEAR(gaps[gaps.size() / 2], 2.0 / 30, 0.01);
}

TEST_F(AVAssetWriterLoad, WithoutRealTimeEveryPictureIsWaitedFor)
{
    FailPoint::arm("AVAssetWriter.encodeSlowly", 45'000);
    Recording recording(path);
    recording.addPictureInput();
    ASSERT_TRUE(recording.begin());
    ASSERT_TRUE(recording.appendSeconds(2));
    ASSERT_TRUE(recording.writer->finishWriting());
    EXPECT_EQ(readMovie(path).decodedPictures, 60U);
}

TEST_F(AVAssetWriterLoad, ADiskThatStallsCostsSamplesAndNothingElse)
{
    // The surfaces are those of a pool that has as many as the one of the filter.
    constexpr std::size_t mostBuffers = 16;
    CVPixelBufferPool pool(320, 240, kCVPixelFormatType_32BGRA, nullptr);
    Recording recording(path, 320, 240, true);
    ASSERT_TRUE(recording.beginWithBoth());
    int refused = 0;
    int notReady = 0;
    std::size_t mostInUse = 0;
    const auto begin = std::chrono::steady_clock::now();
    for (std::int64_t index = 0; index < 210; ++index) {
        std::this_thread::sleep_until(begin + std::chrono::nanoseconds(index * interval));
        if (index == 60)
            FailPoint::arm("AVAssetWriter.writeSlowly", 2500, 0, 1);
        Ref<CVPixelBuffer> picture;
        if (pool.createPixelBuffer(mostBuffers, &picture) != kCVReturnSuccess) {
            ++refused;
            continue;
        }
        std::fill_n(picture->baseAddress(), picture->bytesPerRow() * picture->height(), std::byte { 0x70 });
        mostInUse = std::max(mostInUse, pool.countInUse());
        ASSERT_TRUE(recording.soundInput->isReadyForMoreMediaData()) << "seconds of sound can wait";
        EXPECT_TRUE(recording.appendSound(1600, Recording::start + index * interval));
        if (!recording.pictureInput->isReadyForMoreMediaData()) {
            ++notReady;
            continue;
        }
        EXPECT_TRUE(recording.pictureInput->appendSampleBuffer(
            Recording::pictureSample(picture, Recording::start + index * interval).get()));
    }
    EXPECT_EQ(refused, 0) << "the view would have stood still";
    EXPECT_LE(mostInUse, 10U);
    EXPECT_GT(notReady, 40);
    ASSERT_TRUE(recording.writer->finishWriting());
    ASSERT_TRUE(AVAssetWriter::waitForUnfinishedMovies(deadline));
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusCompleted);

    const auto movie = readMovie(path);
    EXPECT_EQ(movie.decodingErrors, 0U);
    EXPECT_NEAR(movie.duration, 7, 0.3);
    EXPECT_NEAR(movie.sound.duration, 7, 0.3) << "sound that waited is whole";
    EXPECT_GT(longestGap(movie, 2, 5), 1);
    EXPECT_LT(longestGap(movie, 5.5, 6.9), 0.5) << "the picture has caught up";
}

TEST_F(AVAssetWriterLoad, AStopWhileTheDiskIsSlowReturnsAndTheMovieIsCompletedBehindIt)
{
    auto recording = std::make_unique<Recording>(path, 320, 240, true);
    recording->addPictureInput();
    ASSERT_TRUE(recording->begin());
    appendInRealTime(*recording, 60);
    FailPoint::arm("AVAssetWriter.writeSlowly", 3000, 0, 1);
    EXPECT_TRUE(recording->writer->finishWriting());
    EXPECT_EQ(recording->writer->status(), AVAssetWriterStatusCompleted);
    EXPECT_FALSE(recording->writer->finishWriting());
    // As fast as it could be, it is still the movie that grew, and can be played.
    const auto early = readMovie(path);
    EXPECT_TRUE(early.isReadable);
    EXPECT_GT(early.decodedPictures, 25U);
    EXPECT_EQ(early.decodingErrors, 0U);
    EXPECT_NE(readBoxes(path).back().first, "moov");
    EXPECT_FALSE(AVAssetWriter::waitForUnfinishedMovies(std::chrono::milliseconds(0)));

    recording.reset();
    ASSERT_TRUE(AVAssetWriter::waitForUnfinishedMovies(deadline));
    EXPECT_EQ(readBoxes(path).back().first, "moov");
    EXPECT_GE(readMovie(path).decodedPictures, 50U);
}

TEST_F(AVAssetWriterLoad, AStopBeforeADeadDiskHasTakenAnythingFailsAndTheMovieIsCompletedWhenItAnswers)
{
    FailPoint::arm("AVAssetWriter.writeSlowly", 6000, 0, 1);
    auto recording = std::make_unique<Recording>(path, 320, 240, true);
    recording->addPictureInput();
    ASSERT_TRUE(recording->begin());
    appendInRealTime(*recording, 30);
    EXPECT_FALSE(recording->writer->finishWriting());
    EXPECT_EQ(recording->writer->status(), AVAssetWriterStatusFailed);
    const AutoreleasePool pool;
    EXPECT_EQ(textOf(recording->writer->error()->localizedDescription()),
        "The disk with \"" + path + "\" does not answer; the movie is completed when it does");
    EXPECT_FALSE(AVAssetWriter::waitForUnfinishedMovies(std::chrono::milliseconds(0))) << "it has not been waited for";

    recording.reset();
    ASSERT_TRUE(AVAssetWriter::waitForUnfinishedMovies(deadline));
    EXPECT_EQ(readBoxes(path).back().first, "moov");
    EXPECT_GE(readMovie(path).decodedPictures, 8U);
}

TEST_F(AVAssetWriterLoad, TheEndOfTheProgramWaitsForAMovieThatASlowDiskHolds)
{
    const std::string command = std::string(RECORDER_PROGRAM) + " " + path + " 2 0 1 320 240 2000";
    FILE* const recorder = ::popen(command.c_str(), "r");
    ASSERT_NE(recorder, nullptr);
    std::string said;
    for (char line[512]; std::fgets(line, sizeof line, recorder);)
        said += line;
    EXPECT_EQ(::pclose(recorder), 0);
    EXPECT_NE(said.find("finished 1\n"), std::string::npos) << said;
    EXPECT_EQ(readBoxes(path).back().first, "moov");
    EXPECT_GE(readMovie(path).decodedPictures, 50U);
}

TEST_F(AVAssetWriterLoad, AnotherMovieUnderTheNameIsLeftAloneByTheOneThatIsCompletedLate)
{
    Recording first(path, 320, 240, true);
    first.addPictureInput();
    ASSERT_TRUE(first.begin());
    appendInRealTime(first, 45);
    FailPoint::arm("AVAssetWriter.writeSlowly", 2000, 0, 1);
    ASSERT_TRUE(first.writer->finishWriting());
    FailPoint::disarmAll();
    const auto aside = folder.path() + "/aside.mov";
    std::filesystem::rename(path, aside);
    Recording second(path, 160, 120);
    second.addPictureInput();
    ASSERT_TRUE(second.begin());
    ASSERT_TRUE(second.appendSeconds(1));
    ASSERT_TRUE(second.writer->finishWriting());
    ASSERT_TRUE(AVAssetWriter::waitForUnfinishedMovies(deadline));
    EXPECT_EQ(readMovie(path).width, 160);
    EXPECT_EQ(readMovie(path).decodedPictures, 30U);
    EXPECT_EQ(readMovie(aside).width, 320);
    EXPECT_EQ(readBoxes(aside).back().first, "moov");
}

TEST_F(AVAssetWriterLoad, PicturesThatNobodyHasTimeForAtTheEndAreLost)
{
    FailPoint::arm("AVAssetWriter.encodeSlowly", 400'000, 10);
    Recording recording(path, 320, 240, true);
    recording.addPictureInput();
    ASSERT_TRUE(recording.begin());
    appendInRealTime(recording, 30);
    ASSERT_TRUE(recording.writer->finishWriting());
    ASSERT_TRUE(AVAssetWriter::waitForUnfinishedMovies(deadline));
    const auto movie = readMovie(path);
    EXPECT_GE(movie.decodedPictures, 9U);
    EXPECT_LE(movie.decodedPictures, 16U) << "those that waited would have taken seconds";
    EXPECT_EQ(movie.decodingErrors, 0U);
}

}
