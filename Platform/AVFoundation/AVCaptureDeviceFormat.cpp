#include "Platform/AVFoundation/AVCaptureDeviceFormat.h"

NS_IMPLEMENTATION(AVFrameRateRange, NSObject)
{
    type.key("minFrameRate", &AVFrameRateRange::minFrameRate);
    type.key("maxFrameRate", &AVFrameRateRange::maxFrameRate);
}

std::string AVFrameRateRange::description()
{
    return CFFormat("%.2f to %.2f frames a second", { mMinFrameRate, mMaxFrameRate });
}

NS_IMPLEMENTATION(AVCaptureDeviceFormat, NSObject)
{
    type.key("formatDescription", &AVCaptureDeviceFormat::formatDescription);
    type.key("videoSupportedFrameRateRanges", &AVCaptureDeviceFormat::videoSupportedFrameRateRanges);
}

AVCaptureDeviceFormat::AVCaptureDeviceFormat(
    AVMediaType mediaType, Ref<CMFormatDescription> description, std::vector<Ref<AVFrameRateRange>> ranges)
    : mMediaType(mediaType)
    , mFormatDescription(std::move(description))
    , mRanges(CFArray::create(ranges))
{
}

std::string AVCaptureDeviceFormat::description()
{
    return CFFormat("%@ %@", { mFormatDescription, mRanges });
}
