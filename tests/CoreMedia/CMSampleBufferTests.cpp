#include "Platform/CoreMedia/CMSampleBuffer.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

namespace {

Ref<CVPixelBuffer> picture(std::size_t width, std::size_t height)
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, width, height, kCVPixelFormatType_32BGRA, nullptr, &buffer), 0);
    return buffer;
}

Ref<CMFormatDescription> formatOf(CVPixelBuffer* buffer)
{
    Ref<CMFormatDescription> format;
    EXPECT_EQ(CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, buffer, &format), 0);
    return format;
}

}

TEST(CMSampleBuffer, CarriesAPictureWithItsFormatAndTime)
{
    const auto buffer = picture(6, 4);
    const auto format = formatOf(buffer);
    const CMSampleTimingInfo timing { kCMTimeInvalid, CMTimeMake(7, 30), kCMTimeInvalid };
    Ref<CMSampleBuffer> sample;
    ASSERT_EQ(CMSampleBufferCreateForImageBuffer(kCFAllocatorDefault, buffer, true, format, &timing, &sample), 0);
    EXPECT_EQ(CMSampleBufferGetImageBuffer(sample), buffer.get());
    EXPECT_EQ(CMSampleBufferGetFormatDescription(sample), format.get());
    EXPECT_EQ(CMTimeCompare(CMSampleBufferGetPresentationTimeStamp(sample), CMTimeMake(7, 30)), 0);
    EXPECT_EQ(buffer->retainCount(), 2);
}

TEST(CMSampleBuffer, RefusesAFormatOfAnotherSize)
{
    const auto format = formatOf(picture(6, 4).get());
    const auto other = picture(6, 5);
    const CMSampleTimingInfo timing;
    Ref<CMSampleBuffer> sample;
    EXPECT_EQ(CMSampleBufferCreateForImageBuffer(kCFAllocatorDefault, other, true, format, &timing, &sample),
        kCMSampleBufferError_InvalidMediaFormat);
    EXPECT_EQ(CMSampleBufferCreateForImageBuffer(kCFAllocatorDefault, nullptr, true, format, &timing, &sample),
        kCMSampleBufferError_RequiredParameterMissing);
    EXPECT_FALSE(sample);
}

TEST(CMSampleBuffer, CountsSoundFramesOfAllChannels)
{
    AudioStreamBasicDescription pcm;
    pcm.mSampleRate = 48000;
    pcm.mFormatID = kAudioFormatLinearPCM;
    pcm.mBytesPerFrame = 4;
    pcm.mChannelsPerFrame = 2;
    pcm.mBitsPerChannel = 16;
    const auto format = make<CMFormatDescription>(pcm, AudioChannelLayout {});
    const auto sample = make<CMSampleBuffer>(std::vector<std::byte>(480 * 4), format, CMSampleTimingInfo {});
    EXPECT_EQ(sample->sampleCount(), 480U);
    EXPECT_EQ(CMAudioFormatDescriptionGetStreamBasicDescription(format)->mChannelsPerFrame, 2U);
    std::size_t size = 0;
    EXPECT_NE(CMAudioFormatDescriptionGetChannelLayout(format, &size), nullptr);
    EXPECT_EQ(size, sizeof(AudioChannelLayout));
    EXPECT_EQ(CMAudioFormatDescriptionGetStreamBasicDescription(formatOf(picture(2, 2).get()).get()), nullptr);
}

TEST(CMFormatDescription, MatchesBuffersOfItsSizeAndFormat)
{
    const auto format = formatOf(picture(6, 4).get());
    EXPECT_TRUE(CMVideoFormatDescriptionMatchesImageBuffer(format, picture(6, 4).get()));
    EXPECT_FALSE(CMVideoFormatDescriptionMatchesImageBuffer(format, picture(4, 6).get()));
    EXPECT_FALSE(CMVideoFormatDescriptionMatchesImageBuffer(nullptr, picture(4, 6).get()));
    EXPECT_EQ(CMFormatDescriptionGetMediaSubType(format), kCVPixelFormatType_32BGRA);
    EXPECT_EQ(format->description(), "<CMFormatDescription 'BGRA' 6x4>");
    const FailPoint::Scope armed("CMVideoFormatDescriptionCreateForImageBuffer", -12710);
    Ref<CMFormatDescription> none;
    EXPECT_EQ(CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, picture(1, 1).get(), &none), -12710);
}
