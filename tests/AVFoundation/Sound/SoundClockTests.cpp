#include "Platform/AVFoundation/SoundClock.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace {

constexpr double run = 0.02;

/// A device and the place of its sound: what the stretch does comes back in the errors.
class Loop {
public:
    explicit Loop(double rate)
        : mRate(rate)
    {
    }
    /// \return what the clock wants moved
    std::optional<double> turn(double tremble)
    {
        const double stretch = clock.stretch(run);
        fastestChange = std::max(fastestChange, std::abs(stretch - mStretch) / run);
        mStretch = stretch;
        clock.stretched(stretch, run);
        offset += (mRate - stretch) * run;
        const auto moved = clock.arrived(offset + tremble, run);
        offset -= moved.value_or(0);
        return moved;
    }
    double stretch() const { return mStretch; }
    SoundClock clock;
    double offset = 0;
    double fastestChange = 0;

private:
    const double mRate;
    double mStretch = 0;
};

}

TEST(SoundClock, LearnsTheRateAndKeepsTheOffsetSmall)
{
    std::mt19937 random { 1 };
    for (const double rate : { 500e-6, -500e-6, 50e-6 }) {
        Loop loop(rate);
        double worst = 0;
        for (int index = 0; index < 9000; ++index) {
            EXPECT_FALSE(loop.turn(std::uniform_real_distribution<double>(0, 0.01)(random)));
            worst = std::max(worst, std::abs(loop.offset));
        }
        EXPECT_LT(worst, 0.008) << rate;
        EXPECT_NEAR(loop.offset, 0, 0.003) << rate;
        EXPECT_NEAR(loop.stretch(), rate, 40e-6) << rate;
        EXPECT_LE(loop.fastestChange, 51e-6) << rate;
    }
}

TEST(SoundClock, LeavesADeviceAloneThatNeedsNothing)
{
    std::mt19937 random { 1 };
    Loop loop(0);
    for (int index = 0; index < 30000; ++index) {
        loop.turn(std::uniform_real_distribution<double>(0, 0.005)(random));
        ASSERT_EQ(loop.stretch(), 0);
    }
}

TEST(SoundClock, TheStretchHasItsLimitWhateverTheDeviceDoes)
{
    Loop loop(0.01); // a hundredth: no crystal, a lie
    int moves = 0;
    for (int index = 0; index < 3000; ++index) {
        moves += loop.turn(0).has_value();
        ASSERT_LE(std::abs(loop.stretch()), 0.001);
        ASSERT_LT(std::abs(loop.offset), 0.03);
    }
    EXPECT_GT(moves, 10);
}

TEST(SoundClock, WhatIsWrongForASecondIsMovedOnce)
{
    Loop loop(0);
    for (int index = 0; index < 500; ++index)
        ASSERT_FALSE(loop.turn(0));
    loop.offset += 0.012;
    int turns = 0;
    std::optional<double> moved;
    while (!moved && turns < 100) {
        moved = loop.turn(0);
        ++turns;
    }
    ASSERT_TRUE(moved);
    EXPECT_NEAR(*moved, 0.012, 0.001);
    EXPECT_LE(turns, 76);
    for (int index = 0; index < 500; ++index)
        ASSERT_FALSE(loop.turn(0));
}

TEST(SoundClock, NoSingleStampIsBelieved)
{
    std::vector<double> one { 0.004 };
    EXPECT_EQ(SoundClock::earliest(one), 0.004);
    std::vector<double> three { 0.030, -9, 0.010 };
    EXPECT_EQ(SoundClock::earliest(three), 0.010);
    std::vector<double> many(96, 0.020);
    for (int index = 0; index < 5; ++index)
        many[static_cast<std::size_t>(index * 3)] = 0.001 * index;
    EXPECT_EQ(SoundClock::earliest(many), 0.003);
    EXPECT_EQ(SoundClock::earliest({}), 0);
}

TEST(SoundClock, WhatIsExpectedDependsOnHowMuchTheStampsTremble)
{
    Loop calm(0);
    Loop trembling(0);
    std::mt19937 random { 1 };
    for (int index = 0; index < 2000; ++index) {
        calm.turn(0);
        trembling.turn(std::uniform_real_distribution<double>(0, 0.02)(random));
    }
    EXPECT_TRUE(calm.clock.isUnexpected(0.015));
    EXPECT_FALSE(calm.clock.isUnexpected(0.005));
    EXPECT_FALSE(trembling.clock.isUnexpected(0.025));
    EXPECT_TRUE(trembling.clock.isUnexpected(0.06));
    EXPECT_TRUE(trembling.clock.isUnexpected(-0.06));
}
