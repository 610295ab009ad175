#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

struct SwrContext;

/// Changes how fast sound of two interleaved channels goes: from a device's rate to 48,000 frames a second, and from a
/// device's seconds to those of the host clock.
///
/// libswresample interpolates between the phases of a windowed sinc. The filter's cut-off is half the rate itself, so
/// that its taps but one are zero where an input sample lies: sound whose rate is not changed at all comes out bit by
/// bit. Its length keeps what people hear, up to 20 kHz, untouched elsewhere too. It comes with the libraries that
/// write the movies; libsamplerate, whose sound is as good, takes about ten times as long.
///
/// Belongs to one thread at a time.
class SoundResampler {
public:
    static constexpr std::size_t channels = 2;
    static constexpr int outputRate = 48000;
    /// The steps of the stretch in one: about a millionth.
    static constexpr int unity = 1 << 20;

    explicit SoundResampler(int inputRate);
    ~SoundResampler();

    /// How much longer what is converted from now on gets than its rate says, in steps of 1/`unity`; 0 at first, and
    /// for sound of another rate, always. Takes effect without a click.
    void setStretch(int steps) { mStretch = steps; }
    /// Adds what \p samples, and what waited before them, become to \p output. A few frames wait for the next ones.
    void convert(std::span<const std::int16_t> samples, std::vector<std::int16_t>& output);
    /// Frames at the input's rate that have not become output yet, to a fraction.
    double waiting() const;

private:
    struct Free {
        void operator()(SwrContext* context) const;
    };
    const int mInputRate;
    int mStretch = 0;
    std::unique_ptr<SwrContext, Free> mContext; ///< null where there is no memory for one; then sound goes through
};
