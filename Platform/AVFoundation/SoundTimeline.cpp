#include "Platform/AVFoundation/SoundTimeline.h"

#include "Platform/CoreFoundation/HostClock.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

namespace {

constexpr std::int64_t rate = SoundResampler::outputRate;
constexpr std::size_t channels = SoundResampler::channels;
constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t framesInMillisecond = rate / 1000;
constexpr std::size_t fade = 4 * framesInMillisecond;
/// Sound that does not fit is held this long, and never more of it than this.
constexpr std::int64_t longestDoubt = 100 * millisecond;
constexpr std::size_t mostHeld = rate / 2;
/// What a device may say that its sound is old; one that holds it longer than this would be taken for stalled.
constexpr std::int64_t longestLatency = 250 * millisecond;
constexpr std::int64_t stall = 300 * millisecond;
constexpr std::int64_t longestRunWaitedFor = 500 * millisecond;
/// After a longer pause, of the whole machine perhaps, nobody wants the silence any more; and no clock of sound is that
/// far ahead.
constexpr double longestHole = 5;
constexpr double longestLead = 1;
/// Sound is dealt with in pieces of a tenth of a second.
constexpr std::size_t piece = rate / 10;

double secondsOf(std::size_t frames)
{
    return static_cast<double>(frames) / rate;
}

std::int16_t scaled(std::int16_t sample, std::size_t step)
{
    const double gain = 0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(step) / fade);
    return static_cast<std::int16_t>(std::lround(sample * gain));
}

}

SoundTimeline::SoundTimeline(Output output)
    : mOutput(std::move(output))
{
    begin(0);
}

void SoundTimeline::begin(std::int64_t now)
{
    mClock = {};
    mResampler.emplace(static_cast<int>(rate));
    mStretch = 0;
    mOrigin = now;
    mHasOrigin = false;
    mDelivered = 0;
    mConverted.clear();
    mTail.clear();
    mHeld.clear();
    mFadingIn = fade;
    mLeftOut = 0;
    mIsPlaced = false;
    mStalledAfter = stall;
}

void SoundTimeline::deviceChanged()
{
    if (!mHeld.empty())
        settle();
    if (!mHasOrigin)
        return; // nothing has been heard of the old one
    breakOff();
    // The next device may need no stretch at all, and then its sound is to pass as it is: from between two frames that
    // cannot begin. What the old resampler still holds back is silence.
    const std::vector<std::int16_t> silence(fade * channels);
    deliver(silence);
    mResampler.emplace(static_cast<int>(rate));
    mClock = {};
    mStretch = 0;
    mLeftOut = 0;
    mIsPlaced = false;
    mStalledAfter = stall;
}

double SoundTimeline::end() const
{
    const double waiting = mResampler->waiting() + static_cast<double>(framesOf(mTail) + framesOf(mConverted));
    return (static_cast<double>(mDelivered) + waiting) / rate;
}

double SoundTimeline::placeOfNext() const
{
    return end() - secondsOf(mLeftOut);
}

void SoundTimeline::push(std::span<const std::int16_t> samples, std::int64_t time, std::int64_t now)
{
    const std::size_t frames = framesOf(samples);
    if (frames == 0)
        return;
    const std::int64_t duration = static_cast<std::int64_t>(frames) * nanosecondsInSecond / rate;
    if (time > now || time < now - duration - longestLatency)
        time = now - duration;
    mStalledAfter = std::max(mStalledAfter, stall + std::min(duration, longestRunWaitedFor));
    fill(now);
    for (std::size_t first = 0; first < frames; first += piece) {
        const std::size_t count = std::min(piece, frames - first);
        takeRun(samples.subspan(first * channels, count * channels),
            time + static_cast<std::int64_t>(first) * nanosecondsInSecond / rate, now);
    }
}

void SoundTimeline::tick(std::int64_t now)
{
    if (!mHeld.empty() && now - mHeldSince >= longestDoubt)
        settle();
    fill(now);
}

void SoundTimeline::takeRun(std::span<const std::int16_t> samples, std::int64_t time, std::int64_t now)
{
    const double seconds = secondsSinceOrigin(time);
    const double error = seconds - placeOfNext();
    if (mIsPlaced && mHeld.empty() && !mClock.isUnexpected(error)) {
        accept(samples, error);
        return;
    }
    if (mHeld.empty()) {
        mHeldSince = now;
        mHeldFrames = 0;
    }
    mHeld.push_back({ { samples.begin(), samples.end() }, seconds });
    mHeldFrames += framesOf(samples);
    if (now - mHeldSince >= longestDoubt || mHeldFrames >= mostHeld)
        settle();
}

void SoundTimeline::settle()
{
    std::vector<double> errors;
    double place = placeOfNext();
    for (const auto& run : mHeld) {
        errors.push_back(run.time - place);
        place += secondsOf(framesOf(run.samples));
    }
    auto sorted = errors;
    double error = SoundClock::earliest(sorted);
    if (!mHasOrigin)
        mOrigin += std::llround(error * 1e9);
    else if (!mIsPlaced || mClock.isUnexpected(error))
        move(error);
    else
        error = 0; // it had only waited for its turn
    if (error != 0)
        mClock.placed();
    mHasOrigin = true;
    mIsPlaced = true;
    const auto held = std::exchange(mHeld, {});
    for (std::size_t index = 0; index < held.size(); ++index)
        accept(held[index].samples, errors[index] - error);
}

void SoundTimeline::accept(std::span<const std::int16_t> samples, double error)
{
    const double duration = secondsOf(framesOf(samples));
    if (const auto distance = mClock.arrived(error, duration))
        move(*distance);
    const auto steps = std::lround(mClock.stretch(duration) * SoundResampler::unity);
    mStretch = static_cast<double>(steps) / SoundResampler::unity;
    mClock.stretched(mStretch, duration);
    mResampler->setStretch(static_cast<int>(steps));
    feed(samples);
}

void SoundTimeline::move(double seconds)
{
    breakOff();
    const double before = secondsOf(mLeftOut);
    mLeftOut = static_cast<std::size_t>(std::llround(std::max(0.0, before - seconds) * rate));
    if (seconds > before)
        addSilence(seconds - before);
}

void SoundTimeline::fill(std::int64_t now)
{
    if (!mHasOrigin) {
        if (now - mOrigin <= mStalledAfter)
            return;
        mHasOrigin = mHeld.empty();
    }
    const auto behind = [&] { return secondsSinceOrigin(now) - end(); };
    const double allowed = static_cast<double>(mStalledAfter) * 1e-9;
    if (behind() > longestHole || behind() < -longestLead) {
        begin(now);
        return;
    }
    if (behind() <= allowed)
        return;
    if (!mHeld.empty())
        settle();
    if (behind() <= allowed)
        return;
    breakOff();
    addSilence(behind() - allowed + static_cast<double>(tickInterval) * 1e-9);
    mIsPlaced = false;
}

void SoundTimeline::addSilence(double seconds)
{
    static constexpr std::array<std::int16_t, piece * channels> silence {};
    auto frames = static_cast<std::size_t>(std::llround(seconds * rate / (1 + mStretch)));
    for (; frames > 0; frames -= std::min(frames, piece))
        deliver(std::span(silence).first(std::min(frames, piece) * channels));
}

void SoundTimeline::breakOff()
{
    const std::size_t frames = framesOf(mTail);
    for (std::size_t frame = 0; frame < frames; ++frame)
        for (std::size_t channel = 0; channel < channels; ++channel) {
            auto& sample = mTail[frame * channels + channel];
            sample = scaled(sample, (frames - 1 - frame) * fade / frames);
        }
    const auto tail = std::exchange(mTail, {});
    deliver(tail);
    mFadingIn = fade;
}

void SoundTimeline::feed(std::span<const std::int16_t> samples)
{
    const std::size_t leftOut = std::min(mLeftOut, framesOf(samples));
    mLeftOut -= leftOut;
    const std::size_t before = mTail.size();
    mTail.insert(mTail.end(), samples.begin() + static_cast<std::ptrdiff_t>(leftOut * channels), samples.end());
    for (std::size_t at = before; at + 1 < mTail.size() && mFadingIn > 0; at += channels, --mFadingIn)
        for (std::size_t channel = 0; channel < channels; ++channel)
            mTail[at + channel] = scaled(mTail[at + channel], fade - mFadingIn);
    const std::size_t frames = framesOf(mTail);
    if (frames <= fade)
        return;
    const std::size_t values = (frames - fade) * channels;
    deliver(std::span(mTail).first(values));
    mTail.erase(mTail.begin(), mTail.begin() + static_cast<std::ptrdiff_t>(values));
}

void SoundTimeline::deliver(std::span<const std::int16_t> samples)
{
    mResampler->convert(samples, mConverted);
    const auto whole = static_cast<std::int64_t>(framesOf(mConverted)) / framesInMillisecond;
    if (whole == 0)
        return;
    const auto values = static_cast<std::size_t>(whole * framesInMillisecond) * channels;
    const std::int64_t time = mOrigin + mDelivered / framesInMillisecond * millisecond;
    mDelivered += whole * framesInMillisecond;
    mOutput(std::span(mConverted).first(values), time);
    mConverted.erase(mConverted.begin(), mConverted.begin() + static_cast<std::ptrdiff_t>(values));
}
