#pragma once

#include "CameraExtension/CameraNode.h"
#include "CameraExtension/StandbyPicture.h"

/// Keeps the camera's picture moving while somebody watches: frames go out the moment they come; when they stop, the
/// last one is repeated at the frame rate for a second, and after that the stand-by picture shows. Unwatched it has no
/// timer set.
class FramePacer {
public:
    static constexpr std::chrono::seconds kRepeatLimit { 1 };

    FramePacer(EventLoop& loop, CameraNode& node, StandbyPicture& standby, std::uint32_t framesPerSecond);

    void frameArrived(const BGRAPicture& picture, std::int64_t presentationNanoseconds);
    void consumersChanged();

private:
    void tick();
    void showStandby(std::int64_t now);

    EventLoop& mLoop;
    CameraNode& mNode;
    StandbyPicture& mStandby;
    const std::chrono::nanoseconds mInterval;
    EventLoop::Watch mTimer;
    bool mIsWatched = false;
    /// Host clock times: of the last frame that an application sent, and of the next tick.
    std::int64_t mLastFrame = 0;
    std::int64_t mNextTick = 0;
};
