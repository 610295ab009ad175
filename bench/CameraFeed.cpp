#include "CameraFeed.h"

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

CameraFeed::CameraFeed(const std::string& log)
{
    std::signal(SIGPIPE, SIG_IGN); // the camera may end before its pictures do
    int pipes[2];
    if (::pipe2(pipes, O_CLOEXEC) != 0)
        throw std::runtime_error("cannot make a pipe for the camera");
    mPipe = pipes[1];
    mCamera = std::make_unique<ChildProcess>(
        std::vector<std::string> { CAMERA_FEED_PROGRAM, "--name", "Bench Camera" }, log, pipes[0]);
    ::close(pipes[0]);
    mThread = std::thread([this] { run(); });
}

CameraFeed::~CameraFeed()
{
    mIsEnding = true;
    mCamera.reset(); // ends a write that waits for it
    mThread.join();
    ::close(mPipe);
}

void CameraFeed::run()
{
    const auto writeFully = [this](std::string_view bytes) {
        while (!bytes.empty() && !mIsEnding) {
            const auto written = ::write(mPipe, bytes.data(), bytes.size());
            if (written < 0 && errno != EINTR)
                return false;
            bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
        }
        return !mIsEnding.load();
    };
    const std::string header = "YUV4MPEG2 W" + std::to_string(TestPictures::width) + " H"
        + std::to_string(TestPictures::height) + " F" + std::to_string(TestPictures::rate) + ":1 Ip A1:1 C420\n";
    if (!writeFully(header))
        return;
    for (std::uint32_t number = 0;; ++number) {
        const auto& picture = mPictures.picture(number);
        if (!writeFully("FRAME\n") || !writeFully({ reinterpret_cast<const char*>(picture.data()), picture.size() }))
            return;
        mFrames = number;
    }
}
