#include "Platform/AVFoundation/AVAssetWriterHardware.h"

#include "Platform/AVFoundation/AVAssetWriterCodec.h"
#include "Platform/AVFoundation/AVAssetWriterNALUnits.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/dispatch/DispatchThreads.h"
#include "Platform/Foundation/NSLog.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>
// Declares its functions without saying that they are C.
extern "C" {
#include <sys/pidfd.h>
}

extern char** environ;

namespace {

constexpr std::chrono::seconds timeToTryOne { 4 };

std::string tryingProgram()
{
    constexpr const char* name = "tovrin-encoder-probe";
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const auto& candidate : { folder / name, folder.parent_path() / "bin" / name })
        if (std::filesystem::exists(candidate, error))
            return candidate.string();
    return {};
}

/// Files of a folder whose names begin with \p prefix, in order.
std::vector<std::string> filesIn(const std::filesystem::path& folder, std::string_view prefix)
{
    std::vector<std::string> files;
    std::error_code error;
    for (auto entry = std::filesystem::directory_iterator(folder, error);
         entry != std::filesystem::directory_iterator(); entry.increment(error))
        if (entry->path().filename().string().starts_with(prefix))
            files.push_back(entry->path().string());
    std::sort(files.begin(), files.end());
    return files;
}

/// Starts the program with no input and no output, signals as a new login has them. \return its identifier, or -1
pid_t start(const std::string& program, const AVAssetWriterHardware::Candidate& candidate)
{
    posix_spawn_file_actions_t files {};
    ::posix_spawn_file_actions_init(&files);
    ::posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes {};
    ::posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes, &signals);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::array<std::string, 3> words { program, candidate.name, candidate.device };
    std::array<char*, 4> arguments { words[0].data(), words[1].data(), words[2].data(), nullptr };
    pid_t identifier = -1;
    if (::posix_spawn(&identifier, program.c_str(), &files, &attributes, arguments.data(), environ) != 0)
        identifier = -1;
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&files);
    return identifier;
}

/// \return whether the process has ended before \p limit and before \p stopEvent said to stop
bool waitForEnd(pid_t process, int stopEvent, std::chrono::milliseconds limit)
{
    const int handle = ::pidfd_open(process, 0);
    std::array<pollfd, 2> waiting { { { handle, POLLIN, 0 }, { stopEvent, POLLIN, 0 } } };
    int ready = 0;
    do
        ready = ::poll(waiting.data(), waiting.size(), static_cast<int>(limit.count()));
    while (ready < 0 && errno == EINTR);
    ::close(handle);
    return ready > 0 && waiting[0].revents != 0;
}

}

AVAssetWriterHardware& AVAssetWriterHardware::shared()
{
    static AVAssetWriterHardware hardware(candidatesHere(), tryingProgram(), timeToTryOne);
    return hardware;
}

AVAssetWriterHardware::AVAssetWriterHardware(
    std::vector<Candidate> candidates, std::string program, std::chrono::milliseconds limit)
    : mCandidates(std::move(candidates))
    , mProgram(std::move(program))
    , mLimit(limit)
    , mIsKnown(mCandidates.empty() || mProgram.empty())
    , mStopEvent(::eventfd(0, EFD_CLOEXEC))
{
}

AVAssetWriterHardware::~AVAssetWriterHardware()
{
    stop();
    ::close(mStopEvent);
}

void AVAssetWriterHardware::begin()
{
    const std::scoped_lock lock(mLock);
    if (mIsKnown || mHasBegun)
        return;
    mHasBegun = true;
    mThread = std::thread([this] { run(); });
    if (this == &shared())
        DispatchMain::whenThreadsStop([this] { stop(); });
}

void AVAssetWriterHardware::stop()
{
    ::eventfd_write(mStopEvent, 1);
    if (mThread.joinable())
        mThread.join();
}

void AVAssetWriterHardware::run()
{
    pthread_setname_np(pthread_self(), "encoder probe");
    const auto found = std::find_if(
        mCandidates.begin(), mCandidates.end(), [this](const Candidate& candidate) { return works(candidate); });
    const std::scoped_lock lock(mLock);
    if (found != mCandidates.end())
        mFound = *found;
    mIsKnown = true;
    mChanged.notify_all();
}

bool AVAssetWriterHardware::works(const Candidate& candidate)
{
    const pid_t process = start(mProgram, candidate);
    if (process < 0)
        return false;
    constexpr std::chrono::seconds timeToDie { 1 };
    if (!waitForEnd(process, mStopEvent, mLimit)) {
        ::kill(process, SIGKILL);
        // One that hangs in the kernel does not end even now; it is left to itself.
        if (!waitForEnd(process, -1, timeToDie))
            return false;
        ::waitpid(process, nullptr, 0);
        return false;
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::optional<AVAssetWriterHardware::Candidate> AVAssetWriterHardware::found() const
{
    if (FAIL_POINT("AVAssetWriter.hardwareEncoder"))
        return Candidate { "libx264", "" };
    const std::scoped_lock lock(mLock);
    return mFound;
}

bool AVAssetWriterHardware::waitUntilKnown(std::chrono::milliseconds deadline) const
{
    std::unique_lock lock(mLock);
    return mChanged.wait_for(lock, deadline, [this] { return mIsKnown; });
}

void AVAssetWriterHardware::forget()
{
    const std::scoped_lock lock(mLock);
    mFound.reset();
}

std::vector<AVAssetWriterHardware::Candidate> AVAssetWriterHardware::candidatesHere(const std::filesystem::path& root)
{
    // The processor's own graphics before a card that would have to be woken for it.
    std::vector<Candidate> candidates;
    const auto renderNodes = filesIn(root / "dev/dri", "renderD");
    for (const auto& node : renderNodes)
        candidates.push_back({ "h264_vaapi", node });
    if (!renderNodes.empty())
        candidates.push_back({ "h264_qsv", "" });
    std::error_code error;
    if (std::filesystem::exists(root / "dev/nvidiactl", error))
        candidates.push_back({ "h264_nvenc", "" });
    // The encoder looks at every video device, so it is asked only where one is no webcam.
    const auto videoDevices = filesIn(root / "sys/class/video4linux", "video");
    const bool hasOther = std::any_of(videoDevices.begin(), videoDevices.end(), [](const std::string& device) {
        std::error_code none;
        const auto driver = std::filesystem::read_symlink(device + "/device/driver", none).filename();
        return !none && driver != "uvcvideo";
    });
    if (hasOther)
        candidates.push_back({ "h264_v4l2m2m", "" });
    return candidates;
}

std::string AVAssetWriterHardware::tryOne(const Candidate& candidate)
{
    constexpr AVAssetWriterCodec::Settings usual { 1280, 720, 10506240, 30 };
    constexpr std::uint64_t interval = 3000;
    constexpr int mostPictures = 30;
    const AutoreleasePool pool;
    Ref<NSError> error;
    const auto codec = AVAssetWriterCodec::open({ candidate.name, candidate.device, "", 0, 0, 1 }, usual, &error);
    if (!codec)
        return error->localizedDescription()->string();
    Ref<CVPixelBuffer> picture;
    CVPixelBufferCreate(kCFAllocatorDefault, usual.width, usual.height, kCVPixelFormatType_32BGRA, nullptr, &picture);
    if (!picture)
        return "There is no memory for a picture";
    std::memset(picture->baseAddress(), 0x80, picture->bytesPerRow() * picture->height());

    bool hasPicture = false;
    const AVAssetWriterCodec::Output look = [&](std::span<const std::byte> stream, std::uint64_t, bool isKeyFrame) {
        hasPicture = hasPicture || (isKeyFrame && !AVAssetWriterNALUnits::split(stream).empty());
    };
    for (std::uint64_t index = 0; index < mostPictures && !hasPicture && !error; ++index)
        error = codec->encode(picture, index * interval, look);
    if (!error && !hasPicture)
        error = codec->finish(look);
    if (error)
        return error->localizedDescription()->string();
    return hasPicture ? "" : "The encoder gave no picture";
}
