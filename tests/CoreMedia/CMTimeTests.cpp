#include "Platform/CoreMedia/CMTime.h"

#include "Platform/CoreFoundation/HostClock.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(CMTime, ComparesExactlyAcrossTimescales)
{
    EXPECT_EQ(CMTimeCompare(CMTimeMake(1, 3), CMTimeMake(333'333'333, 1'000'000'000)), 1);
    EXPECT_EQ(CMTimeCompare(CMTimeMake(1, 3), CMTimeMake(2, 6)), 0);
    EXPECT_EQ(CMTimeCompare(CMTimeMake(INT64_MAX - 1, 1), CMTimeMake(INT64_MAX, 1)), -1);
    EXPECT_EQ(CMTimeCompare(CMTimeMake(INT64_MAX, 1'000'000'000), CMTimeMake(INT64_MAX, 999'999'999)), -1);
    EXPECT_EQ(CMTimeCompare(kCMTimeInvalid, kCMTimeZero), -1);
    EXPECT_EQ(CMTimeCompare(kCMTimeInvalid, kCMTimeInvalid), 0);
}

TEST(CMTime, AddsAndSubtractsInACommonTimescale)
{
    const auto third = CMTimeSubtract(CMTimeMake(1, 2), CMTimeMake(1, 6));
    EXPECT_EQ(third.value, 2);
    EXPECT_EQ(third.timescale, 6);
    const auto oneSecondBefore = CMTimeSubtract(CMTimeMake(5'000'000'007, 1'000'000'000), CMTimeMake(1, 1));
    EXPECT_EQ(oneSecondBefore.value, 4'000'000'007);
    EXPECT_FALSE(CMTIME_IS_VALID(CMTimeAdd(kCMTimeInvalid, kCMTimeZero)));
}

TEST(CMTime, RoundsWhenNoCommonTimescaleFits)
{
    const auto sum = CMTimeAdd(CMTimeMake(1, 2'147'483'647), CMTimeMake(1, 1'000'000'007));
    EXPECT_TRUE(CMTIME_IS_VALID(sum));
    EXPECT_NEAR(CMTimeGetSeconds(sum), 1.0 / 2'147'483'647 + 1.0 / 1'000'000'007, 1e-9);
}

TEST(CMTime, DescribesItself)
{
    EXPECT_EQ(CMTimeCopyDescription(kCFAllocatorDefault, CMTimeMake(45, 30))->string(), "{45/30 = 1.500}");
    EXPECT_EQ(CMTimeCopyDescription(kCFAllocatorDefault, kCMTimeInvalid)->string(), "{INVALID}");
    EXPECT_TRUE(std::isnan(CMTimeGetSeconds(kCMTimeInvalid)));
    EXPECT_FALSE(CMTIME_IS_VALID(CMTimeMake(1, 0)));
}

TEST(CMClock, IsTheHostClock)
{
    HostClock::driveByHand(true);
    const auto before = CMClockGetTime(CMClockGetHostTimeClock());
    HostClock::advance(1'500'000'000);
    const auto after = CMClockGetTime(CMClockGetHostTimeClock());
    HostClock::driveByHand(false);
    EXPECT_EQ(CMTimeGetSeconds(CMTimeSubtract(after, before)), 1.5);
}
