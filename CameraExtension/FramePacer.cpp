#include "CameraExtension/FramePacer.h"

#include "Platform/CoreFoundation/HostClock.h"

#include <algorithm>
#include <limits>

FramePacer::FramePacer(EventLoop& loop, CameraNode& node, StandbyPicture& standby, std::uint32_t framesPerSecond)
    : mLoop(loop)
    , mNode(node)
    , mStandby(standby)
    , mInterval(std::chrono::nanoseconds(std::chrono::seconds(1)) / framesPerSecond)
    , mTimer(loop.makeTimer([this] { tick(); }))
    , mLastFrame(std::numeric_limits<std::int64_t>::min() / 2)
{
}

void FramePacer::frameArrived(const BGRAPicture& picture, std::int64_t presentationNanoseconds)
{
    if (!mIsWatched)
        return;
    mNode.show(picture, presentationNanoseconds);
    // Half an interval of grace, so that a frame that is a little late is not preceded by a repetition.
    mLastFrame = HostClock::nanoseconds();
    mNextTick = mLastFrame + mInterval.count() * 3 / 2;
    mLoop.setTimer(mTimer, mInterval * 3 / 2);
}

void FramePacer::consumersChanged()
{
    const bool isWatched = mNode.consumers() > 0;
    if (isWatched == mIsWatched)
        return;
    mIsWatched = isWatched;
    mNextTick = HostClock::nanoseconds();
    mLoop.setTimer(mTimer, isWatched ? std::chrono::nanoseconds(0) : std::chrono::nanoseconds(-1));
}

void FramePacer::tick()
{
    if (!mIsWatched)
        return;
    const auto now = HostClock::nanoseconds();
    const bool isRecent = now - mLastFrame < std::chrono::nanoseconds(kRepeatLimit).count();
    if (!isRecent || !mNode.showAgain(now))
        showStandby(now);
    mNextTick = std::max(mNextTick + mInterval.count(), now);
    mLoop.setTimer(mTimer, std::chrono::nanoseconds(mNextTick - now));
}

void FramePacer::showStandby(std::int64_t now)
{
    const AutoreleasePool pool;
    const auto buffer = mStandby.picture();
    if (buffer)
        mNode.show({ buffer->baseAddress(), buffer->width(), buffer->height(), buffer->bytesPerRow() }, now);
}
