#include "Platform/CoreMedia/CMSampleBuffer.h"

#include "Platform/CoreFoundation/FailPoint.h"

CMSampleBuffer::CMSampleBuffer(
    Ref<CVPixelBuffer> imageBuffer, Ref<CMFormatDescription> format, const CMSampleTimingInfo& timing)
    : mImageBuffer(std::move(imageBuffer))
    , mFormat(std::move(format))
    , mTiming(timing)
{
}

CMSampleBuffer::CMSampleBuffer(
    std::vector<std::byte> sound, Ref<CMFormatDescription> format, const CMSampleTimingInfo& timing)
    : mSound(std::move(sound))
    , mFormat(std::move(format))
    , mTiming(timing)
{
}

std::size_t CMSampleBuffer::sampleCount() const noexcept
{
    if (mImageBuffer)
        return 1;
    const auto frame = mFormat ? mFormat->audio().mBytesPerFrame : 0;
    return frame ? mSound.size() / frame : 0;
}

CFTypeID CMSampleBuffer::typeID() const noexcept
{
    return CMSampleBufferGetTypeID();
}

std::string CMSampleBuffer::description()
{
    return "<CMSampleBuffer " + CMTimeCopyDescription(kCFAllocatorDefault, mTiming.presentationTimeStamp)->string()
        + " " + (mFormat ? mFormat->description() : "(null)") + ">";
}

OSStatus CMSampleBufferCreateForImageBuffer(CFAllocatorRef /*allocator*/, CVImageBufferRef imageBuffer,
    bool /*dataReady*/, CMFormatDescriptionRef format, const CMSampleTimingInfo* timing, Ref<CMSampleBuffer>* result)
{
    *result = nullptr;
    if (const auto status = FAIL_POINT("CMSampleBufferCreateForImageBuffer"))
        return *status;
    if (!imageBuffer || !format || !timing)
        return kCMSampleBufferError_RequiredParameterMissing;
    if (!CMVideoFormatDescriptionMatchesImageBuffer(format, imageBuffer))
        return kCMSampleBufferError_InvalidMediaFormat;
    *result = make<CMSampleBuffer>(Ref(imageBuffer), Ref(format), *timing);
    return noErr;
}

CMFormatDescriptionRef CMSampleBufferGetFormatDescription(CMSampleBufferRef buffer)
{
    return buffer ? buffer->formatDescription() : nullptr;
}

CVImageBufferRef CMSampleBufferGetImageBuffer(CMSampleBufferRef buffer)
{
    return buffer ? buffer->imageBuffer() : nullptr;
}

CMTime CMSampleBufferGetPresentationTimeStamp(CMSampleBufferRef buffer)
{
    return buffer ? buffer->timing().presentationTimeStamp : kCMTimeInvalid;
}

CMTime CMSampleBufferGetDuration(CMSampleBufferRef buffer)
{
    return buffer ? buffer->timing().duration : kCMTimeInvalid;
}
