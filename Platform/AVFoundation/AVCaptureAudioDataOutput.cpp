#include "Platform/AVFoundation/AVCaptureAudioDataOutput.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"

#include <cstring>

NS_IMPLEMENTATION(AVCaptureAudioDataOutput, AVCaptureOutput)
{
    type.message("setSampleBufferDelegate:queue:", &AVCaptureAudioDataOutput::setSampleBufferDelegate_queue);
}

namespace {

constexpr std::int32_t timescale = 1'000'000'000;
constexpr std::uint32_t bytesPerFrame = AVCaptureAudioDataOutput::channels * sizeof(std::int16_t);
/// The host's tag of two channels, left and right.
constexpr std::uint32_t stereoLayoutTag = 101U << 16 | 2;
/// Packed signed integers, in the machine's order.
constexpr std::uint32_t signedIntegerPacked = 4 | 8;

Ref<CMFormatDescription> makeFormat()
{
    AudioStreamBasicDescription audio;
    audio.mSampleRate = AVCaptureAudioDataOutput::sampleRate;
    audio.mFormatID = kAudioFormatLinearPCM;
    audio.mFormatFlags = signedIntegerPacked;
    audio.mBytesPerPacket = bytesPerFrame;
    audio.mFramesPerPacket = 1;
    audio.mBytesPerFrame = bytesPerFrame;
    audio.mChannelsPerFrame = AVCaptureAudioDataOutput::channels;
    audio.mBitsPerChannel = 16;
    AudioChannelLayout layout;
    layout.mChannelLayoutTag = stereoLayoutTag;
    return make<CMFormatDescription>(audio, layout);
}

}

void AVCaptureAudioDataOutput::setSampleBufferDelegate_queue(NSObject* delegate, dispatch_queue_t queue)
{
    mReceiver.set(delegate, queue);
}

void AVCaptureAudioDataOutput::deliver(std::vector<std::byte> samples, std::int64_t hostTime)
{
    const AutoreleasePool pool;
    const auto queue = mReceiver.queue();
    const Ref<AVCaptureConnection> connection(connectionWithMediaType(AVMediaTypeAudio));
    if (!connection || samples.size() < bytesPerFrame)
        return;
    // Whoever asks the connection for its level needs no delegate.
    std::vector<std::int16_t> values(samples.size() / sizeof(std::int16_t));
    std::memcpy(values.data(), samples.data(), values.size() * sizeof(std::int16_t));
    connection->measure(values, channels);
    if (!queue)
        return;

    Ref<CMFormatDescription> format;
    {
        const std::lock_guard lock(mFormatLock);
        if (!mFormat)
            mFormat = makeFormat();
        format = mFormat;
    }
    CMSampleTimingInfo timing;
    timing.presentationTimeStamp = CMTimeMake(hostTime, timescale);
    timing.duration = CMTimeMake(static_cast<std::int64_t>(samples.size() / bytesPerFrame), sampleRate);
    const auto sample = make<CMSampleBuffer>(std::move(samples), format, timing);
    dispatch_async(queue, [weakSelf = WeakRef { this }, sample, connection] {
        if (const auto self = weakSelf.strongReference())
            self->mReceiver.deliver(self, sample, connection);
    });
}
