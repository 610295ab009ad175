#include "Platform/AVFoundation/SilenceSource.h"

#include "Platform/AVFoundation/AVCaptureAudioDataOutput.h"
#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/CoreFoundation/HostClock.h"

namespace {

constexpr std::int64_t packetTime = nanosecondsInSecond / 50;
constexpr std::int64_t samplesInSecond = AVCaptureAudioDataOutput::sampleRate;
/// After a longer pause of the whole machine the silence goes on from the present.
constexpr std::int64_t longestRun = samplesInSecond / 2;

}

Ref<AVCaptureDevice> SilenceSource::makeDevice()
{
    AudioStreamBasicDescription audio;
    audio.mSampleRate = samplesInSecond;
    audio.mFormatID = kAudioFormatLinearPCM;
    audio.mChannelsPerFrame = AVCaptureAudioDataOutput::channels;
    audio.mBitsPerChannel = 16;
    AVCaptureDevice::Properties properties;
    properties.uniqueID = "org.tovrin.Silence";
    properties.localizedName = "Silence";
    properties.manufacturer = "Tovrin";
    properties.mediaType = AVMediaTypeAudio;
    properties.formats.push_back(make<AVCaptureDeviceFormat>(AVMediaTypeAudio,
        make<CMFormatDescription>(audio, AudioChannelLayout {}), std::vector<Ref<AVFrameRateRange>> {}));
    return make<AVCaptureDevice>(
        std::move(properties), [](CaptureSink& sink) { return std::make_unique<SilenceSource>(sink); });
}

Ref<NSError> SilenceSource::start()
{
    mQueue = dispatch_queue_create("SilenceSource");
    mTimer = dispatch_source_create_timer(mQueue);
    if (!mQueue || !mTimer)
        return NSError::errorWithMessage(
            AVFoundationErrorDomain, AVErrorUnknown, "The silence's timer cannot be made.");
    mStart = HostClock::nanoseconds();
    mDelivered = 0;
    dispatch_source_set_timer(mTimer, static_cast<dispatch_time_t>(mStart + packetTime), packetTime, 0);
    dispatch_source_set_event_handler(mTimer, [this] { soundIsDue(); });
    dispatch_resume(mTimer);
    return nullptr;
}

void SilenceSource::stop()
{
    if (!mTimer)
        return;
    dispatch_source_cancel(mTimer);
    dispatch_sync(mQueue, [] {});
    mTimer = nullptr;
}

void SilenceSource::soundIsDue()
{
    const std::int64_t elapsed = (HostClock::nanoseconds() - mStart) * samplesInSecond / nanosecondsInSecond;
    if (elapsed - mDelivered > longestRun)
        mDelivered = elapsed - longestRun;
    const std::int64_t frames = elapsed - mDelivered;
    if (frames <= 0)
        return;
    const std::int64_t time = mStart + mDelivered * nanosecondsInSecond / samplesInSecond;
    mDelivered = elapsed;
    mSink.soundCame(
        std::vector<std::byte>(static_cast<std::size_t>(frames) * AVCaptureAudioDataOutput::bytesPerFrame), time);
}
