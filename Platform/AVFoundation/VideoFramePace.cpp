#include "Platform/AVFoundation/VideoFramePace.h"

#include <algorithm>
#include <cstdlib>

namespace {

/// How many pictures it takes, about, until a new rate is believed. Pictures that a busy machine held back come in
/// bursts, which must not pass for a fast camera.
constexpr std::int64_t memory = 16;
/// A much slower one can be believed sooner, since nothing is left out for it.
constexpr std::int64_t memoryForSlower = 4;
/// A longer pause says nothing about the rate.
constexpr std::int64_t longestFrameTime = 1'000'000'000;

}

void VideoFramePace::begin(std::int64_t promisedInterval)
{
    mLast = 0;
    mPromised = promisedInterval;
    mAverage = promisedInterval;
    mSkipped = 0;
}

bool VideoFramePace::takes(std::int64_t hostTime)
{
    const std::int64_t interval = mLast != 0 ? hostTime - mLast : 0;
    mLast = hostTime;
    if (interval > 0 && interval <= longestFrameTime) {
        // Nothing known yet: as asked for, until the pictures show another rate.
        const std::int64_t before = mAverage != 0 ? mAverage : mWanted;
        mAverage = before + (interval - before) / (interval > before * 3 / 2 ? memoryForSlower : memory);
    }
    if (++mSkipped < keptOutOf())
        return false;
    mSkipped = 0;
    return true;
}

std::int64_t VideoFramePace::interval() const
{
    // Small differences are the machine's and not the camera's.
    const bool keepsPromise = mPromised > 0 && std::abs(mAverage - mPromised) <= mPromised / 8;
    return (keepsPromise ? mPromised : mAverage) * keptOutOf();
}

std::int64_t VideoFramePace::keptOutOf() const
{
    // Every second one from 48 a second on where 30 are wanted, every third from 78 on.
    return mAverage > 0 ? std::max<std::int64_t>(1, (mWanted * 10 / mAverage + 4) / 10) : 1;
}
