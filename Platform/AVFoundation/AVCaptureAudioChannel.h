#pragma once

#include "Platform/Foundation/NSObject.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <span>

/// One channel of the sound of a connection: how loud it is. Any thread may ask; one at a time measures.
///
/// Levels are decibels of full scale: 0 at the most, -160 for silence and where there is no sound.
class AVCaptureAudioChannel : public NSObject {
    NS_OBJECT(AVCaptureAudioChannel)
public:
    static constexpr double silence = -160;

    AVCaptureAudioChannel() = default;

    /// Of the last twentieth of a second on average; a tone of full scale has -3.
    double averagePowerLevel() const { return mAveragePowerLevel.load(std::memory_order_relaxed); }
    /// The loudest sample of the last second.
    double peakHoldLevel() const { return mPeakHoldLevel.load(std::memory_order_relaxed); }

    /// Takes the channel's next samples out of those of all channels, at 48,000 a second.
    /// \param samples  interleaved; the first is this channel's
    /// \param channels  how many there are, at least one
    void measure(std::span<const std::int16_t> samples, std::size_t channels);
    /// What was heard is over.
    void forget();

private:
    void add(std::int16_t sample);

    static constexpr std::size_t window = 2400;
    static constexpr std::size_t windowsHeld = 20;
    std::atomic<double> mAveragePowerLevel { silence };
    std::atomic<double> mPeakHoldLevel { silence };
    std::array<std::int16_t, window> mSamples {};
    std::size_t mPosition = 0; ///< of the oldest
    std::size_t mCount = 0;
    std::int64_t mSquares = 0; ///< sum of those of the samples, which is exact
    std::array<int, windowsHeld> mPeaks {}; ///< of windows one after the other
    std::size_t mPeak = 0; ///< the index of the present window's
};
