#include "Platform/AVFoundation/AVCaptureAudioChannel.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <vector>

namespace {

class AVCaptureAudioChannelTest : public testing::Test {
protected:
    /// A tone of two channels, of which the left has the amplitude and the right has nothing.
    void hear(double seconds, double amplitude)
    {
        std::vector<std::int16_t> samples;
        for (std::size_t i = 0; i < static_cast<std::size_t>(seconds * 48000); ++i) {
            const double sample = std::sin(2 * std::numbers::pi * 1000 * static_cast<double>(i) / 48000);
            samples.push_back(static_cast<std::int16_t>(std::lround(sample * amplitude * 32767)));
            samples.push_back(0);
        }
        left->measure(samples, 2);
        right->measure(std::span(samples).subspan(1), 2);
    }
    const Ref<AVCaptureAudioChannel> left = make<AVCaptureAudioChannel>();
    const Ref<AVCaptureAudioChannel> right = make<AVCaptureAudioChannel>();
};

}

TEST_F(AVCaptureAudioChannelTest, EachChannelHasItsOwnLevels)
{
    EXPECT_EQ(left->averagePowerLevel(), -160);
    EXPECT_EQ(left->peakHoldLevel(), -160);
    hear(0.1, 1);
    EXPECT_NEAR(left->averagePowerLevel(), -3.01, 0.01);
    EXPECT_NEAR(left->peakHoldLevel(), 0, 0.01);
    EXPECT_EQ(right->averagePowerLevel(), -160);
    EXPECT_EQ(right->peakHoldLevel(), -160);
    hear(0.05, 0.1);
    EXPECT_NEAR(left->averagePowerLevel(), -23.01, 0.01) << "of the last twentieth of a second alone";
}

TEST_F(AVCaptureAudioChannelTest, ThePeakIsHeldForASecond)
{
    hear(0.1, 0.5);
    hear(0.85, 0.01);
    EXPECT_NEAR(left->peakHoldLevel(), -6.02, 0.01);
    hear(0.15, 0.01);
    EXPECT_NEAR(left->peakHoldLevel(), -40, 0.05);
}

TEST_F(AVCaptureAudioChannelTest, TheLoudestSampleThereIsHasFullScale)
{
    left->measure(std::vector<std::int16_t> { -32768 }, 1);
    EXPECT_EQ(left->averagePowerLevel(), 0);
    EXPECT_EQ(left->peakHoldLevel(), 0);
    left->measure({}, 1);
    EXPECT_EQ(left->averagePowerLevel(), 0) << "no samples are no news";
    left->forget();
    EXPECT_EQ(left->averagePowerLevel(), -160);
    EXPECT_EQ(left->peakHoldLevel(), -160);
}

TEST_F(AVCaptureAudioChannelTest, LevelsAreKeys)
{
    hear(0.1, 1);
    EXPECT_NEAR(kindOf<CFNumber>(left->valueForKey("averagePowerLevel"))->doubleValue(), -3.01, 0.01);
    EXPECT_NEAR(kindOf<CFNumber>(left->valueForKey("peakHoldLevel"))->doubleValue(), 0, 0.01);
}
