#include "MovieReader.h"
#include "Recording.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

class AVAssetWriterTiming : public ::testing::Test {
protected:
    std::int16_t sampleAt(const MovieContents& movie, std::size_t frame, std::size_t channel = 0) const
    {
        std::int16_t sample = 0;
        std::memcpy(&sample, &movie.soundBytes.at((frame * 2 + channel) * 2), 2);
        return sample;
    }
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/movie.mov";
    Recording recording { path };
};

constexpr std::int64_t ms = 1'000'000;
constexpr std::int64_t start = Recording::start;

TEST_F(AVAssetWriterTiming, IrregularFrameTimesAreKept)
{
    recording.addPictureInput();
    ASSERT_TRUE(recording.begin());
    const std::vector<std::int64_t> times { 0, 33, 71, 90, 250, 1300, 1310 };
    for (const auto time : times)
        ASSERT_TRUE(recording.appendPicture(start + time * ms));
    ASSERT_TRUE(recording.writer->finishWriting());

    const auto movie = readMovie(path);
    ASSERT_EQ(movie.picture.packets.size(), times.size());
    for (std::size_t index = 0; index < times.size(); ++index)
        EXPECT_NEAR(movie.picture.packets[index].time, static_cast<double>(times[index]) / 1000, 0.00002);
    EXPECT_NEAR(movie.duration, 1.310 + 1.0 / 30, 0.0001);
}

TEST_F(AVAssetWriterTiming, APictureThatIsNotLaterThanTheLastIsLetGo)
{
    recording.addPictureInput();
    ASSERT_TRUE(recording.begin());
    for (const auto time : { 0, 40, 40, 20, 80 })
        EXPECT_TRUE(recording.appendPicture(start + time * ms));
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    ASSERT_EQ(movie.picture.packets.size(), 3U);
    EXPECT_NEAR(movie.picture.packets[2].time, 0.080, 0.0001);
}

TEST_F(AVAssetWriterTiming, TheFirstPictureStandsFromTheBeginningOn)
{
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSound(9600, start));
    ASSERT_TRUE(recording.appendPicture(start + 120 * ms));
    ASSERT_TRUE(recording.appendPicture(start + 150 * ms));
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    EXPECT_EQ(movie.picture.startTime, 0);
    EXPECT_EQ(movie.sound.startTime, 0);
    ASSERT_EQ(movie.picture.packets.size(), 2U);
    EXPECT_NEAR(movie.picture.packets[1].time, 0.150, 0.0001);
}

TEST_F(AVAssetWriterTiming, APictureFromBeforeTheSessionMovesToItsStart)
{
    recording.addPictureInput();
    ASSERT_TRUE(recording.begin());
    ASSERT_TRUE(recording.appendPicture(start - 10 * ms));
    ASSERT_TRUE(recording.appendPicture(start + 30 * ms));
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    ASSERT_EQ(movie.picture.packets.size(), 2U);
    EXPECT_EQ(movie.picture.packets[0].time, 0);
    EXPECT_NEAR(movie.picture.packets[1].time, 0.030, 0.0001);
}

TEST_F(AVAssetWriterTiming, SoundFromBeforeTheSessionIsCutOff)
{
    recording.addSoundInput();
    ASSERT_TRUE(recording.begin());
    ASSERT_TRUE(recording.appendSound(480, start - 30 * ms, 5000)); // wholly before
    ASSERT_TRUE(recording.appendSound(960, start - 10 * ms, 100)); // its second half counts
    ASSERT_TRUE(recording.appendSound(480, start + 10 * ms, 9000));
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    ASSERT_EQ(movie.soundBytes.size(), 960U * 4);
    EXPECT_EQ(sampleAt(movie, 0), 100 + 480);
    EXPECT_EQ(sampleAt(movie, 480), 9000);
}

TEST_F(AVAssetWriterTiming, SoundThatBeginsLateIsPrecededBySilence)
{
    recording.addSoundInput();
    ASSERT_TRUE(recording.begin());
    ASSERT_TRUE(recording.appendSound(480, start + 20 * ms, 77));
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    ASSERT_EQ(movie.soundBytes.size(), (960U + 480U) * 4);
    EXPECT_EQ(sampleAt(movie, 0), 0);
    EXPECT_EQ(sampleAt(movie, 959), 0);
    EXPECT_EQ(sampleAt(movie, 960), 77);
}

TEST_F(AVAssetWriterTiming, MissingSoundBecomesSilenceSoThatTheRestStaysInTime)
{
    recording.addSoundInput();
    ASSERT_TRUE(recording.begin());
    ASSERT_TRUE(recording.appendSound(4800, start, 1));
    ASSERT_TRUE(recording.appendSound(4800, start + 2600 * ms, 55));
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    ASSERT_EQ(movie.soundBytes.size(), 48U * 2700 * 4);
    EXPECT_EQ(sampleAt(movie, 4799), 4800);
    EXPECT_EQ(sampleAt(movie, 4800), 0);
    EXPECT_EQ(sampleAt(movie, 48 * 2600 - 1), 0);
    EXPECT_EQ(sampleAt(movie, 48 * 2600), 55);
    EXPECT_EQ(movie.duration, 2.7);
}

TEST_F(AVAssetWriterTiming, SoundThatOverlapsByMuchIsCut)
{
    recording.addSoundInput();
    ASSERT_TRUE(recording.begin());
    ASSERT_TRUE(recording.appendSound(9600, start, 1));
    ASSERT_TRUE(recording.appendSound(9600, start + 100 * ms, 1)); // 100 ms of it are there already
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    ASSERT_EQ(movie.soundBytes.size(), 14400U * 4);
    EXPECT_EQ(sampleAt(movie, 9600), 4801);
}

TEST_F(AVAssetWriterTiming, TremblingStampsNeitherCutNorFill)
{
    recording.addSoundInput();
    ASSERT_TRUE(recording.begin());
    int index = 0;
    for (const auto tremble : { 0, 30, -30, 39, -39, 0 })
        ASSERT_TRUE(recording.appendSound(4800, start + (100 * index++ + tremble) * ms));
    ASSERT_TRUE(recording.writer->finishWriting());
    EXPECT_EQ(readMovie(path).soundBytes.size(), 6U * 4800 * 4);
}

TEST_F(AVAssetWriterTiming, OneRunThatAnExactCallerLeavesOutIsMissed)
{
    recording.addSoundInput();
    ASSERT_TRUE(recording.begin());
    for (int index = 0; index < 20; ++index)
        ASSERT_TRUE(recording.appendSound(960, start + index * 20 * ms));
    ASSERT_TRUE(recording.appendSound(960, start + 21 * 20 * ms, 77));
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    ASSERT_EQ(movie.soundBytes.size(), 22U * 960 * 4);
    EXPECT_EQ(sampleAt(movie, 20 * 960), 0);
    EXPECT_EQ(sampleAt(movie, 21 * 960 - 1), 0);
    EXPECT_EQ(sampleAt(movie, 21 * 960), 77);
}

TEST_F(AVAssetWriterTiming, SoundThatIsStillOnItsWayAtTheEndBecomesSilence)
{
    ASSERT_TRUE(recording.beginWithBoth());
    for (int index = 0; index < 30; ++index) {
        Recording::waitUntilReady(*recording.pictureInput);
        ASSERT_TRUE(recording.appendPicture(start + index * 40 * ms));
        ASSERT_TRUE(index >= 28 || recording.appendSound(1920, start + index * 40 * ms));
    }
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    EXPECT_NEAR(movie.picture.duration, 29 * 0.040 + 1.0 / 30, 0.0001);
    EXPECT_GE(movie.sound.duration, movie.picture.duration - 0.00002);
    EXPECT_NEAR(movie.sound.duration, movie.picture.duration, 0.0001);
    EXPECT_EQ(sampleAt(movie, 28 * 1920), 0);
}

TEST_F(AVAssetWriterTiming, SoundThatEndedLongAgoStaysAsItIs)
{
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSound(4800, start));
    ASSERT_TRUE(recording.appendPicture(start));
    ASSERT_TRUE(recording.appendPicture(start + 6000 * ms));
    ASSERT_TRUE(recording.writer->finishWriting());
    EXPECT_EQ(readMovie(path).soundBytes.size(), 4800U * 4);
}

TEST_F(AVAssetWriterTiming, ADriftingSoundClockIsFollowed)
{
    // Half a per cent slow for 20 s, which makes 100 ms.
    ASSERT_TRUE(recording.beginWithBoth());
    for (int index = 0; index < 200; ++index) {
        Recording::waitUntilReady(*recording.soundInput);
        Recording::waitUntilReady(*recording.pictureInput);
        ASSERT_TRUE(recording.appendSound(4800, start + index * 100'500'000LL));
        ASSERT_TRUE(recording.appendPicture(start + index * 100'500'000LL));
    }
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    EXPECT_NEAR(movie.sound.duration, 20.1, 0.041);
    EXPECT_NEAR(movie.picture.packets.back().time, 199 * 0.1005, 0.001);
}

}
