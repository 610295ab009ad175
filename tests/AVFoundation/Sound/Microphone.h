#pragma once

#include <cmath>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

/// A microphone in thought, of two equal channels: what it hears is a function of true time, its crystal is off, and
/// its sound comes in runs that tell only when they came.
class Microphone {
public:
    /// From -1 to 1, of seconds of true time, which are those of the host clock.
    using Sound = std::function<double(double)>;
    struct Run {
        std::vector<std::int16_t> samples;
        std::int64_t time; ///< when the first was taken, as the stamp tells it, in nanoseconds
        std::int64_t arrival; ///< when the run comes
    };

    /// \param offset  of the crystal, in millionths: above zero it is fast
    /// \param start  of the first frame, in seconds
    Microphone(double offset, double start, Sound sound)
        : mPeriod(1 / (48000 * (1 + offset * 1e-6)))
        , mTime(start)
        , mSound(std::move(sound))
    {
    }

    std::size_t framesInRun = 960;
    /// Runs come up to this much late, each by chance, in seconds.
    double tremble = 0;
    /// So many runs come together, with the last of them.
    int burst = 1;

    /// The next runs, one burst of them.
    std::vector<Run> next()
    {
        std::vector<Run> runs(static_cast<std::size_t>(burst));
        for (auto& run : runs) {
            run.samples.resize(framesInRun * 2);
            for (std::size_t frame = 0; frame < framesInRun; ++frame, mTime += mPeriod) {
                const auto sample = static_cast<std::int16_t>(std::lround(mSound(mTime) * 32767));
                run.samples[2 * frame] = run.samples[2 * frame + 1] = sample;
            }
        }
        const double late = tremble > 0 ? std::uniform_real_distribution<double>(0, tremble)(mRandom) : 0;
        mArrival = std::max<std::int64_t>(mArrival, std::llround((mTime + late) * 1e9));
        for (auto& run : runs) {
            run.arrival = mArrival;
            run.time = mArrival - static_cast<std::int64_t>(framesInRun) * 1'000'000'000 / 48000;
        }
        return runs;
    }
    /// The frames of so many seconds are taken and lost.
    void lose(double seconds) { mTime += std::round(seconds / mPeriod) * mPeriod; }
    /// When the next frame is taken.
    double time() const { return mTime; }

private:
    const double mPeriod;
    double mTime;
    const Sound mSound;
    std::int64_t mArrival = 0;
    std::mt19937 mRandom { 20 };
};
