#pragma once

#include "ChildProcess.h"
#include "TestPictures.h"

#include <atomic>
#include <memory>
#include <thread>

/// A PipeWire camera that shows the test pictures, numbered from 0, while somebody watches it.
class CameraFeed {
public:
    static constexpr const char* nodeName = "session-camera.Bench-Camera";

    explicit CameraFeed(const std::string& log);
    ~CameraFeed();
    CameraFeed(const CameraFeed&) = delete;
    CameraFeed& operator=(const CameraFeed&) = delete;

    /// How many pictures the camera has taken so far.
    std::uint32_t frames() const noexcept { return mFrames.load(); }
    bool isRunning() { return mCamera->isRunning(); }

private:
    void run();

    TestPictures mPictures;
    std::atomic<std::uint32_t> mFrames { 0 };
    std::atomic<bool> mIsEnding { false };
    int mPipe = -1;
    std::unique_ptr<ChildProcess> mCamera;
    std::thread mThread;
};
