#pragma once

#include "Platform/AVFoundation/SoundClock.h"
#include "Platform/AVFoundation/SoundResampler.h"

#include <cstdint>
#include <functional>
#include <optional>

/// Makes of what microphones bring one stream that runs with the host clock: 48,000 frames for each of its seconds,
/// each frame heard at the time when it was taken, whatever the devices' clocks do, without gap or overlap.
///
/// Sound that is lost, and the time until another device brings some, becomes silence; sound that comes twice is left
/// out; both with fades of 4 ms. A stamp that does not fit is believed when a tenth of a second of sound agrees with
/// it; so long it is held back. When nothing comes for 0.3 s (a little longer for devices with long runs) silence goes
/// out without it, 50 ms at a time, and what comes in time after all is put where it belongs.
///
/// Times are nanoseconds of the host clock, sound is interleaved, two channels. It keeps less than a second of sound
/// whatever comes. Locks nothing: the owner sees to it that one thread at a time calls.
class SoundTimeline {
public:
    static constexpr std::int64_t tickInterval = 50'000'000;
    /// Brings the next samples, a whole number of milliseconds of them, with the time of the first: always the end of
    /// the ones before, unless all stood still for over 5 s.
    using Output = std::function<void(std::span<const std::int16_t> samples, std::int64_t time)>;

    explicit SoundTimeline(Output output);

    /// Begins anew: forgets what waits.
    void begin(std::int64_t now);
    /// What comes from now on is another device's.
    void deviceChanged();
    /// Takes a device's next samples.
    /// \param samples  any number of frames; half a frame at the end is left out
    /// \param time  when the first was taken, as well as the device tells. What lies in the future, or further back
    /// than a device can hold sound back, says nothing: then they were taken just now.
    void push(std::span<const std::int16_t> samples, std::int64_t time, std::int64_t now);
    /// To be called every `tickInterval`, so that silence comes when nothing else does.
    void tick(std::int64_t now);

private:
    struct Run {
        std::vector<std::int16_t> samples;
        double time; ///< seconds since the origin
    };
    static std::size_t framesOf(std::span<const std::int16_t> samples) { return samples.size() / 2; }
    double secondsSinceOrigin(std::int64_t time) const { return static_cast<double>(time - mOrigin) * 1e-9; }
    /// Where the next frame that is fed will be heard, in seconds since the origin.
    double end() const;
    /// Where the next frame that the device brings will be heard.
    double placeOfNext() const;
    void takeRun(std::span<const std::int16_t> samples, std::int64_t time, std::int64_t now);
    void accept(std::span<const std::int16_t> samples, double error);
    void settle();
    /// Moves what follows: to later with silence, to earlier by leaving out sound.
    void move(double seconds);
    void fill(std::int64_t now);
    void addSilence(double seconds);
    /// Lets the sound end softly here, and begin softly again.
    void breakOff();
    void feed(std::span<const std::int16_t> samples);
    void deliver(std::span<const std::int16_t> samples);

    const Output mOutput;
    SoundClock mClock;
    std::optional<SoundResampler> mResampler;
    double mStretch = 0; ///< the resampler's
    std::int64_t mOrigin = 0; ///< when the first frame is heard
    std::int64_t mDelivered = 0; ///< frames since then
    std::vector<std::int16_t> mConverted; ///< less than a millisecond that is not delivered yet, after `deliver`
    std::vector<std::int16_t> mTail; ///< the newest frames, which may have to fade
    std::size_t mFadingIn = 0; ///< frames that still have to
    std::size_t mLeftOut = 0; ///< frames that are still to be left out
    bool mHasOrigin = false;
    /// The device's frames have their places; else the next ones find theirs.
    bool mIsPlaced = false;
    std::vector<Run> mHeld;
    std::size_t mHeldFrames = 0;
    std::int64_t mHeldSince = 0;
    std::int64_t mStalledAfter = 0; ///< how far the end may be behind
};
