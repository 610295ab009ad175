#include "Platform/AVFoundation/AVCaptureConnection.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/AVFoundation/AVCaptureOutput.h"

#include <algorithm>
#include <cmath>

NS_IMPLEMENTATION(AVCaptureConnection, NSObject)
{
    type.message("mediaType", &AVCaptureConnection::mediaType);
    type.message("isActive", &AVCaptureConnection::isActive);
    type.key("averagePowerLevel", &AVCaptureConnection::averagePowerLevel);
    type.key("peakPowerLevel", &AVCaptureConnection::peakPowerLevel);
}

namespace {

constexpr double silence = -160;
/// How many samples one measure of the level covers: a twentieth of a second.
constexpr std::size_t measured = 2400;

double decibels(double amplitude)
{
    return amplitude > 0 ? std::max(silence, 20 * std::log10(amplitude)) : silence;
}

}

AVCaptureConnection::AVCaptureConnection(AVMediaType mediaType, AVCaptureDeviceInput* input, AVCaptureOutput* output)
    : mMediaType(mediaType)
    , mInput(input)
    , mOutput(output)
{
}

AVCaptureConnection::~AVCaptureConnection() = default;

std::vector<float> AVCaptureConnection::latestSamples(std::size_t count) const
{
    const std::lock_guard lock(mLock);
    const std::size_t available = std::min({ count, mWritten, kept });
    std::vector<float> result(available);
    for (std::size_t i = 0; i < available; ++i)
        result[i] = mSamples[(mWritten - available + i) % kept];
    return result;
}

void AVCaptureConnection::measure(std::span<const std::int16_t> samples, std::size_t channels)
{
    if (channels == 0)
        return;
    const std::lock_guard lock(mLock);
    for (std::size_t i = 0; i + channels <= samples.size(); i += channels) {
        float sum = 0;
        for (std::size_t channel = 0; channel < channels; ++channel)
            sum += static_cast<float>(samples[i + channel]);
        mSamples[mWritten++ % kept] = sum / (32768.0F * static_cast<float>(channels));
    }
    const std::size_t count = std::min(mWritten, measured);
    double squares = 0;
    double peak = 0;
    for (std::size_t i = mWritten - count; i < mWritten; ++i) {
        const double sample = mSamples[i % kept];
        squares += sample * sample;
        peak = std::max(peak, std::abs(sample));
    }
    mAveragePowerLevel.store(
        count ? decibels(std::sqrt(squares / static_cast<double>(count))) : silence, std::memory_order_relaxed);
    mPeakPowerLevel.store(decibels(peak), std::memory_order_relaxed);
}
