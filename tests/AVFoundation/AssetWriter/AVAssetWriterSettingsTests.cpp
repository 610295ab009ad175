#include "Platform/AVFoundation/AVAssetWriterSettings.h"

#include "Recording.h"

#include <gtest/gtest.h>

namespace {

TEST(AVAssetWriterSettings, PicturesNeedH264AndASize)
{
    EXPECT_TRUE(AVAssetWriterSettings::canApply(Recording::pictureSettings(1280, 720).get(), AVMediaTypeVideo));
    EXPECT_TRUE(AVAssetWriterSettings::canApply(Recording::pictureSettings(639, 480).get(), AVMediaTypeVideo));
    EXPECT_FALSE(AVAssetWriterSettings::canApply(Recording::pictureSettings(0, 720).get(), AVMediaTypeVideo));
    EXPECT_FALSE(AVAssetWriterSettings::canApply(Recording::pictureSettings(1280, 10000).get(), AVMediaTypeVideo));
    EXPECT_FALSE(AVAssetWriterSettings::canApply(nullptr, AVMediaTypeVideo));
    const auto another = Recording::pictureSettings(1280, 720);
    another->set(AVVideoCodecKey, CFSTR("jpeg"));
    EXPECT_FALSE(AVAssetWriterSettings::canApply(another, AVMediaTypeVideo));
    another->remove(AVVideoCodecKey);
    EXPECT_FALSE(AVAssetWriterSettings::canApply(another, AVMediaTypeVideo));
}

TEST(AVAssetWriterSettings, SoundIs16BitLinearPCMOrAsItComes)
{
    EXPECT_TRUE(AVAssetWriterSettings::canApply(Recording::soundSettings().get(), AVMediaTypeAudio));
    EXPECT_TRUE(AVAssetWriterSettings::canApply(nullptr, AVMediaTypeAudio));
    EXPECT_FALSE(AVAssetWriterSettings::canApply(Recording::soundSettings(0, 2).get(), AVMediaTypeAudio));
    EXPECT_FALSE(AVAssetWriterSettings::canApply(Recording::soundSettings(48000, 0).get(), AVMediaTypeAudio));
    for (auto* const key : { AVLinearPCMIsFloatKey, AVLinearPCMIsBigEndianKey, AVLinearPCMIsNonInterleaved }) {
        const auto settings = Recording::soundSettings();
        settings->set(key, kCFBooleanTrue);
        EXPECT_FALSE(AVAssetWriterSettings::canApply(settings, AVMediaTypeAudio)) << key->string();
    }
    const auto deep = Recording::soundSettings();
    deep->set(AVLinearPCMBitDepthKey, CFNumber::create(24).get());
    EXPECT_FALSE(AVAssetWriterSettings::canApply(deep, AVMediaTypeAudio));
}

TEST(AVAssetWriterSettings, OtherMediaHaveNone)
{
    EXPECT_FALSE(AVAssetWriterSettings::canApply(nullptr, AVMediaTypeMuxed));
    EXPECT_THROW(AVAssetWriterInput(AVMediaTypeMuxed, nullptr), NSException);
    EXPECT_THROW(AVAssetWriterInput(AVMediaTypeVideo, nullptr), NSException);
}

TEST(AVAssetWriterSettings, BitRateAndKeyFrameIntervalReachTheEncoder)
{
    const auto settings = AVAssetWriterSettings::picture(Recording::pictureSettings(1280, 720).get());
    EXPECT_EQ(settings.width, 1280);
    EXPECT_EQ(settings.height, 720);
    EXPECT_EQ(settings.bitRate, 10506240);
    EXPECT_EQ(settings.keyFrameInterval, 30);
    const auto odd = AVAssetWriterSettings::picture(Recording::pictureSettings(639, 481).get());
    EXPECT_EQ(odd.width, 638);
    EXPECT_EQ(odd.height, 480);
}

}
