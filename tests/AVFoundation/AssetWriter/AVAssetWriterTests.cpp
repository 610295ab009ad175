#include "MovieReader.h"
#include "Recording.h"

#include "Platform/CoreGraphics/CGGeometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace {

class AVAssetWriterMovie : public ::testing::Test {
protected:
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/movie.mov";
};

std::vector<std::string> typesOf(const std::vector<std::pair<std::string, std::uint64_t>>& boxes)
{
    std::vector<std::string> types;
    for (const auto& [type, size] : boxes)
        types.push_back(type);
    return types;
}

TEST_F(AVAssetWriterMovie, AFinishedMovieHoldsBothMediaAsTheSettingsSay)
{
    Recording recording(path, 640, 360);
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSeconds(3));
    EXPECT_TRUE(recording.writer->finishWriting());
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusCompleted);
    EXPECT_EQ(recording.writer->error(), nullptr);

    const auto movie = readMovie(path);
    ASSERT_TRUE(movie.isReadable);
    EXPECT_NEAR(movie.duration, 3, 0.001);
    EXPECT_EQ(movie.picture.codec, "h264");
    EXPECT_EQ(movie.width, 640);
    EXPECT_EQ(movie.height, 360);
    EXPECT_EQ(movie.picture.packets.size(), 90U);
    EXPECT_EQ(movie.decodedPictures, 90U);
    EXPECT_EQ(movie.decodingErrors, 0U);
    EXPECT_EQ(movie.sound.codec, "pcm_s16le");
    EXPECT_EQ(movie.sampleRate, 48000);
    EXPECT_EQ(movie.channels, 2);
    EXPECT_EQ(movie.picture.startTime, 0);
    EXPECT_EQ(movie.sound.startTime, 0);
    EXPECT_NEAR(movie.picture.duration, 3, 0.001);
    EXPECT_EQ(movie.sound.duration, 3);
}

TEST_F(AVAssetWriterMovie, KeyFramesAreAtMostAsFarApartAsTheSettingsSay)
{
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSeconds(4));
    ASSERT_TRUE(recording.writer->finishWriting());

    int sinceKeyFrame = 0;
    int longest = 0;
    const auto movie = readMovie(path);
    ASSERT_FALSE(movie.picture.packets.empty());
    EXPECT_TRUE(movie.picture.packets.front().isKeyFrame);
    for (const auto& packet : movie.picture.packets) {
        sinceKeyFrame = packet.isKeyFrame ? 0 : sinceKeyFrame + 1;
        longest = std::max(longest, sinceKeyFrame + 1);
    }
    EXPECT_EQ(longest, 30);
}

TEST_F(AVAssetWriterMovie, AFinishedMovieIsAnOrdinaryOne)
{
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSeconds(2));
    ASSERT_TRUE(recording.writer->finishWriting());
    EXPECT_EQ(typesOf(readBoxes(path)), (std::vector<std::string> { "ftyp", "mdat", "moov" }));
}

/// Waits until the writing thread has put another fragment into the file.
void waitForLength(const std::string& path, std::size_t length)
{
    for (int turn = 0; turn < 10000 && std::filesystem::file_size(path) < length; ++turn)
        ::usleep(1000);
}

TEST_F(AVAssetWriterMovie, AGrowingMovieCanBePlayedUpToItsLastHalfSecond)
{
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSeconds(3));
    waitForLength(path, 2.4 * 48000 * 4);

    const auto copy = folder.path() + "/copy.mov";
    std::filesystem::copy_file(path, copy);
    const auto types = typesOf(readBoxes(copy));
    EXPECT_EQ(types[0] + types[1] + types[2] + types[3] + types[4], "ftypwidemoovmoofmdat");
    const auto movie = readMovie(copy);
    ASSERT_TRUE(movie.isReadable);
    EXPECT_GE(movie.decodedPictures, 70U);
    EXPECT_EQ(movie.decodingErrors, 0U);
    EXPECT_GE(movie.soundBytes.size(), 2.4 * 48000 * 4);
    EXPECT_TRUE(recording.writer->finishWriting());
}

TEST_F(AVAssetWriterMovie, FinishingChangesSixteenBytesAndAddsTheRest)
{
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSeconds(3));
    waitForLength(path, 2.4 * 48000 * 4);
    const auto before = readBytes(path);
    ASSERT_TRUE(recording.writer->finishWriting());

    const auto after = readBytes(path);
    ASSERT_GT(after.size(), before.size());
    EXPECT_TRUE(std::equal(before.begin(), before.begin() + 20, after.begin()));
    EXPECT_FALSE(std::equal(before.begin() + 20, before.begin() + 36, after.begin() + 20));
    EXPECT_TRUE(std::equal(before.begin() + 36, before.end(), after.begin() + 36));
}

TEST_F(AVAssetWriterMovie, ColoursAreThoseOfTheirTags)
{
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    for (int index = 0; index < 3; ++index)
        ASSERT_TRUE(recording.appendPicture(Recording::start + index * 40'000'000, 0xFFFF0000));
    ASSERT_TRUE(recording.writer->finishWriting());

    const auto movie = readMovie(path);
    EXPECT_EQ(movie.primaries, 1);
    EXPECT_EQ(movie.transfer, 1);
    EXPECT_EQ(movie.matrix, 1);
    EXPECT_EQ(movie.range, 1); // limited
    ASSERT_EQ(movie.middles.size(), 3U);
    // Pure red by BT.709, limited range.
    EXPECT_NEAR(movie.middles[0][0], 63, 2);
    EXPECT_NEAR(movie.middles[0][1], 102, 2);
    EXPECT_NEAR(movie.middles[0][2], 240, 2);
}

TEST_F(AVAssetWriterMovie, ColoursComeBackWithinThreeOf255)
{
    constexpr std::size_t side = 32;
    constexpr std::size_t columns = 20;
    constexpr std::size_t rows = 11;
    const auto colourOf = [](std::size_t number) {
        constexpr std::array<std::uint32_t, 6> levels { 0, 51, 102, 153, 204, 255 };
        return std::array { levels[number % 6], levels[number / 6 % 6], levels[number / 36 % 6] }; // blue, green, red
    };
    auto picture = Recording::picture(columns * side, rows * side, 0, 0);
    for (std::size_t y = 0; y < picture->height(); ++y) {
        auto* const row = reinterpret_cast<std::uint32_t*>(picture->baseAddress() + y * picture->bytesPerRow());
        for (std::size_t x = 0; x < picture->width(); ++x) {
            const auto [blue, green, red] = colourOf(y / side * columns + x / side);
            row[x] = 0xFF000000 | red << 16 | green << 8 | blue;
        }
    }
    Recording recording(path, columns * side, rows * side);
    recording.addPictureInput();
    ASSERT_TRUE(recording.begin());
    for (int index = 0; index < 5; ++index)
        ASSERT_TRUE(recording.pictureInput->appendSampleBuffer(
            Recording::pictureSample(picture, Recording::start + index * 40'000'000).get()));
    ASSERT_TRUE(recording.writer->finishWriting());

    // Back by ITU-R BT.709-6, 3.2 to 3.5, limited range, as the file's tags say.
    const auto movie = readMovie(path);
    ASSERT_EQ(movie.lastPlanes[0].size(), columns * side * rows * side);
    for (std::size_t number = 0; number < columns * rows; ++number) {
        const std::size_t x = number % columns * side + side / 2;
        const std::size_t y = number / columns * side + side / 2;
        const double brightness = (movie.lastPlanes[0][y * columns * side + x] - 16) / 219.0;
        const std::size_t half = y / 2 * columns * side / 2 + x / 2;
        const double red = brightness + 1.5748 * (movie.lastPlanes[2][half] - 128) / 224.0;
        const double blue = brightness + 1.8556 * (movie.lastPlanes[1][half] - 128) / 224.0;
        const double green = (brightness - 0.2126 * red - 0.0722 * blue) / 0.7152;
        const auto expected = colourOf(number);
        EXPECT_NEAR(255 * blue, expected[0], 3) << number;
        EXPECT_NEAR(255 * green, expected[1], 3) << number;
        EXPECT_NEAR(255 * red, expected[2], 3) << number;
    }
}

TEST_F(AVAssetWriterMovie, SoundComesBackBitForBit)
{
    Recording recording(path);
    recording.addSoundInput();
    ASSERT_TRUE(recording.begin());
    const auto samples = Recording::counting(24000, -7000);
    ASSERT_TRUE(recording.soundInput->appendSampleBuffer(Recording::soundSample(samples, Recording::start).get()));
    ASSERT_TRUE(recording.writer->finishWriting());

    const auto movie = readMovie(path);
    ASSERT_EQ(movie.soundBytes.size(), samples.size() * 2);
    EXPECT_EQ(std::memcmp(movie.soundBytes.data(), samples.data(), movie.soundBytes.size()), 0);
    EXPECT_TRUE(movie.picture.codec.empty());
}

TEST_F(AVAssetWriterMovie, ManyChannelsAtAHighRateAreWrittenToo)
{
    Recording recording(path);
    recording.addSoundInput(Recording::soundSettings(96000, 6));
    ASSERT_TRUE(recording.begin());
    const auto samples = Recording::counting(9600, 3, 6);
    const auto format = Recording::soundFormat(96000, 6);
    ASSERT_TRUE(
        recording.soundInput->appendSampleBuffer(Recording::soundSample(samples, Recording::start, format).get()));
    ASSERT_TRUE(recording.writer->finishWriting());

    const auto movie = readMovie(path);
    EXPECT_EQ(movie.sound.codec, "pcm_s16le");
    EXPECT_EQ(movie.sampleRate, 96000);
    EXPECT_EQ(movie.channels, 6);
    ASSERT_EQ(movie.soundBytes.size(), samples.size() * 2);
    EXPECT_EQ(std::memcmp(movie.soundBytes.data(), samples.data(), movie.soundBytes.size()), 0);
}

TEST_F(AVAssetWriterMovie, SoundWithoutSettingsIsWrittenAsItComes)
{
    Recording recording(path);
    recording.addPictureInput();
    recording.addSoundInput(nullptr);
    ASSERT_TRUE(recording.begin());
    constexpr AudioStreamBasicDescription floats { 44100, kAudioFormatLinearPCM, 9, 4, 1, 4, 1, 32 };
    const std::vector<std::int16_t> samples(2 * 22050, 0x3F00); // 0.5 and a little, 22050 times
    ASSERT_TRUE(recording.appendPicture(Recording::start));
    ASSERT_TRUE(
        recording.soundInput->appendSampleBuffer(Recording::soundSample(samples, Recording::start, floats).get()));
    ASSERT_TRUE(recording.writer->finishWriting());

    const auto movie = readMovie(path);
    EXPECT_EQ(movie.sound.codec, "pcm_f32le");
    EXPECT_EQ(movie.sampleRate, 44100);
    EXPECT_EQ(movie.sound.duration, 0.5);
    EXPECT_EQ(movie.decodedPictures, 1U);
}

TEST_F(AVAssetWriterMovie, AnOddSizeLosesItsLastRowAndColumn)
{
    Recording recording(path, 639, 479);
    recording.addPictureInput();
    ASSERT_TRUE(recording.begin());
    ASSERT_TRUE(recording.appendPicture(Recording::start));
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    EXPECT_EQ(movie.width, 638);
    EXPECT_EQ(movie.height, 478);
    EXPECT_EQ(movie.decodedPictures, 1U);
}

TEST_F(AVAssetWriterMovie, APictureOfAnotherSizeIsScaled)
{
    Recording recording(path, 320, 240);
    recording.addPictureInput();
    ASSERT_TRUE(recording.begin());
    const auto large = Recording::picture(800, 600, 0xFF0000FF, 0);
    ASSERT_TRUE(recording.pictureInput->appendSampleBuffer(Recording::pictureSample(large, Recording::start).get()));
    ASSERT_TRUE(recording.writer->finishWriting());
    const auto movie = readMovie(path);
    EXPECT_EQ(movie.width, 320);
    ASSERT_EQ(movie.middles.size(), 1U);
    EXPECT_NEAR(movie.middles[0][1], 240, 2); // pure blue
}

TEST_F(AVAssetWriterMovie, AnInputIsNotReadyWhileTheEncoderIsBehindAndReadyAgainLater)
{
    Recording recording(path, 1280, 720);
    recording.addPictureInput();
    ASSERT_TRUE(recording.begin());
    // Noise after other noise is the most work for an encoder and no more than anything else for those who append it.
    const Ref<CVPixelBuffer> noise[] { Recording::noise(1280, 720, 1), Recording::noise(1280, 720, 2) };
    std::int64_t appended = 0;
    while (recording.pictureInput->isReadyForMoreMediaData() && appended < 200) {
        const auto& picture = noise[appended % 2];
        ASSERT_TRUE(recording.pictureInput->appendSampleBuffer(
            Recording::pictureSample(picture, Recording::start + appended * 33'000'000).get()));
        ++appended;
    }
    EXPECT_GE(appended, 8);
    EXPECT_LT(appended, 200);
    Recording::waitUntilReady(*recording.pictureInput);
    EXPECT_TRUE(recording.pictureInput->isReadyForMoreMediaData());
    ASSERT_TRUE(recording.writer->finishWriting());
    EXPECT_EQ(readMovie(path).picture.packets.size(), static_cast<std::size_t>(appended));
}

TEST_F(AVAssetWriterMovie, AWriterThatIsDroppedLeavesAWholeMovie)
{
    {
        Recording recording(path);
        ASSERT_TRUE(recording.beginWithBoth());
        ASSERT_TRUE(recording.appendSeconds(1));
    }
    EXPECT_EQ(typesOf(readBoxes(path)), (std::vector<std::string> { "ftyp", "mdat", "moov" }));
    EXPECT_EQ(readMovie(path).decodedPictures, 30U);
}

TEST_F(AVAssetWriterMovie, ACancelledMovieIsGone)
{
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSeconds(1));
    recording.writer->cancelWriting();
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusCancelled);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(recording.writer->finishWriting());
}

TEST_F(AVAssetWriterMovie, TheTransformReachesTheTrack)
{
    Recording recording(path);
    recording.addPictureInput();
    recording.pictureInput->setTransform(CGAffineTransform { 0, 1, -1, 0, 240, 0 });
    ASSERT_TRUE(recording.begin());
    ASSERT_TRUE(recording.appendPicture(Recording::start));
    ASSERT_TRUE(recording.writer->finishWriting());
    EXPECT_NEAR(std::abs(readMovie(path).rotation), 90, 0.01);
}

}
