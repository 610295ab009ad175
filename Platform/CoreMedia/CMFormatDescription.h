#pragma once

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"

using CMMediaType = FourCharCode;
inline constexpr CMMediaType kCMMediaType_Video = 0x76696465; // 'vide'
inline constexpr CMMediaType kCMMediaType_Audio = 0x736F756E; // 'soun'
inline constexpr OSStatus kCMFormatDescriptionError_InvalidParameter = -12710;
inline constexpr OSStatus kCMFormatDescriptionError_AllocationFailed = -12711;
inline constexpr FourCharCode kAudioFormatLinearPCM = 0x6C70636D; // 'lpcm'

struct CMVideoDimensions {
    std::int32_t width = 0;
    std::int32_t height = 0;
    friend bool operator==(const CMVideoDimensions&, const CMVideoDimensions&) = default;
};

/// The layout of a stream of sound samples.
struct AudioStreamBasicDescription {
    double mSampleRate = 0;
    std::uint32_t mFormatID = 0;
    std::uint32_t mFormatFlags = 0; ///< bit 0 float, bit 1 big-endian, bit 2 signed integer, bit 3 packed
    std::uint32_t mBytesPerPacket = 0;
    std::uint32_t mFramesPerPacket = 0;
    std::uint32_t mBytesPerFrame = 0;
    std::uint32_t mChannelsPerFrame = 0;
    std::uint32_t mBitsPerChannel = 0;
};

struct AudioChannelLayout {
    std::uint32_t mChannelLayoutTag = 0;
    std::uint32_t mChannelBitmap = 0;
    std::uint32_t mNumberChannelDescriptions = 0;
    std::uint32_t mChannelDescriptions[5] = {};
};
static_assert(sizeof(AudioChannelLayout) == 32);

/// What kind of samples a stream carries. Unchanging.
class CMFormatDescription final : public CFType {
public:
    CMFormatDescription(OSType mediaSubType, CMVideoDimensions dimensions);
    CMFormatDescription(const AudioStreamBasicDescription& audio, const AudioChannelLayout& layout);

    CMMediaType mediaType() const noexcept { return mMediaType; }
    FourCharCode mediaSubType() const noexcept { return mMediaSubType; }
    CMVideoDimensions dimensions() const noexcept { return mDimensions; }
    const AudioStreamBasicDescription& audio() const noexcept { return mAudio; }
    const AudioChannelLayout& channelLayout() const noexcept { return mLayout; }

    CFTypeID typeID() const noexcept override;
    bool isEqual(CFType* other) override;
    std::string description() override;

private:
    const CMMediaType mMediaType;
    const FourCharCode mMediaSubType;
    const CMVideoDimensions mDimensions;
    const AudioStreamBasicDescription mAudio;
    const AudioChannelLayout mLayout;
};

using CMFormatDescriptionRef = CMFormatDescription*;
using CMVideoFormatDescriptionRef = CMFormatDescription*;
using CMAudioFormatDescriptionRef = CMFormatDescription*;

inline CFTypeID CMFormatDescriptionGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CMFormatDescription" };
    return identifier.value();
}
/// Fail point "CMVideoFormatDescriptionCreate".
OSStatus CMVideoFormatDescriptionCreate(CFAllocatorRef allocator, OSType codec, std::int32_t width, std::int32_t height,
    CFDictionary* extensions, Ref<CMFormatDescription>* result);
/// Fail point "CMVideoFormatDescriptionCreateForImageBuffer".
OSStatus CMVideoFormatDescriptionCreateForImageBuffer(
    CFAllocatorRef allocator, CVImageBufferRef imageBuffer, Ref<CMFormatDescription>* result);
/// Whether size and format of the description are the buffer's.
bool CMVideoFormatDescriptionMatchesImageBuffer(CMFormatDescriptionRef description, CVImageBufferRef imageBuffer);
CMVideoDimensions CMVideoFormatDescriptionGetDimensions(CMFormatDescriptionRef description);
CMMediaType CMFormatDescriptionGetMediaType(CMFormatDescriptionRef description);
FourCharCode CMFormatDescriptionGetMediaSubType(CMFormatDescriptionRef description);
/// Null for null and for video.
const AudioStreamBasicDescription* CMAudioFormatDescriptionGetStreamBasicDescription(
    CMFormatDescriptionRef description);
/// Null for null and for video, also at the fail point "CMAudioFormatDescriptionGetChannelLayout".
const AudioChannelLayout* CMAudioFormatDescriptionGetChannelLayout(
    CMFormatDescriptionRef description, std::size_t* size);
