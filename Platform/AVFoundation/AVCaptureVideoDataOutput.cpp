#include "Platform/AVFoundation/AVCaptureVideoDataOutput.h"

#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/CoreFoundation/HostClock.h"

NS_IMPLEMENTATION(AVCaptureVideoDataOutput, AVCaptureOutput)
{
    type.message("setSampleBufferDelegate:queue:", &AVCaptureVideoDataOutput::setSampleBufferDelegate_queue);
    type.message("setAlwaysDiscardsLateVideoFrames:", &AVCaptureVideoDataOutput::setAlwaysDiscardsLateVideoFrames);
    type.message("setVideoSettings:", &AVCaptureVideoDataOutput::setVideoSettings);
}

namespace {

/// Pictures that may wait for the delegate: while its callback runs, while the machine has not come to it yet, and
/// where late ones are not to be thrown away.
constexpr int mostWhileBusy = 1;
constexpr int mostWhileIdle = 4;
constexpr int mostWhenKeeping = 8;

std::int32_t dimension(CFDictionary* settings, CFString* key)
{
    const auto* const number = settings ? settings->get<CFNumber>(key) : nullptr;
    const double value = number ? number->doubleValue() : 0;
    return value >= 1 && value <= 16384 ? static_cast<std::int32_t>(value) : 0;
}

}

void AVCaptureVideoDataOutput::setSampleBufferDelegate_queue(NSObject* delegate, dispatch_queue_t queue)
{
    mReceiver.set(delegate, queue);
}

void AVCaptureVideoDataOutput::setVideoSettings(CFDictionary* settings)
{
    const std::lock_guard lock(mSettingsLock);
    mSettings = settings;
}

CFDictionary* AVCaptureVideoDataOutput::videoSettings() const
{
    const std::lock_guard lock(mSettingsLock);
    return autorelease(mSettings);
}

CMVideoDimensions AVCaptureVideoDataOutput::requestedDimensions() const
{
    const AutoreleasePool pool;
    auto* const settings = videoSettings();
    const CMVideoDimensions result { dimension(settings, kCVPixelBufferWidthKey),
        dimension(settings, kCVPixelBufferHeightKey) };
    return result.width > 0 && result.height > 0 ? result : CMVideoDimensions {};
}

bool AVCaptureVideoDataOutput::admitFrame()
{
    mReceived.fetch_add(1, std::memory_order_relaxed);
    int most = mostWhenKeeping;
    if (alwaysDiscardsLateVideoFrames())
        most = mBusy.load(std::memory_order_relaxed) ? mostWhileBusy : mostWhileIdle;
    if (mWaiting.fetch_add(1, std::memory_order_relaxed) < most)
        return true;
    mWaiting.fetch_sub(1, std::memory_order_relaxed);
    mLate.fetch_add(1, std::memory_order_relaxed);
    return false;
}

void AVCaptureVideoDataOutput::abandonFrame()
{
    mWaiting.fetch_sub(1, std::memory_order_relaxed);
}

void AVCaptureVideoDataOutput::deliver(Ref<CVPixelBuffer> pixelBuffer, std::int64_t hostTime, std::int64_t duration)
{
    const AutoreleasePool pool;
    const auto queue = mReceiver.queue();
    const Ref<AVCaptureConnection> connection(connectionWithMediaType(AVMediaTypeVideo));
    const auto sample = sampleBufferWith(pixelBuffer, hostTime, duration);
    if (!queue || !connection || !sample) {
        abandonFrame();
        return;
    }
    // The sample is held by the closure, so that it goes back to its pool as soon as the callback has returned.
    dispatch_async(queue, [weakSelf = WeakRef { this }, sample, connection] {
        const auto self = weakSelf.strongReference();
        if (!self)
            return;
        self->mBusy.store(true, std::memory_order_relaxed);
        self->mWaiting.fetch_sub(1, std::memory_order_relaxed);
        self->mReceiver.deliver(self, sample, connection);
        self->mBusy.store(false, std::memory_order_relaxed);
    });
}

Ref<CMSampleBuffer> AVCaptureVideoDataOutput::sampleBufferWith(
    CVPixelBuffer* pixelBuffer, std::int64_t hostTime, std::int64_t duration)
{
    const std::lock_guard lock(mSettingsLock);
    if (!mFormat || !CMVideoFormatDescriptionMatchesImageBuffer(mFormat, pixelBuffer)) {
        mFormat = nullptr;
        if (CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, pixelBuffer, &mFormat) != noErr)
            return nullptr;
    }
    CMSampleTimingInfo timing;
    timing.presentationTimeStamp = CMTimeMake(hostTime, nanosecondsInSecond);
    if (duration > 0)
        timing.duration = CMTimeMake(duration, nanosecondsInSecond);
    return make<CMSampleBuffer>(Ref(pixelBuffer), mFormat, timing);
}
