#include "Platform/AVFoundation/AVAssetWriterPace.h"

#include <gtest/gtest.h>

namespace {

using Pace = AVAssetWriterPace;
constexpr double interval = 1.0 / 30;
constexpr std::size_t mostWaiting = 8;

/// Pictures that take a part of the time between them, for so many seconds.
void run(Pace& pace, double share, double seconds, std::size_t waiting = 0)
{
    for (double time = 0; time < seconds; time += interval)
        pace.pictureCame(pace.takesNext() ? share * interval : 0, interval, waiting, mostWaiting);
}

TEST(AVAssetWriterPace, AMachineThatKeepsUpStaysWhereItBegan)
{
    Pace pace;
    EXPECT_EQ(pace.step(), Pace::Fast);
    run(pace, 0.3, 600);
    EXPECT_EQ(pace.step(), Pace::Fast);
    EXPECT_NEAR(pace.share(), 0.3, 0.01);
}

TEST(AVAssetWriterPace, AFastMachineCompressesBetterAfterAWhile)
{
    Pace pace;
    run(pace, 0.03, 2);
    EXPECT_EQ(pace.step(), Pace::Fast);
    run(pace, 0.03, 2);
    EXPECT_EQ(pace.step(), Pace::Careful);
    run(pace, 0.08, 60);
    EXPECT_EQ(pace.step(), Pace::Careful);
}

TEST(AVAssetWriterPace, OverloadGivesUpQualityFirstAndEverySecondPictureLast)
{
    Pace pace;
    run(pace, 1.5, 0.3);
    EXPECT_EQ(pace.step(), Pace::Fast) << "a few pictures show nothing";
    run(pace, 1.5, 0.1);
    EXPECT_EQ(pace.step(), Pace::Coarse);
    run(pace, 1.5, 0.4, mostWaiting);
    EXPECT_EQ(pace.step(), Pace::CoarseAndHalf);
    run(pace, 1.5, 60, mostWaiting);
    EXPECT_EQ(pace.step(), Pace::CoarseAndHalf) << "there is nothing below";
}

TEST(AVAssetWriterPace, NoPictureIsLeftOutWhileNoneHasToWait)
{
    Pace pace;
    run(pace, 0.97, 600, 2);
    EXPECT_EQ(pace.step(), Pace::Coarse);
}

TEST(AVAssetWriterPace, OnTheLastStepEverySecondPictureIsTaken)
{
    Pace pace;
    EXPECT_TRUE(pace.takesNext());
    EXPECT_TRUE(pace.takesNext());
    run(pace, 1.5, 1, mostWaiting);
    ASSERT_EQ(pace.step(), Pace::CoarseAndHalf);
    const bool first = pace.takesNext();
    EXPECT_EQ(pace.takesNext(), !first);
    EXPECT_EQ(pace.takesNext(), first);
    EXPECT_EQ(pace.takesNext(), !first);
}

TEST(AVAssetWriterPace, PicturesThatWaitCountWhenTheEncoderIsTheReason)
{
    Pace pace;
    run(pace, 0.7, 5);
    EXPECT_EQ(pace.step(), Pace::Fast);
    run(pace, 0.7, interval, 6);
    EXPECT_EQ(pace.step(), Pace::Coarse);
    Pace other;
    run(other, 0.3, 5, 6);
    EXPECT_EQ(other.step(), Pace::Fast) << "the disk made them wait";
}

TEST(AVAssetWriterPace, WhatWasGivenUpComesBackAStepAtATime)
{
    Pace pace;
    run(pace, 2, 1, mostWaiting);
    ASSERT_EQ(pace.step(), Pace::CoarseAndHalf);
    run(pace, 0.9, 60);
    EXPECT_EQ(pace.step(), Pace::CoarseAndHalf) << "all pictures would take nine tenths of the time";
    run(pace, 0.3, 1.5);
    EXPECT_EQ(pace.step(), Pace::Coarse) << "soon, since everybody sees what is missing";
    run(pace, 0.3, 1.5);
    EXPECT_EQ(pace.step(), Pace::Coarse);
    run(pace, 0.3, 4);
    EXPECT_EQ(pace.step(), Pace::Fast);
    run(pace, 0.3, 60);
    EXPECT_EQ(pace.step(), Pace::Fast);
}

TEST(AVAssetWriterPace, AStepThatDoesNotLastIsTriedEverMoreSeldom)
{
    Pace pace;
    int changes = 0;
    auto last = pace.step();
    for (int second = 0; second < 600; ++second) {
        // Good with fewer bits, too much with all of them.
        run(pace, pace.step() == Pace::Fast ? 0.95 : 0.3, 1);
        changes += pace.step() != last ? 1 : 0;
        last = pace.step();
    }
    EXPECT_GE(changes, 6);
    EXPECT_LE(changes, 40);
}

TEST(AVAssetWriterPace, AGapOfTheCameraIsNoTimeToSpare)
{
    Pace pace;
    for (int index = 0; index < 30; ++index)
        pace.pictureCame(0.095, 2, 0, mostWaiting);
    EXPECT_NE(pace.step(), Pace::Fast);
    Pace other;
    for (int index = 0; index < 100; ++index)
        other.pictureCame(1, 0, 0, mostWaiting);
    EXPECT_EQ(other.step(), Pace::Fast) << "stamps that do not rise say nothing";
}

}
