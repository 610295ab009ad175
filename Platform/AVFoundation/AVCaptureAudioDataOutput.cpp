#include "Platform/AVFoundation/AVCaptureAudioDataOutput.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/AVFoundation/SoundTimeline.h"
#include "Platform/CoreFoundation/HostClock.h"

#include <cstring>

NS_IMPLEMENTATION(AVCaptureAudioDataOutput, AVCaptureOutput)
{
    type.message("setSampleBufferDelegate:queue:", &AVCaptureAudioDataOutput::setSampleBufferDelegate_queue);
}

namespace {

static_assert(AVCaptureAudioDataOutput::sampleRate == SoundResampler::outputRate);
static_assert(AVCaptureAudioDataOutput::channels == SoundResampler::channels);
/// What may wait for the delegate before more is thrown away: five seconds, a megabyte.
constexpr std::size_t mostWaitingFrames = std::size_t { 5 } * AVCaptureAudioDataOutput::sampleRate;
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
    audio.mBytesPerPacket = AVCaptureAudioDataOutput::bytesPerFrame;
    audio.mFramesPerPacket = 1;
    audio.mBytesPerFrame = AVCaptureAudioDataOutput::bytesPerFrame;
    audio.mChannelsPerFrame = AVCaptureAudioDataOutput::channels;
    audio.mBitsPerChannel = 16;
    AudioChannelLayout layout;
    layout.mChannelLayoutTag = stereoLayoutTag;
    return make<CMFormatDescription>(audio, layout);
}

}

AVCaptureAudioDataOutput::AVCaptureAudioDataOutput()
    : mTimeline(std::make_unique<SoundTimeline>(
        [this](std::span<const std::int16_t> samples, std::int64_t hostTime) { post(samples, hostTime); }))
{
}

AVCaptureAudioDataOutput::~AVCaptureAudioDataOutput() = default;

void AVCaptureAudioDataOutput::setSampleBufferDelegate_queue(NSObject* delegate, dispatch_queue_t queue)
{
    mReceiver.set(delegate, queue);
}

void AVCaptureAudioDataOutput::setDelivering(bool delivers)
{
    const std::lock_guard lock(mLock);
    if (delivers == mDelivers)
        return;
    mDelivers = delivers;
    if (!delivers) {
        if (mTimer)
            dispatch_source_cancel(mTimer);
        mTimer = nullptr;
        // Whoever looks at the sound shall not go on seeing the last of it.
        const AutoreleasePool pool;
        if (auto* const connection = connectionWithMediaType(AVMediaTypeAudio))
            connection->forgetSound();
        return;
    }
    const std::int64_t now = HostClock::nanoseconds();
    mTimeline->begin(now);
    if (!mTimerQueue)
        mTimerQueue = dispatch_queue_create("AVCaptureAudioDataOutput");
    mTimer = dispatch_source_create_timer(mTimerQueue);
    if (!mTimer)
        return;
    dispatch_source_set_timer(
        mTimer, static_cast<dispatch_time_t>(now + SoundTimeline::tickInterval), SoundTimeline::tickInterval, 0);
    dispatch_source_set_event_handler(mTimer, [weakSelf = WeakRef { this }] {
        if (const auto self = weakSelf.strongReference())
            self->tick();
    });
    dispatch_resume(mTimer);
}

void AVCaptureAudioDataOutput::tick()
{
    const AutoreleasePool pool;
    const std::lock_guard lock(mLock);
    // Without a microphone in the session there is nothing to be silent.
    if (mDelivers && connectionWithMediaType(AVMediaTypeAudio))
        mTimeline->tick(HostClock::nanoseconds());
}

void AVCaptureAudioDataOutput::deliver(std::uint64_t source, std::span<const std::byte> samples, std::int64_t hostTime)
{
    const AutoreleasePool pool;
    const std::lock_guard lock(mLock);
    if (!mDelivers || source < mSource || samples.size() < bytesPerFrame)
        return;
    if (std::exchange(mSource, source) != source)
        mTimeline->deviceChanged();
    std::vector<std::int16_t> values(samples.size() / bytesPerFrame * channels);
    std::memcpy(values.data(), samples.data(), values.size() * sizeof(std::int16_t));
    mTimeline->push(values, hostTime, HostClock::nanoseconds());
}

void AVCaptureAudioDataOutput::post(std::span<const std::int16_t> samples, std::int64_t hostTime)
{
    const Ref<AVCaptureConnection> connection(connectionWithMediaType(AVMediaTypeAudio));
    if (!connection)
        return;
    // Whoever asks the connection for its level needs no delegate.
    connection->measure(samples);
    const auto queue = mReceiver.queue();
    const std::size_t frames = samples.size() / channels;
    if (!queue || mWaitingFrames.load() + frames > mostWaitingFrames)
        return;
    mWaitingFrames += frames;

    if (!mFormat)
        mFormat = makeFormat();
    CMSampleTimingInfo timing;
    timing.presentationTimeStamp = CMTimeMake(hostTime, nanosecondsInSecond);
    timing.duration = CMTimeMake(static_cast<std::int64_t>(frames), sampleRate);
    const auto bytes = std::as_bytes(samples);
    const auto sample = make<CMSampleBuffer>(std::vector(bytes.begin(), bytes.end()), mFormat, timing);
    dispatch_async(queue, [weakSelf = WeakRef { this }, frames, sample, connection] {
        const auto self = weakSelf.strongReference();
        if (!self)
            return;
        self->mWaitingFrames -= frames;
        self->mReceiver.deliver(self, sample, connection);
    });
}
