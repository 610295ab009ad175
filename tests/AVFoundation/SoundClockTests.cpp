#include "Platform/AVFoundation/SoundClock.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t run = 960;
constexpr std::int64_t runDuration = 20 * millisecond;

}

TEST(SoundClock, JitterOfTheArrivalDoesNotShowInTheStamps)
{
    SoundClock clock(48000);
    std::int64_t last = clock.stamp(1'000 * millisecond, run);
    EXPECT_EQ(last, 1'000 * millisecond);
    for (int i = 1; i < 500; ++i) {
        const std::int64_t jitter = (i * 7919 % 13 - 6) * millisecond;
        const std::int64_t stamp = clock.stamp(1'000 * millisecond + i * runDuration + jitter, run);
        EXPECT_NEAR(static_cast<double>(stamp - last), static_cast<double>(runDuration),
            static_cast<double>(runDuration) / 1000);
        last = stamp;
    }
    EXPECT_NEAR(static_cast<double>(last), static_cast<double>(1'000 * millisecond + 499 * runDuration), 7e6);
}

TEST(SoundClock, ADriftingDeviceIsFollowed)
{
    SoundClock clock(48000);
    std::int64_t stamp = 0;
    // A device that is slow by a two thousandth, for three minutes: 90 ms in all.
    const auto arrival = [](int i) { return 1'000 * millisecond + i * (runDuration + runDuration / 2000); };
    for (int i = 0; i < 9000; ++i)
        stamp = clock.stamp(arrival(i), run);
    EXPECT_LT(std::abs(stamp - arrival(8999)), 5 * millisecond);
}

TEST(SoundClock, AGapMakesAJump)
{
    SoundClock clock(48000);
    clock.stamp(0, run);
    EXPECT_EQ(clock.stamp(runDuration, run), runDuration);
    EXPECT_EQ(clock.stamp(500 * millisecond, run), 500 * millisecond);
    EXPECT_EQ(clock.stamp(100 * millisecond, run), 100 * millisecond);
}
