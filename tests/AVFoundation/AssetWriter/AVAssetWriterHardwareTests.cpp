#include "Platform/AVFoundation/AVAssetWriterHardware.h"

#include "MovieReader.h"
#include "Recording.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

using std::chrono::milliseconds;

class AVAssetWriterHardwareTest : public ::testing::Test {
protected:
    ~AVAssetWriterHardwareTest() override { FailPoint::disarmAll(); }

    /// A program that does what a driver could.
    std::string program(const std::string& commands) const
    {
        const auto file = folder.path() + "/probe";
        std::ofstream(file) << "#!/bin/sh\n"
                            << "echo \"$@\" >>" << folder.path() << "/calls\n"
                            << commands << "\n";
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        return file;
    }
    std::string calls() const
    {
        std::ifstream file(folder.path() + "/calls");
        return { std::istreambuf_iterator<char>(file), {} };
    }
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/movie.mov";
    static constexpr milliseconds deadline { 60000 };
};

TEST_F(AVAssetWriterHardwareTest, TheFirstCandidateThatWorksIsTakenAndRemembered)
{
    AVAssetWriterHardware hardware(
        { { "one", "/dev/a" }, { "two", "/dev/b" }, { "three", "" } }, program("[ $1 = two ]"), deadline);
    EXPECT_FALSE(hardware.found());
    EXPECT_FALSE(hardware.waitUntilKnown(milliseconds(0))) << "nobody has begun";
    hardware.begin();
    hardware.begin();
    ASSERT_TRUE(hardware.waitUntilKnown(deadline));
    ASSERT_TRUE(hardware.found());
    EXPECT_EQ(hardware.found()->name, "two");
    EXPECT_EQ(hardware.found()->device, "/dev/b");
    hardware.begin();
    EXPECT_EQ(calls(), "one /dev/a\ntwo /dev/b\n");
    hardware.forget();
    EXPECT_FALSE(hardware.found());
}

TEST_F(AVAssetWriterHardwareTest, ADriverThatCrashesTakesOnlyTheProbeAlong)
{
    AVAssetWriterHardware hardware({ { "broken", "" } }, program("kill -SEGV $$"), deadline);
    hardware.begin();
    ASSERT_TRUE(hardware.waitUntilKnown(deadline));
    EXPECT_FALSE(hardware.found());
    EXPECT_EQ(calls(), "broken \n");
}

TEST_F(AVAssetWriterHardwareTest, ADriverThatHangsIsGivenUpAndTheNextOneTried)
{
    AVAssetWriterHardware hardware(
        { { "hangs", "" }, { "works", "" } }, program("[ $1 = works ] || exec sleep 1000"), milliseconds(500));
    hardware.begin();
    ASSERT_TRUE(hardware.waitUntilKnown(deadline));
    ASSERT_TRUE(hardware.found());
    EXPECT_EQ(hardware.found()->name, "works");
}

TEST_F(AVAssetWriterHardwareTest, TheEndOfTheProgramDoesNotWaitForADriverThatHangs)
{
    AVAssetWriterHardware hardware({ { "hangs", "" } }, program("exec sleep 1000"), deadline);
    hardware.begin();
    hardware.stop();
    EXPECT_TRUE(hardware.waitUntilKnown(milliseconds(0)));
    EXPECT_FALSE(hardware.found());
}

TEST_F(AVAssetWriterHardwareTest, WithoutCandidatesOrProgramItIsKnownAtOnce)
{
    AVAssetWriterHardware none({}, program("true"), deadline);
    none.begin();
    EXPECT_TRUE(none.waitUntilKnown(milliseconds(0)));
    AVAssetWriterHardware noProgram({ { "one", "" } }, "", deadline);
    noProgram.begin();
    EXPECT_TRUE(noProgram.waitUntilKnown(milliseconds(0)));
    EXPECT_FALSE(noProgram.found());
    EXPECT_EQ(calls(), "");
}

TEST_F(AVAssetWriterHardwareTest, TheDeviceFilesSayWhatIsWorthTrying)
{
    const std::filesystem::path root(folder.path());
    const auto namesHere = [&] {
        std::string names;
        for (const auto& [name, device] : AVAssetWriterHardware::candidatesHere(root))
            names += name + " " + device.substr(std::min(device.size(), folder.path().size())) + "\n";
        return names;
    };
    EXPECT_EQ(namesHere(), "");
    const auto addVideoDevice = [&](const std::string& name, const std::string& driver) {
        std::filesystem::create_directories(root / "sys/class/video4linux" / name / "device");
        std::filesystem::create_symlink(
            "../drivers/" + driver, root / "sys/class/video4linux" / name / "device/driver");
    };
    addVideoDevice("video0", "uvcvideo");
    EXPECT_EQ(namesHere(), "") << "a webcam encodes nothing and is not to be disturbed";
    addVideoDevice("video11", "bcm2835-codec");
    std::filesystem::create_directories(root / "dev/dri");
    for (const auto* const file : { "dev/dri/renderD129", "dev/dri/renderD128", "dev/dri/card0", "dev/nvidiactl" })
        std::ofstream(root / file) << "";
    EXPECT_EQ(namesHere(),
        "h264_vaapi /dev/dri/renderD128\nh264_vaapi /dev/dri/renderD129\nh264_qsv \nh264_nvenc \nh264_v4l2m2m \n");
}

TEST_F(AVAssetWriterHardwareTest, TheProgramOpensTheEncoderAndHasItEncode)
{
    // The one encoder that every machine has stands in for one that only some have.
    AVAssetWriterHardware hardware({ { "no such encoder", "" }, { "libx264", "" } }, PROBE_PROGRAM, deadline);
    hardware.begin();
    ASSERT_TRUE(hardware.waitUntilKnown(deadline));
    ASSERT_TRUE(hardware.found());
    EXPECT_EQ(hardware.found()->name, "libx264");
    EXPECT_EQ(AVAssetWriterHardware::tryOne({ "libx264", "" }), "");
    EXPECT_EQ(AVAssetWriterHardware::tryOne({ "no such encoder", "" }),
        "Cannot open the encoder no such encoder: Encoder not found");
    FailPoint::arm("AVAssetWriter.encode", -5);
    EXPECT_EQ(AVAssetWriterHardware::tryOne({ "libx264", "" }), "The encoder libx264 failed: Input/output error");
}

TEST_F(AVAssetWriterHardwareTest, AMovieByTheMachinesEncoderIsLikeAnyOther)
{
    FailPoint::arm("AVAssetWriter.hardwareEncoder");
    Recording recording(path, 640, 360, true);
    ASSERT_TRUE(recording.beginWithBoth());
    ASSERT_TRUE(recording.appendSeconds(2));
    ASSERT_TRUE(recording.writer->finishWriting());
    ASSERT_TRUE(AVAssetWriter::waitForUnfinishedMovies(deadline));
    const auto movie = readMovie(path);
    EXPECT_GE(movie.decodedPictures, 50U);
    EXPECT_EQ(movie.decodedPictures, movie.picture.packets.size());
    EXPECT_EQ(movie.decodingErrors, 0U);
    EXPECT_EQ(movie.pictureParameterSets.size(), 1U) << "one encoder made them all";
    EXPECT_EQ(movie.pictureParameterSets.count(0), 1U) << "and it numbers its sets as it likes";
}

TEST_F(AVAssetWriterHardwareTest, AnEncoderThatFailsIsReplacedAndTheMovieGoesOn)
{
    FailPoint::arm("AVAssetWriter.hardwareEncoder");
    FailPoint::arm("AVAssetWriter.encodeByHardware", -5, 40);
    Recording recording(path, 640, 360);
    ASSERT_TRUE(recording.beginWithBoth());
    EXPECT_TRUE(recording.appendSeconds(3));
    ASSERT_TRUE(recording.writer->finishWriting());
    EXPECT_EQ(recording.writer->status(), AVAssetWriterStatusCompleted);
    const auto movie = readMovie(path);
    EXPECT_EQ(movie.decodedPictures, 90U);
    EXPECT_EQ(movie.decodingErrors, 0U);
    EXPECT_EQ(movie.pictureParameterSets.size(), 2U);
    EXPECT_TRUE(movie.picture.packets.at(40).isKeyFrame);
}

}
