// Recordings on disks that are full, folders that may not be written to, and names that are taken: real ones. A program
// of its own, since it mounts volumes for itself and gives up what lets a superuser pass every permission.

#include "Platform/AVFoundation/AVAssetWriterMovieFile.h"
#include "tests/ZVFoundationAVCapture/AVCaptureCommon/MovieWriterFixture.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>

namespace {

/// Done before the program has threads, which inherit it.
class Surroundings {
public:
    Surroundings()
    {
        const auto user = getuid();
        mCanMount = unshare(CLONE_NEWNS) == 0;
        if (!mCanMount && unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) {
            std::ofstream("/proc/self/setgroups") << "deny";
            std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
            mCanMount = true;
        }
        mCanMount = mCanMount && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
        __user_cap_header_struct header { _LINUX_CAPABILITY_VERSION_3, 0 };
        __user_cap_data_struct sets[2] {};
        if (syscall(SYS_capget, &header, sets) != 0)
            return;
        const std::uint32_t passEverywhere = 1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH;
        sets[0].effective &= ~passEverywhere;
        sets[0].permitted &= ~passEverywhere;
        syscall(SYS_capset, &header, sets);
    }
    bool canMount() const { return mCanMount; }

private:
    bool mCanMount = false;
};

const Surroundings surroundings;

std::string outputOf(const std::string& command)
{
    std::string output;
    FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
    for (char line[512]; std::fgets(line, sizeof line, pipe);)
        output += line;
    const int status = pclose(pipe);
    return status == 0 ? output : output + "failed";
}

class RecordingFailure : public MovieWriterFixture {
protected:
    void SetUp() override
    {
        MovieWriterFixture::SetUp();
        movies = AVCaptureFilteredMovieWriterController::defaultSessionOutputFolder()->string();
        std::filesystem::create_directories(movies);
    }
    void TearDown() override
    {
        if (isMounted)
            umount2(movies.c_str(), MNT_DETACH);
        MovieWriterFixture::TearDown();
    }
    void mountMovies(const char* options)
    {
        ASSERT_EQ(mount("tmpfs", movies.c_str(), "tmpfs", isMounted ? MS_REMOUNT : 0, options), 0)
            << std::strerror(errno);
        isMounted = true;
    }
    void setUpSession()
    {
        controller->setupAndStartCaptureSession();
        movie = controller->movieURL()->fileSystemRepresentation();
        ASSERT_EQ(movie.parent_path(), movies);
    }
    bool waitForPictures(long count) { return delegate->waitFor("display", delegate->count("display") + count); }
    void startRecording()
    {
        controller->actionStartRecording(nullptr);
        ASSERT_TRUE(delegate->waitFor("didStart", ++starts));
    }
    void stopRecording()
    {
        controller->actionStopRecording(nullptr);
        ASSERT_TRUE(delegate->waitFor("didStop", ++stops));
        ASSERT_TRUE(AVAssetWriter::waitForUnfinishedMovies(std::chrono::seconds(20)));
        EXPECT_FALSE(controller->recordingInProgress());
    }
    /// The next recording, when nothing is wrong any more.
    void expectThatTheNextWorks()
    {
        startRecording();
        EXPECT_TRUE(waitForPictures(20));
        stopRecording();
        expectPlayable();
        EXPECT_EQ(delegate->count(error), 1) << "once, and not again";
    }
    void expectPlayable() const
    {
        // In the movie's own units of time: rounded to frames, pictures that came unevenly would share a time.
        EXPECT_EQ(outputOf("ffmpeg -v error -xerror -i '" + movie.string() + "' -enc_time_base -1 -f null -"), "");
        EXPECT_NE(outputOf("ffprobe -v error -of csv=p=0 -count_packets -select_streams v -show_entries "
                           "stream=nb_read_packets '"
                      + movie.string() + "'"),
            "0\n");
    }

    std::filesystem::path movies, movie;
    std::string error;
    bool isMounted = false;
    long starts = 0, stops = 0;
};

TEST_F(RecordingFailure, AFullDiskIsToldAndWhatWasWrittenCanBePlayed)
{
    if (!surroundings.canMount())
        GTEST_SKIP() << "this system lets nobody mount a volume for himself";
    ASSERT_NO_FATAL_FAILURE(mountMovies("size=1m"));
    ASSERT_NO_FATAL_FAILURE(setUpSession());
    error = "error Cannot write the movie \"" + movie.string() + "\": No space left on device";
    startRecording();
    ASSERT_TRUE(delegate->waitFor(error));
    EXPECT_TRUE(controller->recordingInProgress());
    EXPECT_TRUE(waitForPictures(10)) << "the picture goes on";
    stopRecording();
    expectPlayable();
    const auto head = outputOf("head -c 28 '" + movie.string() + "' | tail -c 4");
    EXPECT_EQ(head, "mdat") << "an ordinary movie, not one that grew and was left";

    ASSERT_NO_FATAL_FAILURE(mountMovies("size=64m"));
    expectThatTheNextWorks();
}

TEST_F(RecordingFailure, AFullDiskHasRoomForTheIndexOfALongMovie)
{
    if (!surroundings.canMount())
        GTEST_SKIP() << "this system lets nobody mount a volume for himself";
    // Once with room that is reserved, and once as on volumes on which that cannot be done.
    for (const int failure : { 0, EOPNOTSUPP }) {
        ASSERT_NO_FATAL_FAILURE(mountMovies("size=2m"));
        if (failure != 0)
            FailPoint::arm("AVAssetWriter.reserve", failure);
        const auto path = movies / "long.mov";
        const auto file = AVAssetWriterMovieFile::create(path.string(), nullptr);
        ASSERT_NE(file, nullptr);
        AVAssetWriterTrack::PictureFormat format;
        format.width = format.height = 16;
        format.transform = { 1, 0, 0, 1, 0, 0 };
        auto& track = file->addTrack(format);
        // Pictures so small, and so uneven, that the index is as long as they are.
        std::uint64_t time = 0;
        Ref<NSError> full;
        for (int frame = 0; frame < 1'000'000 && !full; ++frame, time += 3000 + static_cast<unsigned>(frame) % 7) {
            track.appendPicture(std::vector<std::byte>(5), time, true);
            if (frame % 15 == 14)
                full = file->writeFragment();
        }
        ASSERT_NE(full, nullptr);
        EXPECT_EQ(full->localizedDescription()->string(),
            "Cannot write the movie \"" + path.string() + "\": No space left on device");
        const auto before = std::filesystem::file_size(path);
        EXPECT_EQ(file->complete(), nullptr);
        EXPECT_GT(std::filesystem::file_size(path), before + before / 10) << "the index is what has to find room";
        EXPECT_EQ(outputOf("head -c 28 '" + path.string() + "' | tail -c 4"), "mdat");
        EXPECT_TRUE(std::filesystem::remove(path));
    }
}

TEST_F(RecordingFailure, ADiskThatIsFullFromTheBeginningLeavesNoMovie)
{
    if (!surroundings.canMount())
        GTEST_SKIP() << "this system lets nobody mount a volume for himself";
    ASSERT_NO_FATAL_FAILURE(mountMovies("size=64k"));
    ASSERT_NO_FATAL_FAILURE(setUpSession());
    error = "error Cannot write the movie \"" + movie.string() + "\": No space left on device";
    startRecording();
    ASSERT_TRUE(delegate->waitFor(error));
    stopRecording();
    EXPECT_FALSE(std::filesystem::exists(movie));
    ASSERT_NO_FATAL_FAILURE(mountMovies("size=64m"));
    expectThatTheNextWorks();
}

TEST_F(RecordingFailure, AFolderWithoutPermissionIsTold)
{
    ASSERT_NO_FATAL_FAILURE(setUpSession());
    std::filesystem::permissions(movies, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    error = "error Cannot create the movie \"" + movie.string() + "\": Permission denied";
    startRecording();
    ASSERT_TRUE(delegate->waitFor(error));
    EXPECT_TRUE(waitForPictures(10)) << "the picture goes on";
    stopRecording();
    EXPECT_FALSE(std::filesystem::exists(movie));

    std::filesystem::permissions(movies, std::filesystem::perms::owner_all);
    expectThatTheNextWorks();
}

TEST_F(RecordingFailure, AFolderThatIsRemovedMeanwhileIsTold)
{
    ASSERT_NO_FATAL_FAILURE(setUpSession());
    error = "error Cannot write the movie \"" + movie.string() + "\": No such file or directory";
    startRecording();
    ASSERT_TRUE(waitForPictures(30));
    std::filesystem::remove_all(movies);
    ASSERT_TRUE(delegate->waitFor(error));
    EXPECT_TRUE(waitForPictures(10)) << "the picture goes on";
    stopRecording();
    EXPECT_FALSE(std::filesystem::exists(movies));

    std::filesystem::create_directories(movies);
    expectThatTheNextWorks();
}

TEST_F(RecordingFailure, ANameThatIsAFolderIsToldAndTheFolderStays)
{
    ASSERT_NO_FATAL_FAILURE(setUpSession());
    std::filesystem::create_directory(movie);
    std::ofstream(movie / "precious") << "precious";
    error = "error Cannot create the movie \"" + movie.string() + "\": Is a directory";
    startRecording();
    ASSERT_TRUE(delegate->waitFor(error));
    EXPECT_TRUE(waitForPictures(10)) << "the picture goes on";
    stopRecording();
    EXPECT_EQ(std::filesystem::file_size(movie / "precious"), 8U);

    std::filesystem::remove_all(movie);
    expectThatTheNextWorks();
}

TEST_F(RecordingFailure, AReplacedMovieCanBeHadBackFromTheTrashOfItsVolume)
{
    if (!surroundings.canMount())
        GTEST_SKIP() << "this system lets nobody mount a volume for himself";
    ASSERT_NO_FATAL_FAILURE(mountMovies("size=64m"));
    ASSERT_NO_FATAL_FAILURE(setUpSession());
    std::string bytes[3];
    for (auto& written : bytes) {
        startRecording();
        ASSERT_TRUE(waitForPictures(15));
        stopRecording();
        expectPlayable();
        written = outputOf("sha256sum <'" + movie.string() + "'");
    }
    const auto trash = movies / (".Trash-" + std::to_string(getuid()));
    const auto name = movie.stem().string();
    EXPECT_EQ(outputOf("sha256sum <'" + (trash / "files" / (name + ".mov")).string() + "'"), bytes[0]);
    EXPECT_EQ(outputOf("sha256sum <'" + (trash / "files" / (name + ".2.mov")).string() + "'"), bytes[1]);
    EXPECT_TRUE(std::filesystem::exists(trash / "info" / (name + ".mov.trashinfo")));
    EXPECT_TRUE(std::filesystem::exists(trash / "info" / (name + ".2.mov.trashinfo")));
    EXPECT_NE(bytes[0], bytes[2]);

    // The administrator's trash comes first where there is one that is safe.
    std::filesystem::create_directory(movies / ".Trash");
    std::filesystem::permissions(movies / ".Trash", std::filesystem::perms::all | std::filesystem::perms::sticky_bit);
    startRecording();
    ASSERT_TRUE(waitForPictures(15));
    stopRecording();
    const auto common = movies / ".Trash" / std::to_string(getuid());
    EXPECT_EQ(outputOf("sha256sum <'" + (common / "files" / (name + ".mov")).string() + "'"), bytes[2]);
}

TEST_F(RecordingFailure, AStopOfTheSessionLeavesAnOrdinaryMovie)
{
    ASSERT_NO_FATAL_FAILURE(setUpSession());
    startRecording();
    ASSERT_TRUE(waitForPictures(30));
    controller->stopAndTearDownCaptureSession();
    EXPECT_FALSE(controller->recordingInProgress());
    ASSERT_TRUE(AVAssetWriter::waitForUnfinishedMovies(std::chrono::seconds(20)));
    expectPlayable();
    EXPECT_EQ(outputOf("head -c 28 '" + movie.string() + "' | tail -c 4"), "mdat");
}

}
