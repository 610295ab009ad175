#include "Platform/CoreMedia/CMFormatDescription.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <cstring>

CMFormatDescription::CMFormatDescription(OSType mediaSubType, CMVideoDimensions dimensions)
    : mMediaType(kCMMediaType_Video)
    , mMediaSubType(mediaSubType)
    , mDimensions(dimensions)
    , mAudio()
    , mLayout()
{
}

CMFormatDescription::CMFormatDescription(const AudioStreamBasicDescription& audio, const AudioChannelLayout& layout)
    : mMediaType(kCMMediaType_Audio)
    , mMediaSubType(audio.mFormatID)
    , mDimensions()
    , mAudio(audio)
    , mLayout(layout)
{
}

CFTypeID CMFormatDescription::typeID() const noexcept
{
    return CMFormatDescriptionGetTypeID();
}

bool CMFormatDescription::isEqual(CFType* other)
{
    const auto* const format = dynamic_cast<CMFormatDescription*>(other);
    if (!format || format->mMediaType != mMediaType || format->mMediaSubType != mMediaSubType)
        return false;
    if (mMediaType == kCMMediaType_Video)
        return format->mDimensions == mDimensions;
    return format->mAudio.mSampleRate == mAudio.mSampleRate && format->mAudio.mFormatFlags == mAudio.mFormatFlags
        && format->mAudio.mChannelsPerFrame == mAudio.mChannelsPerFrame
        && format->mAudio.mBitsPerChannel == mAudio.mBitsPerChannel
        && std::memcmp(&format->mLayout, &mLayout, sizeof mLayout) == 0;
}

std::string CMFormatDescription::description()
{
    const char code[] = { static_cast<char>(mMediaSubType >> 24), static_cast<char>(mMediaSubType >> 16),
        static_cast<char>(mMediaSubType >> 8), static_cast<char>(mMediaSubType), 0 };
    std::string text = "<CMFormatDescription '";
    text += code;
    if (mMediaType == kCMMediaType_Video)
        return text + "' " + std::to_string(mDimensions.width) + "x" + std::to_string(mDimensions.height) + ">";
    return text + "' " + std::to_string(static_cast<long>(mAudio.mSampleRate)) + " Hz, "
        + std::to_string(mAudio.mChannelsPerFrame) + " channels>";
}

OSStatus CMVideoFormatDescriptionCreate(CFAllocatorRef /*allocator*/, OSType codec, std::int32_t width,
    std::int32_t height, CFDictionary* /*extensions*/, Ref<CMFormatDescription>* result)
{
    *result = nullptr;
    if (const auto status = FAIL_POINT("CMVideoFormatDescriptionCreate"))
        return *status;
    if (width < 0 || height < 0)
        return kCMFormatDescriptionError_InvalidParameter;
    *result = make<CMFormatDescription>(codec, CMVideoDimensions { width, height });
    return noErr;
}

OSStatus CMVideoFormatDescriptionCreateForImageBuffer(
    CFAllocatorRef allocator, CVImageBufferRef imageBuffer, Ref<CMFormatDescription>* result)
{
    *result = nullptr;
    if (const auto status = FAIL_POINT("CMVideoFormatDescriptionCreateForImageBuffer"))
        return *status;
    if (!imageBuffer)
        return kCMFormatDescriptionError_InvalidParameter;
    return CMVideoFormatDescriptionCreate(allocator, imageBuffer->pixelFormat(),
        static_cast<std::int32_t>(imageBuffer->width()), static_cast<std::int32_t>(imageBuffer->height()), nullptr,
        result);
}

bool CMVideoFormatDescriptionMatchesImageBuffer(CMFormatDescriptionRef description, CVImageBufferRef imageBuffer)
{
    return description && imageBuffer && description->mediaType() == kCMMediaType_Video
        && description->mediaSubType() == imageBuffer->pixelFormat()
        && description->dimensions()
        == CMVideoDimensions { static_cast<std::int32_t>(imageBuffer->width()),
               static_cast<std::int32_t>(imageBuffer->height()) };
}

CMVideoDimensions CMVideoFormatDescriptionGetDimensions(CMFormatDescriptionRef description)
{
    return description ? description->dimensions() : CMVideoDimensions {};
}

CMMediaType CMFormatDescriptionGetMediaType(CMFormatDescriptionRef description)
{
    return description ? description->mediaType() : 0;
}

FourCharCode CMFormatDescriptionGetMediaSubType(CMFormatDescriptionRef description)
{
    return description ? description->mediaSubType() : 0;
}

const AudioStreamBasicDescription* CMAudioFormatDescriptionGetStreamBasicDescription(CMFormatDescriptionRef description)
{
    return description && description->mediaType() == kCMMediaType_Audio ? &description->audio() : nullptr;
}

const AudioChannelLayout* CMAudioFormatDescriptionGetChannelLayout(
    CMFormatDescriptionRef description, std::size_t* size)
{
    if (size)
        *size = 0;
    if (!description || description->mediaType() != kCMMediaType_Audio
        || FAIL_POINT("CMAudioFormatDescriptionGetChannelLayout"))
        return nullptr;
    if (size)
        *size = sizeof(AudioChannelLayout);
    return &description->channelLayout();
}
