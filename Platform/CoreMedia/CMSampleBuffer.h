#pragma once

#include "Platform/CoreMedia/CMFormatDescription.h"
#include "Platform/CoreMedia/CMTime.h"

#include <span>
#include <vector>

struct CMSampleTimingInfo {
    CMTime duration = kCMTimeInvalid;
    CMTime presentationTimeStamp = kCMTimeInvalid;
    CMTime decodeTimeStamp = kCMTimeInvalid;
};

inline constexpr OSStatus kCMSampleBufferError_AllocationFailed = -12730;
inline constexpr OSStatus kCMSampleBufferError_RequiredParameterMissing = -12731;
inline constexpr OSStatus kCMSampleBufferError_InvalidMediaFormat = -12743;

/// One video frame, or a run of sound frames, with its format and its time on the host clock. Unchanging.
class CMSampleBuffer final : public CFType {
public:
    CMSampleBuffer(Ref<CVPixelBuffer> imageBuffer, Ref<CMFormatDescription> format, const CMSampleTimingInfo& timing);
    /// \param sound  interleaved samples as \p format describes them
    CMSampleBuffer(std::vector<std::byte> sound, Ref<CMFormatDescription> format, const CMSampleTimingInfo& timing);

    CVPixelBuffer* imageBuffer() const noexcept { return mImageBuffer; }
    std::span<const std::byte> sound() const noexcept { return mSound; }
    /// Sound frames (a sample of every channel), or 1 for a picture.
    std::size_t sampleCount() const noexcept;
    CMFormatDescription* formatDescription() const noexcept { return mFormat; }
    const CMSampleTimingInfo& timing() const noexcept { return mTiming; }

    CFTypeID typeID() const noexcept override;
    std::string description() override;

private:
    const Ref<CVPixelBuffer> mImageBuffer;
    const std::vector<std::byte> mSound;
    const Ref<CMFormatDescription> mFormat;
    const CMSampleTimingInfo mTiming;
};

using CMSampleBufferRef = CMSampleBuffer*;

inline CFTypeID CMSampleBufferGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CMSampleBuffer" };
    return identifier.value();
}
/// Fail point "CMSampleBufferCreateForImageBuffer".
/// \return kCMSampleBufferError_RequiredParameterMissing without buffer, format or timing;
/// kCMSampleBufferError_InvalidMediaFormat when the format does not match the buffer
OSStatus CMSampleBufferCreateForImageBuffer(CFAllocatorRef allocator, CVImageBufferRef imageBuffer, bool dataReady,
    CMFormatDescriptionRef format, const CMSampleTimingInfo* timing, Ref<CMSampleBuffer>* result);
CMFormatDescriptionRef CMSampleBufferGetFormatDescription(CMSampleBufferRef buffer);
CVImageBufferRef CMSampleBufferGetImageBuffer(CMSampleBufferRef buffer);
CMTime CMSampleBufferGetPresentationTimeStamp(CMSampleBufferRef buffer);
CMTime CMSampleBufferGetDuration(CMSampleBufferRef buffer);
