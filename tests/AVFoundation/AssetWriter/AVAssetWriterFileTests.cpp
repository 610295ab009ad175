#include "Platform/AVFoundation/AVAssetWriterMovieFile.h"

#include "MovieReader.h"
#include "Recording.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

bool contains(const AVAssetWriterBoxBuffer& boxes, std::string_view type)
{
    const auto contents = boxes.contents();
    const std::string_view text(reinterpret_cast<const char*>(contents.data()), contents.size());
    return text.find(type) != std::string_view::npos;
}

TEST(AVAssetWriterTrack, OffsetsBeyondFourGigabytesTakeTheLongTable)
{
    AVAssetWriterTrack track(1, Recording::soundFormat());
    const std::vector<std::byte> sound(400);
    track.appendSound(sound, 100);
    track.pendingWereWritten(1000);
    AVAssetWriterBoxBuffer small;
    track.writeTrack(small, track.duration(), true);
    EXPECT_TRUE(contains(small, "stco"));

    track.appendSound(sound, 100);
    track.pendingWereWritten(std::uint64_t { 5 } << 30);
    AVAssetWriterBoxBuffer large;
    track.writeTrack(large, track.duration(), true);
    EXPECT_TRUE(contains(large, "co64"));
    EXPECT_FALSE(contains(large, "stco"));
}

TEST(AVAssetWriterTrack, TheNewestPictureWaitsForItsDuration)
{
    AVAssetWriterTrack track(1, AVAssetWriterTrack::PictureFormat {});
    track.appendPicture(std::vector<std::byte>(10), 0, true);
    EXPECT_FALSE(track.hasPendingSamples());
    track.appendPicture(std::vector<std::byte>(20), 3000, false);
    EXPECT_EQ(track.pendingBytes().size(), 10U);
    EXPECT_NEAR(track.pendingSeconds(), 3000.0 / 90000, 1e-9);
    track.pendingWereWritten(0);
    EXPECT_EQ(track.duration(), 3000U);
    EXPECT_FALSE(track.hasPendingSamples());
    track.endPictures(5000);
    EXPECT_EQ(track.pendingBytes().size(), 20U);
    track.pendingWereWritten(0);
    EXPECT_EQ(track.duration(), 5000U);
}

TEST(AVAssetWriterTrack, TheIndexIsNeverLargerThanTheRoomKeptForIt)
{
    AVAssetWriterTrack track(1, AVAssetWriterTrack::PictureFormat {});
    std::uint64_t time = 0;
    for (int frame = 0; frame < 5000; ++frame) {
        track.appendPicture(std::vector<std::byte>(3), time, true);
        time += static_cast<std::uint64_t>(3000 + frame % 7); // no two durations in a row are equal
        track.endPictures(time);
        if (frame % 3 != 1)
            track.pendingWereWritten(std::uint64_t { 5 } << 30);
    }
    AVAssetWriterBoxBuffer boxes;
    track.writeTrack(boxes, time, true);
    EXPECT_LE(boxes.size(), track.indexSizeBound());
    EXPECT_GT(boxes.size(), track.indexSizeBound() / 2);
}

TEST(AVAssetWriterMovieFile, WhatWasReservedIsGivenBack)
{
    const TemporaryFolder folder;
    const auto path = folder.path() + "/movie.mov";
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSeconds(2));
    ASSERT_TRUE(recording.writer->finishWriting());
    struct stat status { };
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_LT(status.st_blocks * 512, status.st_size + (1 << 20));
}

TEST(AVAssetWriterMovieFile, FinishingALongMovieOnlyAddsItsIndex)
{
    // An hour in small pieces: the index is all that is written at the end.
    const TemporaryFolder folder;
    const auto path = folder.path() + "/movie.mov";
    Ref<NSError> error;
    const auto file = AVAssetWriterMovieFile::create(path, &error);
    ASSERT_NE(file, nullptr);
    AVAssetWriterTrack::PictureFormat format;
    format.width = format.height = 16;
    format.transform = { 1, 0, 0, 1, 0, 0 };
    for (const int byte : { 1, 66, 192, 30, 0xFF, 0xE1, 0, 9, 0x67, 0x42, 0xC0, 0x1E, 0xDA, 0x02, 0x80, 0xBF, 0xE5, 1,
             0, 4, 0x68, 0xCE, 0x3C, 0x80 })
        format.decoderConfiguration.push_back(static_cast<std::byte>(byte));
    auto& picture = file->addTrack(format);
    auto& sound = file->addTrack(AudioStreamBasicDescription { 100, kAudioFormatLinearPCM, 0xC, 2, 1, 2, 1, 16 });
    for (std::uint64_t frame = 0; frame < 3600 * 30; ++frame) {
        picture.appendPicture(std::vector<std::byte>(5), frame * 3000, frame % 30 == 0);
        if (frame % 15 != 14)
            continue;
        sound.appendSound(std::vector<std::byte>(100), 50);
        ASSERT_EQ(file->writeFragment(), nullptr);
    }
    picture.endPictures(3600 * 90000);
    ASSERT_EQ(file->writeFragment(), nullptr);
    const auto before = std::filesystem::file_size(path);
    ASSERT_EQ(file->complete(), nullptr);

    const auto boxes = readBoxes(path);
    ASSERT_EQ(boxes.size(), 3U);
    EXPECT_EQ(boxes[2].first, "moov");
    EXPECT_EQ(before + boxes[2].second, std::filesystem::file_size(path));
    EXPECT_LT(boxes[2].second, 3600U * 30 * 6);
    const auto movie = readMovie(path);
    EXPECT_EQ(movie.duration, 3600);
    EXPECT_EQ(movie.picture.packets.size(), 3600U * 30);
    EXPECT_EQ(movie.sound.duration, 3600);
}

}
