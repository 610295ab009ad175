#include "Platform/AVFoundation/AVAssetWriterSettings.h"

#include "Platform/AVFoundation/AVAudioSettings.h"
#include "Platform/AVFoundation/AVMediaFormat.h"
#include "Platform/AVFoundation/AVVideoSettings.h"

#include <cmath>

namespace {

double numberOf(CFDictionary* settings, CFString* key, double otherwise)
{
    const auto* const number = settings ? settings->get<CFNumber>(key) : nullptr;
    return number ? number->doubleValue() : otherwise;
}

bool canApplyPicture(CFDictionary* settings)
{
    constexpr double smallest = 16;
    constexpr double largest = 8192;
    const double width = numberOf(settings, AVVideoWidthKey, 0);
    const double height = numberOf(settings, AVVideoHeightKey, 0);
    return CFEqual(settings->objectForKey(AVVideoCodecKey), AVVideoCodecH264) && width >= smallest && width <= largest
        && height >= smallest && height <= largest;
}

bool canApplySound(CFDictionary* settings)
{
    constexpr double highestRate = 768000;
    constexpr double mostChannels = 8;
    const double rate = numberOf(settings, AVSampleRateKey, 0);
    const double channels = numberOf(settings, AVNumberOfChannelsKey, 0);
    return numberOf(settings, AVFormatIDKey, 0) == kAudioFormatLinearPCM && rate >= 1 && rate <= highestRate
        && channels >= 1 && channels <= mostChannels && numberOf(settings, AVLinearPCMBitDepthKey, 16) == 16
        && numberOf(settings, AVLinearPCMIsFloatKey, 0) == 0 && numberOf(settings, AVLinearPCMIsBigEndianKey, 0) == 0
        && numberOf(settings, AVLinearPCMIsNonInterleaved, 0) == 0;
}

}

bool AVAssetWriterSettings::canApply(CFDictionary* settings, CFString* mediaType)
{
    if (mediaType == AVMediaTypeVideo)
        return settings && canApplyPicture(settings);
    if (mediaType == AVMediaTypeAudio)
        return !settings || canApplySound(settings);
    return false;
}

AVAssetWriterPictureEncoder::Settings AVAssetWriterSettings::picture(CFDictionary* settings)
{
    constexpr double usualBitsPerPixel = 11.4;
    const double width = numberOf(settings, AVVideoWidthKey, 0);
    const double height = numberOf(settings, AVVideoHeightKey, 0);
    auto* const compression = settings->get<CFDictionary>(AVVideoCompressionPropertiesKey);
    AVAssetWriterPictureEncoder::Settings result;
    // The colour planes have half the size, so an odd last row or column is left out.
    result.width = static_cast<int>(width) & ~1;
    result.height = static_cast<int>(height) & ~1;
    result.bitRate = std::llround(numberOf(compression, AVVideoAverageBitRateKey, width * height * usualBitsPerPixel));
    result.keyFrameInterval = static_cast<int>(numberOf(compression, AVVideoMaxKeyFrameIntervalKey, 30));
    return result;
}

AudioStreamBasicDescription AVAssetWriterSettings::sound(CFDictionary* settings)
{
    constexpr std::uint32_t signedPacked = 0xC;
    AudioStreamBasicDescription result;
    result.mSampleRate = numberOf(settings, AVSampleRateKey, 0);
    result.mFormatID = kAudioFormatLinearPCM;
    result.mFormatFlags = signedPacked;
    result.mFramesPerPacket = 1;
    result.mChannelsPerFrame = static_cast<std::uint32_t>(numberOf(settings, AVNumberOfChannelsKey, 0));
    result.mBytesPerFrame = result.mBytesPerPacket = 2 * result.mChannelsPerFrame;
    result.mBitsPerChannel = 16;
    return result;
}
