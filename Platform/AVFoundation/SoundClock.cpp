#include "Platform/AVFoundation/SoundClock.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr double windowDuration = 0.5;
constexpr double pieceDuration = 0.005;
/// Errors that the stretch would take too long to put right.
constexpr double smallestMove = 0.008;
/// Below this the ear finds nothing, and sound that needs no correction stays as it is.
constexpr double toleratedOffset = 0.003;
/// An offset is drawn in within about this time.
constexpr double settlingTime = 10;
constexpr double largestStretch = 0.001;
constexpr double largestChangePerSecond = 50e-6;
/// What the rate of a crystal wanders within a second as it gets warmer, squared.
constexpr double rateWander = 0.25e-12;
/// A device whose stamps never tremble may still find the scheduler busy.
constexpr double leastExpected = 0.006;
/// Stamps that tremble by more than this are no rule to go by.
constexpr double largestSpread = 0.08;

}

double SoundClock::earliest(std::span<double> errors)
{
    if (errors.empty())
        return 0;
    std::ranges::sort(errors);
    return errors[std::max(errors.size() / 32, errors.size() >= 3 ? std::size_t { 1 } : 0)];
}

bool SoundClock::isUnexpected(double error) const
{
    return std::abs(error - mOffset) > leastExpected + 1.5 * mSpread;
}

std::optional<double> SoundClock::arrived(double error, double duration)
{
    noteError(error, duration);
    mWindowDuration += duration;
    return mWindowDuration >= windowDuration ? endWindow() : std::nullopt;
}

void SoundClock::noteError(double error, double duration)
{
    // Tiny runs come many at a time; the earliest of them stands for all.
    if (mErrorCount > 0 && (mPieceDuration < pieceDuration || mErrorCount == mErrors.size())) {
        mErrors[mErrorCount - 1] = std::min(mErrors[mErrorCount - 1], error);
        mPieceDuration += duration;
        return;
    }
    mErrors[mErrorCount++] = error;
    mPieceDuration = duration;
}

std::optional<double> SoundClock::endWindow()
{
    const auto errors = std::span(mErrors).first(mErrorCount);
    const double error = earliest(errors);
    const double spread = errors.back() - error;
    mSpread = std::min(std::max(spread, mSpread * 0.9), largestSpread);

    // The state at the window's end, as far as it was known before.
    const double duration = mWindowDuration;
    mOffset += mRate * duration - mStretchedBy;
    mOffsetVariance += duration * (2 * mCovariance + duration * mRateVariance);
    mCovariance += duration * mRateVariance;
    mRateVariance += duration * rateWander;
    mErrorCount = 0;
    mWindowDuration = 0;
    mStretchedBy = 0;

    // What was placed by a few stamps is looked at again with the first window's; later, one window may be wrong.
    const bool isFirst = std::exchange(mIsFirstWindow, false);
    const bool isFar = std::abs(error) > std::max(smallestMove, isFirst ? 0 : 0.3 * mSpread);
    if (isFar && (isFirst || (mSuspect && *mSuspect * error > 0))) {
        placed();
        return error;
    }
    mSuspect = isFar ? std::optional(error) : std::nullopt;
    if (!isFar)
        // The second of some dozens of stamps lies within about a fifteenth of their spread.
        correct(error, 0.0001 + 0.07 * spread);
    return std::nullopt;
}

void SoundClock::correct(double error, double deviation)
{
    const double variance = mOffsetVariance + deviation * deviation;
    const double offsetGain = mOffsetVariance / variance;
    const double rateGain = mCovariance / variance;
    const double surprise = error - mOffset;
    mOffset += offsetGain * surprise;
    mRate += rateGain * surprise;
    mRateVariance -= rateGain * mCovariance;
    mCovariance *= 1 - offsetGain;
    mOffsetVariance *= 1 - offsetGain;
    mStretches = mStretches || std::abs(mOffset) > toleratedOffset;
}

double SoundClock::stretch(double duration)
{
    if (!mStretches)
        return 0;
    const double wanted = std::clamp(mRate + mOffset / settlingTime, -largestStretch, largestStretch);
    const double change = largestChangePerSecond * duration;
    mStretch += std::clamp(wanted - mStretch, -change, change);
    return mStretch;
}

void SoundClock::placed()
{
    mErrorCount = 0;
    mWindowDuration = 0;
    mStretchedBy = 0;
    mSuspect.reset();
    mIsFirstWindow = true;
    mOffset = 0;
    mOffsetVariance = 25e-6;
    mCovariance = 0;
}
