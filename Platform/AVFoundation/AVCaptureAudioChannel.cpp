#include "Platform/AVFoundation/AVCaptureAudioChannel.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

NS_IMPLEMENTATION(AVCaptureAudioChannel, NSObject)
{
    type.key("averagePowerLevel", &AVCaptureAudioChannel::averagePowerLevel);
    type.key("peakHoldLevel", &AVCaptureAudioChannel::peakHoldLevel);
}

namespace {

constexpr double fullScale = 32768;

double decibels(double amplitude)
{
    return amplitude > 0 ? std::max(AVCaptureAudioChannel::silence, 20 * std::log10(amplitude / fullScale))
                         : AVCaptureAudioChannel::silence;
}

}

void AVCaptureAudioChannel::measure(std::span<const std::int16_t> samples, std::size_t channels)
{
    for (std::size_t i = 0; i < samples.size(); i += channels)
        add(samples[i]);
    if (mCount == 0)
        return;
    const double square = static_cast<double>(mSquares) / static_cast<double>(mCount);
    mAveragePowerLevel.store(decibels(std::sqrt(square)), std::memory_order_relaxed);
    mPeakHoldLevel.store(decibels(*std::ranges::max_element(mPeaks)), std::memory_order_relaxed);
}

void AVCaptureAudioChannel::add(std::int16_t sample)
{
    const auto square = [](std::int64_t value) { return value * value; };
    mSquares += square(sample) - (mCount == window ? square(mSamples[mPosition]) : 0);
    mCount = std::min(mCount + 1, window);
    mSamples[mPosition] = sample;
    mPeaks[mPeak] = std::max(mPeaks[mPeak], std::abs(int { sample }));
    if (++mPosition < window)
        return;
    mPosition = 0;
    mPeak = (mPeak + 1) % windowsHeld;
    mPeaks[mPeak] = 0;
}

void AVCaptureAudioChannel::forget()
{
    mPosition = 0;
    mCount = 0;
    mSquares = 0;
    mPeaks = {};
    mPeak = 0;
    mAveragePowerLevel.store(silence, std::memory_order_relaxed);
    mPeakHoldLevel.store(silence, std::memory_order_relaxed);
}
