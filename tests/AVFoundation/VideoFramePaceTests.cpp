#include "Platform/AVFoundation/VideoFramePace.h"

#include <gtest/gtest.h>

namespace {

constexpr std::int64_t second = 1'000'000'000;
constexpr std::int64_t wanted = second / 30;

/// A camera that keeps time.
struct Camera {
    VideoFramePace pace { wanted };
    std::int64_t now = 5 * second;
    /// How many of the pictures of some seconds are kept; the last gaps between them are in `gaps`.
    int keptAt(int rate, int seconds)
    {
        int kept = 0;
        std::int64_t last = 0;
        gaps.clear();
        for (int picture = 0; picture < rate * seconds; ++picture) {
            now += second / rate;
            if (!pace.takes(now))
                continue;
            if (last != 0)
                gaps.push_back(now - last);
            last = now;
            ++kept;
        }
        return kept;
    }
    std::vector<std::int64_t> gaps;
};

}

TEST(VideoFramePace, WhatComesNoFasterThanWantedIsKept)
{
    for (const int rate : { 30, 25, 24, 15, 5, 2 }) {
        Camera camera;
        camera.pace.begin(second / 30);
        EXPECT_EQ(camera.keptAt(rate, 10), rate * 10) << rate;
        EXPECT_NEAR(static_cast<double>(camera.pace.interval()), 1e9 / rate, 1.2e8 / rate) << rate;
    }
}

TEST(VideoFramePace, OfAFastCameraEverySecondOrThirdPictureIsKeptEvenly)
{
    for (const auto& [rate, kept] : { std::pair(60, 30), { 50, 25 }, { 90, 30 }, { 120, 30 } }) {
        Camera camera;
        camera.pace.begin(second / rate);
        EXPECT_EQ(camera.keptAt(rate, 10), kept * 10) << rate;
        for (const auto gap : camera.gaps)
            ASSERT_EQ(gap, second / rate * (rate / kept)) << rate;
        EXPECT_EQ(camera.pace.interval(), second / rate * (rate / kept)) << rate;
    }
}

TEST(VideoFramePace, ARateThatChangesIsFollowed)
{
    Camera camera;
    camera.pace.begin(second / 30);
    EXPECT_EQ(camera.keptAt(30, 2), 60);
    EXPECT_EQ(camera.pace.interval(), second / 30);
    // In the dark.
    EXPECT_EQ(camera.keptAt(15, 3), 45);
    EXPECT_NEAR(static_cast<double>(camera.pace.interval()), 1e9 / 15, 3e6);
    // It says 30 and brings 60; within a second that is noticed.
    camera.keptAt(60, 1);
    EXPECT_EQ(camera.keptAt(60, 3), 90);
    EXPECT_NEAR(static_cast<double>(camera.pace.interval()), 1e9 / 30, 3e6);
    camera.keptAt(30, 1);
    EXPECT_EQ(camera.keptAt(30, 2), 60);
}

TEST(VideoFramePace, PicturesThatAStallHeldBackAreNotThinned)
{
    Camera camera;
    camera.pace.begin(second / 30);
    EXPECT_EQ(camera.keptAt(30, 2), 60);
    for (int stall = 0; stall < 20; ++stall) {
        // Four pictures at once, when the machine comes to it.
        camera.now += 4 * wanted - 3'000'000;
        for (int picture = 0; picture < 4; ++picture)
            EXPECT_TRUE(camera.pace.takes(camera.now += 1'000'000));
        EXPECT_EQ(camera.keptAt(30, 1), 30);
    }
}

TEST(VideoFramePace, APauseSaysNothingOfTheRate)
{
    Camera camera;
    camera.pace.begin(0);
    EXPECT_EQ(camera.pace.interval(), 0);
    EXPECT_EQ(camera.keptAt(30, 2), 60);
    camera.now += 60 * second;
    EXPECT_TRUE(camera.pace.takes(camera.now));
    EXPECT_NEAR(static_cast<double>(camera.pace.interval()), 1e9 / 30, 1e6);
    // A clock that steps back does no harm.
    EXPECT_TRUE(camera.pace.takes(camera.now - second));
    EXPECT_NEAR(static_cast<double>(camera.pace.interval()), 1e9 / 30, 1e6);
}
