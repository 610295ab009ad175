#pragma once

#include <cstdint>

/// Turns the times at which runs of sound arrive, which jitter, into stamps that follow one another.
///
/// The stamps run on by the number of samples and are drawn towards the arrival times by at most a thousandth, so a
/// device's clock may drift and nobody hears it. Only a gap, when the two are more than 60 ms apart, makes a jump.
class SoundClock {
public:
    explicit SoundClock(int sampleRate)
        : mSampleRate(sampleRate)
    {
    }
    /// \param time  when the first of \p frames samples was taken, in nanoseconds, as well as is known
    /// \return its stamp
    std::int64_t stamp(std::int64_t time, std::int64_t frames);

private:
    const int mSampleRate;
    bool mRuns = false;
    std::int64_t mNext = 0;
};
