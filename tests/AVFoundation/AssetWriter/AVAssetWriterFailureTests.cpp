#include "MovieReader.h"
#include "Recording.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdio>
#include <fstream>

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class AVAssetWriterFailure : public ::testing::Test {
protected:
    ~AVAssetWriterFailure() override { FailPoint::disarmAll(); }

    /// Appends until that fails; the append that does has to say so.
    bool appendUntilItFails(Recording& recording, double seconds)
    {
        for (double done = 0; done < seconds; done += 0.1)
            if (!recording.appendSeconds(0.1))
                return true;
        return false;
    }
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/movie.mov";
};

template <class Action> std::string exceptionOf(const Action& action)
{
    try {
        action();
    } catch (const NSException& exception) {
        return exception.name();
    }
    return "";
}

TEST_F(AVAssetWriterFailure, AWriterNeedsAURLAndTheOneFileType)
{
    Ref<NSError> error;
    EXPECT_EQ(AVAssetWriter::initWithURL_fileType_error(nullptr, kUTTypeQuickTimeMovie, &error), nullptr);
    EXPECT_NE(error, nullptr);
    const auto url = make<NSURL>(path);
    error = nullptr;
    EXPECT_EQ(AVAssetWriter::initWithURL_fileType_error(url, CFSTR("text/plain"), &error), nullptr);
    EXPECT_NE(error, nullptr);
    EXPECT_NE(AVAssetWriter::initWithURL_fileType_error(url, kUTTypeQuickTimeMovie, &error), nullptr);
    EXPECT_EQ(error, nullptr);
    FailPoint::arm("AVAssetWriter.initWithURL:fileType:error:", -5);
    EXPECT_EQ(AVAssetWriter::initWithURL_fileType_error(url, kUTTypeQuickTimeMovie, &error), nullptr);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code(), -5);
}

TEST_F(AVAssetWriterFailure, OperationsOutOfOrderThrow)
{
    Recording recording(path);
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusUnknown);
    EXPECT_FALSE(recording.writer->finishWriting());
    EXPECT_EQ(exceptionOf([&] { recording.writer->startWriting(); }), NSInternalInconsistencyException);
    EXPECT_EQ(exceptionOf([&] { recording.writer->addInput(nullptr); }), NSInvalidArgumentException);
    recording.addPictureInput();
    EXPECT_FALSE(recording.writer->canAddInput(recording.pictureInput));
    EXPECT_EQ(exceptionOf([&] { recording.writer->addInput(recording.pictureInput); }), NSInvalidArgumentException);
    EXPECT_EQ(exceptionOf([&] { recording.appendPicture(0); }), NSInternalInconsistencyException);
    EXPECT_EQ(exceptionOf([&] { recording.writer->startSessionAtSourceTime(kCMTimeZero); }),
        NSInternalInconsistencyException);

    ASSERT_TRUE(recording.writer->startWriting());
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusWriting);
    EXPECT_EQ(exceptionOf([&] { recording.writer->startWriting(); }), NSInternalInconsistencyException);
    EXPECT_EQ(exceptionOf([&] { recording.appendPicture(0); }), NSInternalInconsistencyException);
    EXPECT_EQ(exceptionOf([&] { recording.pictureInput->setExpectsMediaDataInRealTime(false); }),
        NSInternalInconsistencyException);
    EXPECT_EQ(
        exceptionOf([&] { recording.writer->startSessionAtSourceTime(kCMTimeInvalid); }), NSInvalidArgumentException);
    recording.writer->startSessionAtSourceTime(kCMTimeZero);
    EXPECT_EQ(exceptionOf([&] { recording.writer->startSessionAtSourceTime(kCMTimeZero); }),
        NSInternalInconsistencyException);
    EXPECT_TRUE(recording.appendPicture(0));
    EXPECT_TRUE(recording.writer->finishWriting());
    EXPECT_FALSE(recording.appendPicture(1));
    EXPECT_FALSE(recording.writer->finishWriting());
}

TEST_F(AVAssetWriterFailure, AFileThatExistsIsNotReplaced)
{
    std::ofstream(path) << "precious";
    Recording recording(path);
    EXPECT_FALSE(recording.beginWithBoth());
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusFailed);
    EXPECT_EQ(recording.errorText(), "Cannot create the movie \"" + path + "\": File exists");
    EXPECT_FALSE(recording.writer->startWriting());
    EXPECT_TRUE(recording.writer->finishWriting()) << "all that there is to tell has been told";
    EXPECT_EQ(std::filesystem::file_size(path), 8U);
}

TEST_F(AVAssetWriterFailure, AFolderThatHasTheNameIsSaidToBeOneAndStays)
{
    std::filesystem::create_directory(path);
    Recording recording(path);
    EXPECT_FALSE(recording.beginWithBoth());
    EXPECT_EQ(recording.errorText(), "Cannot create the movie \"" + path + "\": Is a directory");
    EXPECT_TRUE(std::filesystem::is_directory(path));
}

TEST_F(AVAssetWriterFailure, AFolderThatIsNotThereFailsTheStart)
{
    Recording recording(folder.path() + "/missing/movie.mov");
    EXPECT_FALSE(recording.beginWithBoth());
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusFailed);
    EXPECT_THAT(recording.errorText(), HasSubstr("No such file or directory"));
}

TEST_F(AVAssetWriterFailure, AFolderThatVanishesFailsAnAppendAndLeavesNoMovie)
{
    const auto subfolder = folder.path() + "/sub";
    std::filesystem::create_directory(subfolder);
    Recording recording(subfolder + "/movie.mov");
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSeconds(1));
    std::filesystem::remove_all(subfolder);
    EXPECT_TRUE(appendUntilItFails(recording, 10));
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusFailed);
    EXPECT_EQ(
        recording.errorText(), "Cannot write the movie \"" + subfolder + "/movie.mov\": No such file or directory");
    EXPECT_TRUE(recording.writer->finishWriting()) << "all that there is to tell has been told";
    EXPECT_FALSE(std::filesystem::exists(subfolder));
}

TEST_F(AVAssetWriterFailure, AFullDiskFailsAnAppendAndLeavesWhatWasWritten)
{
    FailPoint::arm("AVAssetWriter.writeFragment", ENOSPC, 7); // the beginning and six fragments go well
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    EXPECT_TRUE(appendUntilItFails(recording, 30));
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusFailed);
    EXPECT_EQ(recording.errorText(), "Cannot write the movie \"" + path + "\": No space left on device");
    EXPECT_TRUE(recording.writer->finishWriting());
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusFailed);

    const auto movie = readMovie(path);
    ASSERT_TRUE(movie.isReadable);
    EXPECT_NEAR(movie.duration, 2, 0.3);
    EXPECT_GE(movie.decodedPictures, 50U);
    EXPECT_EQ(movie.decodingErrors, 0U);
    EXPECT_EQ(readBoxes(path).back().first, "moov");
}

TEST_F(AVAssetWriterFailure, AFileThatMayNotGrowFurtherCanBePlayedUpToThere)
{
    const std::string command = std::string(RECORDER_PROGRAM) + " " + path + " 30 1000000 0";
    FILE* const recorder = ::popen(command.c_str(), "r");
    ASSERT_NE(recorder, nullptr);
    std::string said;
    for (char line[512]; std::fgets(line, sizeof line, recorder);)
        if (!std::string_view(line).starts_with("recorded") && !std::string_view(line).starts_with("took"))
            said += line;
    EXPECT_EQ(::pclose(recorder), 0);
    EXPECT_EQ(said, "status 3 error Cannot write the movie \"" + path + "\": File too large\nfinished 1\n");
    EXPECT_LE(std::filesystem::file_size(path), 1000000U);
    const auto movie = readMovie(path);
    ASSERT_TRUE(movie.isReadable);
    EXPECT_GE(movie.decodedPictures, 60U);
    EXPECT_EQ(movie.decodingErrors, 0U);
}

TEST_F(AVAssetWriterFailure, AnEncoderThatDoesNotOpenFailsTheStartAndLeavesNoFile)
{
    FailPoint::arm("AVAssetWriter.openEncoder", -ENOMEM);
    Recording recording(path);
    EXPECT_FALSE(recording.beginWithBoth());
    EXPECT_THAT(recording.errorText(), StartsWith("Cannot open an H.264 encoder: Cannot allocate memory"));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(AVAssetWriterFailure, AnEncoderThatFailsLaterFailsAnAppendAndLeavesWhatWasEncoded)
{
    FailPoint::arm("AVAssetWriter.encode", -EIO, 45);
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    EXPECT_TRUE(appendUntilItFails(recording, 10));
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusFailed);
    EXPECT_THAT(recording.errorText(), HasSubstr("Input/output error"));
    EXPECT_FALSE(recording.appendPicture(Recording::start + 20'000'000'000));
    EXPECT_TRUE(recording.writer->finishWriting());
    EXPECT_GE(readMovie(path).decodedPictures, 44U); // the encoder may keep one back until the next comes
}

TEST_F(AVAssetWriterFailure, WhatCannotBeConvertedFailsTheAppend)
{
    FailPoint::arm("AVAssetWriter.convertPicture");
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    EXPECT_TRUE(appendUntilItFails(recording, 10));
    EXPECT_THAT(recording.errorText(), StartsWith("Cannot convert a picture"));
}

TEST_F(AVAssetWriterFailure, AMovieWhoseIndexCannotBeWrittenStaysAsItGrew)
{
    FailPoint::arm("AVAssetWriter.completeFile", ENOSPC);
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSeconds(1));
    EXPECT_TRUE(recording.writer->finishWriting());
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusFailed);
    EXPECT_EQ(readBoxes(path).back().first, "mdat");
    EXPECT_EQ(readMovie(path).decodedPictures, 30U);
}

TEST_F(AVAssetWriterFailure, AMovieWithoutSamplesLeavesNoFile)
{
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    EXPECT_FALSE(recording.writer->finishWriting());
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusFailed);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(recording.writer->finishWriting()) << "told the first time";
}

TEST_F(AVAssetWriterFailure, SoundInAnotherFormatThanTheTracksFailsTheAppend)
{
    Recording recording(path);
    ASSERT_TRUE(recording.beginWithBoth());
    const auto format = Recording::soundFormat(44100);
    EXPECT_FALSE(recording.soundInput->appendSampleBuffer(
        Recording::soundSample(Recording::counting(441, 0), Recording::start, format).get()));
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusFailed);
    EXPECT_EQ(recording.errorText(), "The sample holds no sound in the format of the track");
}

TEST_F(AVAssetWriterFailure, EachOperationCanBeMadeToFail)
{
    Recording recording(path);
    FailPoint::arm("AVAssetWriter.canApplyOutputSettings:forMediaType:");
    EXPECT_FALSE(recording.writer->canApplyOutputSettings_forMediaType(nullptr, AVMediaTypeAudio));
    FailPoint::arm("AVAssetWriter.canAddInput:");
    const auto input = make<AVAssetWriterInput>(AVMediaTypeAudio, nullptr);
    EXPECT_FALSE(recording.writer->canAddInput(input));
    FailPoint::disarmAll();
    EXPECT_TRUE(recording.writer->canApplyOutputSettings_forMediaType(nullptr, AVMediaTypeAudio));
    EXPECT_TRUE(recording.writer->canAddInput(input));

    ASSERT_TRUE(recording.beginWithBoth());
    FailPoint::arm("AVAssetWriterInput.isReadyForMoreMediaData");
    EXPECT_FALSE(recording.pictureInput->isReadyForMoreMediaData());
    EXPECT_EQ(exceptionOf([&] { recording.appendPicture(Recording::start); }), NSInternalInconsistencyException);
    FailPoint::disarmAll();
    ASSERT_TRUE(recording.appendSeconds(1));
    FailPoint::arm("AVAssetWriter.finishWriting");
    EXPECT_FALSE(recording.writer->finishWriting());
    FailPoint::disarmAll();
    FailPoint::arm("AVAssetWriterInput.appendSampleBuffer:", -9);
    EXPECT_FALSE(recording.appendPicture(Recording::start + 9'000'000'000));
    EXPECT_EQ(recording.writer->error()->code(), -9);
    FailPoint::disarmAll();
    EXPECT_TRUE(recording.writer->finishWriting());

    Recording another(folder.path() + "/another.mov");
    FailPoint::arm("AVAssetWriter.startWriting", -7);
    EXPECT_FALSE(another.beginWithBoth());
    EXPECT_EQ(another.writer->error()->code(), -7);
    Recording third(folder.path() + "/third.mov");
    FailPoint::disarmAll();
    FailPoint::arm("AVAssetWriter.createFile", EACCES);
    EXPECT_FALSE(third.beginWithBoth());
    EXPECT_THAT(third.errorText(), HasSubstr("Permission denied"));
}

}
