#include "Platform/AVFoundation/AVCaptureConnection.h"

#include "Platform/AVFoundation/AVCaptureAudioDataOutput.h"
#include "Platform/AVFoundation/AVCaptureDeviceInput.h"

#include <algorithm>

NS_IMPLEMENTATION(AVCaptureConnection, NSObject)
{
    type.message("mediaType", &AVCaptureConnection::mediaType);
    type.message("isActive", &AVCaptureConnection::isActive);
    type.key("audioChannels", &AVCaptureConnection::audioChannels);
}

namespace {

constexpr std::size_t soundChannels = AVCaptureAudioDataOutput::channels;

Ref<CFArray> channelsFor(AVMediaType mediaType)
{
    auto result = make<CFArray>();
    for (std::size_t i = 0; i < soundChannels && CFEqual(mediaType, AVMediaTypeAudio); ++i)
        result->append(make<AVCaptureAudioChannel>().get());
    return result;
}

}

AVCaptureConnection::AVCaptureConnection(AVMediaType mediaType, AVCaptureDeviceInput* input, AVCaptureOutput* output)
    : mMediaType(mediaType)
    , mInput(input)
    , mOutput(output)
    , mAudioChannels(channelsFor(mediaType))
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

void AVCaptureConnection::measure(std::span<const std::int16_t> samples)
{
    samples = samples.first(samples.size() - samples.size() % soundChannels);
    const std::lock_guard lock(mLock);
    for (std::size_t i = 0; i < samples.size(); i += soundChannels) {
        float sum = 0;
        for (const auto sample : samples.subspan(i, soundChannels))
            sum += static_cast<float>(sample);
        mSamples[mWritten++ % kept] = sum / (32768.0F * static_cast<float>(soundChannels));
    }
    for (std::size_t channel = 0; channel < mAudioChannels->count() && !samples.empty(); ++channel)
        kindOf<AVCaptureAudioChannel>(mAudioChannels->objectAtIndex(channel))
            ->measure(samples.subspan(channel), soundChannels);
}

void AVCaptureConnection::forgetSound()
{
    const std::lock_guard lock(mLock);
    mWritten = 0;
    for (const auto& channel : mAudioChannels->values())
        kindOf<AVCaptureAudioChannel>(channel)->forget();
}
