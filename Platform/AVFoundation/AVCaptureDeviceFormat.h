#pragma once

#include "Platform/AVFoundation/AVMediaFormat.h"
#include "Platform/CoreMedia/CMFormatDescription.h"
#include "Platform/Foundation/NSObject.h"

/// The slowest and the fastest rate at which a device delivers pictures of one format, in frames a second.
class AVFrameRateRange : public NSObject {
    NS_OBJECT(AVFrameRateRange)
public:
    AVFrameRateRange(double minFrameRate, double maxFrameRate)
        : mMinFrameRate(minFrameRate)
        , mMaxFrameRate(maxFrameRate)
    {
    }
    double minFrameRate() const { return mMinFrameRate; }
    double maxFrameRate() const { return mMaxFrameRate; }
    std::string description() override;

private:
    const double mMinFrameRate;
    const double mMaxFrameRate;
};

/// One form in which a device can deliver its samples. Unchanging.
class AVCaptureDeviceFormat : public NSObject {
    NS_OBJECT(AVCaptureDeviceFormat)
public:
    AVCaptureDeviceFormat(
        AVMediaType mediaType, Ref<CMFormatDescription> description, std::vector<Ref<AVFrameRateRange>> ranges);
    AVMediaType mediaType() const { return mMediaType; }
    CMFormatDescription* formatDescription() const { return mFormatDescription; }
    /// `AVFrameRateRange`s, empty for sound. Kept by the innermost pool.
    CFArray* videoSupportedFrameRateRanges() const { return mRanges; }
    std::string description() override;

private:
    const AVMediaType mMediaType;
    const Ref<CMFormatDescription> mFormatDescription;
    const Ref<CFArray> mRanges;
};
