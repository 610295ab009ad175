#include "Platform/AVFoundation/SoundClock.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr std::int64_t nanosecondsInSecond = 1'000'000'000;
constexpr std::int64_t longestError = 60'000'000;

}

std::int64_t SoundClock::stamp(std::int64_t time, std::int64_t frames)
{
    const std::int64_t duration = frames * nanosecondsInSecond / mSampleRate;
    const std::int64_t error = time - mNext;
    if (!mRuns || std::abs(error) > longestError)
        mNext = time;
    mRuns = true;
    const std::int64_t result = mNext;
    const std::int64_t pull = std::clamp((time - result) / 64, -duration / 1000, duration / 1000);
    mNext += duration + pull;
    return result;
}
