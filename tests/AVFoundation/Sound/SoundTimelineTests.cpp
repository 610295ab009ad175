#include "Platform/AVFoundation/SoundTimeline.h"
#include "tests/AVFoundation/Sound/Microphone.h"
#include "tests/AVFoundation/Sound/SoundMeasures.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr double begin = 1000;
constexpr std::int64_t ms = 1'000'000;

std::int64_t at(double seconds)
{
    return std::llround(seconds * 1e9);
}

double tone(double time)
{
    return 0.6 * std::sin(2 * std::numbers::pi * 997 * time);
}

/// A millisecond of noise at every full second.
double clicks(double time)
{
    const double since = std::abs(time - std::round(time));
    return since < 0.0005 ? 0.9 : 0;
}

class SoundTimelineTest : public testing::Test {
protected:
    SoundTimelineTest() { timeline.begin(at(begin)); }

    /// Hands over what the microphone brings until \p end, and ticks meanwhile.
    void play(Microphone& microphone, double end)
    {
        while (microphone.time() < end)
            for (const auto& run : microphone.next())
                push(run);
    }
    void push(const Microphone::Run& run)
    {
        passUntil(run.arrival);
        timeline.push(run.samples, run.time, run.arrival);
    }
    void passUntil(std::int64_t time)
    {
        for (; nextTick <= time; nextTick += SoundTimeline::tickInterval) {
            timeline.tick(nextTick);
            longestDelay = std::max(longestDelay, secondsAt(nextTick) - secondsAt(endTime()));
        }
    }
    static double secondsAt(std::int64_t time) { return static_cast<double>(time) / 1e9; }
    std::int64_t endTime() const
    {
        return output.empty() ? at(begin) : firstTime + static_cast<std::int64_t>(output.size()) * 1'000'000 / 48;
    }
    /// The frame that is heard at \p time.
    std::size_t frameAt(double time) const
    {
        return static_cast<std::size_t>(std::llround((time - secondsAt(firstTime)) * 48000));
    }
    std::span<const std::int16_t> between(double from, double to) const
    {
        return std::span(output).subspan(frameAt(from), frameAt(to) - frameAt(from));
    }
    bool isSilent(double from, double to) const
    {
        return std::ranges::all_of(between(from, to), [](std::int16_t sample) { return sample == 0; });
    }
    /// How far each click from \p from on lies from its second, at the most; -1 when one is missing.
    double worstClick(double from, std::size_t expected) const
    {
        double worst = 0;
        std::size_t count = 0;
        for (const double click : findClicks(output)) {
            const double time = secondsAt(firstTime) + click / 48000;
            if (time < from)
                continue;
            worst = std::max(worst, std::abs(time - std::round(time)));
            ++count;
        }
        return count == expected ? worst : -1;
    }

    std::vector<std::int16_t> output; ///< of the left channel
    std::int64_t firstTime = 0;
    std::int64_t nextTime = 0; ///< of the output to come
    std::size_t jumps = 0;
    double longestDelay = 0;
    std::int64_t nextTick = at(begin) + SoundTimeline::tickInterval;
    SoundTimeline timeline { [this](std::span<const std::int16_t> samples, std::int64_t time) {
        ASSERT_FALSE(samples.empty());
        ASSERT_EQ(samples.size() % 96, 0U);
        if (output.empty())
            firstTime = time;
        else
            jumps += time != nextTime;
        nextTime = time + static_cast<std::int64_t>(samples.size()) / 96 * ms;
        for (std::size_t index = 0; index < samples.size(); index += 2)
            output.push_back(samples[index]);
    } };
};

TEST_F(SoundTimelineTest, SoundThatNeedsNoCorrectionPassesBitByBit)
{
    std::mt19937 random { 3 };
    std::vector<std::int16_t> noise(48000 * 30);
    for (auto& sample : noise)
        sample = static_cast<std::int16_t>(random());
    Microphone microphone(0, begin, [&, frame = std::size_t { 0 }](double) mutable {
        return noise[std::min(frame++, noise.size() - 1)] / 32767.0;
    });
    microphone.tremble = 0.004;
    play(microphone, begin + 29);
    ASSERT_GT(output.size(), 28 * 48000U);
    EXPECT_NEAR(secondsAt(firstTime), begin, 0.004);
    for (std::size_t frame = 192; frame < output.size(); ++frame)
        ASSERT_EQ(output[frame], noise[frame]) << frame;
}

struct Crystal {
    double offset;
    double tremble;
    int burst;
};

class SoundTimelineOfACrystal : public SoundTimelineTest, public testing::WithParamInterface<Crystal> { };

TEST_P(SoundTimelineOfACrystal, IsHeardWhenItWasTaken)
{
    const auto& [offset, tremble, burst] = GetParam();
    Microphone microphone(offset, begin, clicks);
    microphone.tremble = tremble;
    microphone.burst = burst;
    microphone.framesInRun = 480;
    play(microphone, begin + 120.5);
    const double worst = worstClick(begin + 0.5, 120);
    RecordProperty("worst", std::to_string(worst));
    EXPECT_GE(worst, 0);
    EXPECT_LT(worst, 0.012);
    const double late = worstClick(begin + 60.5, 60);
    RecordProperty("late", std::to_string(late));
    EXPECT_GE(late, 0);
    EXPECT_LT(late, 0.006);
    EXPECT_EQ(jumps, 0U);
}

INSTANTIATE_TEST_SUITE_P(Crystals, SoundTimelineOfACrystal,
    testing::Values(Crystal { 200, 0.005, 1 }, Crystal { -200, 0.010, 1 }, Crystal { 500, 0.010, 1 },
        Crystal { -500, 0.010, 1 }, Crystal { 500, 0.005, 4 }, Crystal { -500, 0.020, 4 }, Crystal { 30, 0, 1 }));

class SoundTimelineOfATone : public SoundTimelineTest, public testing::WithParamInterface<double> { };

TEST_P(SoundTimelineOfATone, KeepsPitchAndPurity)
{
    Microphone microphone(GetParam(), begin, tone);
    microphone.tremble = 0.010;
    play(microphone, begin + 90);
    // While the loop learns, the pitch stays within what the device is off; then it is right.
    double worstEarly = 0;
    double worstLate = 0;
    double worstRest = -200;
    double fastestChange = 0;
    double last = 0;
    for (double time = begin + 0.5; time < begin + 89; time += 0.5) {
        const auto part = measureTone(between(time, time + 0.25), 997);
        const double deviation = std::abs(part.frequency / 997 - 1) * 1e6;
        (time < begin + 40 ? worstEarly : worstLate) = std::max(time < begin + 40 ? worstEarly : worstLate, deviation);
        const auto piece = measureTone(between(time, time + 0.05), 997);
        worstRest = std::max(worstRest, piece.restInDecibels);
        if (last != 0)
            fastestChange = std::max(fastestChange, std::abs(part.frequency / last - 1) * 1e6 / 0.5);
        last = part.frequency;
    }
    RecordProperty("early", std::to_string(worstEarly));
    RecordProperty("late", std::to_string(worstLate));
    RecordProperty("rest", std::to_string(worstRest));
    RecordProperty("change", std::to_string(fastestChange));
    EXPECT_LT(worstEarly, 500) << "millionths";
    EXPECT_LT(worstLate, 60) << "millionths";
    EXPECT_LT(worstRest, -80) << "dB";
    EXPECT_LT(fastestChange, 60) << "millionths a second";
}

INSTANTIATE_TEST_SUITE_P(Crystals, SoundTimelineOfATone, testing::Values(200, -200, 0));

TEST_F(SoundTimelineTest, LostSoundBecomesSilenceBetweenFades)
{
    Microphone microphone(100, begin, tone);
    microphone.tremble = 0.005;
    play(microphone, begin + 5);
    const double lost = microphone.time();
    microphone.lose(0.2);
    play(microphone, begin + 8);
    EXPECT_TRUE(isSilent(lost + 0.006, lost + 0.194));
    EXPECT_FALSE(isSilent(lost - 0.010, lost - 0.004));
    EXPECT_FALSE(isSilent(lost + 0.206, lost + 0.212));
    // The tone's own steps are the largest: nothing clicks.
    int step = 0;
    for (std::size_t frame = 1; frame < output.size(); ++frame)
        step = std::max(step, std::abs(output[frame] - output[frame - 1]));
    EXPECT_LT(step, 0.6 * 32767 * 2 * std::numbers::pi * 997 / 48000 * 1.05);
    EXPECT_EQ(jumps, 0U);
}

TEST_F(SoundTimelineTest, OneLostRunOfACalmDeviceIsMissedAtOnce)
{
    Microphone microphone(-100, begin, clicks);
    microphone.tremble = 0.002;
    play(microphone, begin + 20.5);
    microphone.lose(0.02);
    play(microphone, begin + 23.5);
    const double worst = worstClick(begin + 20.6, 3);
    EXPECT_GE(worst, 0);
    EXPECT_LT(worst, 0.004);
}

TEST_F(SoundTimelineTest, ALossThatTheTremblingHidesIsFoundWithinTwoSeconds)
{
    Microphone microphone(100, begin, clicks);
    microphone.tremble = 0.030;
    play(microphone, begin + 20.5);
    microphone.lose(0.025);
    play(microphone, begin + 30.5);
    const double worst = worstClick(begin + 22.6, 8);
    EXPECT_GE(worst, 0);
    EXPECT_LT(worst, 0.010);
    EXPECT_EQ(jumps, 0U);
}

TEST_F(SoundTimelineTest, SoundThatWaitedForItsTurnIsNotLost)
{
    Microphone microphone(0, begin, tone);
    play(microphone, begin + 3);
    // The machine is busy for a fifth of a second; then all comes at once.
    std::vector<Microphone::Run> late;
    while (microphone.time() < begin + 3.2)
        for (auto& run : microphone.next())
            late.push_back(std::move(run));
    for (auto& run : late) {
        run.arrival = late.back().arrival;
        run.time = run.arrival - 20 * ms;
        push(run);
    }
    play(microphone, begin + 6);
    for (double time = begin + 2; time < begin + 5; time += 0.05)
        ASSERT_LT(measureTone(between(time, time + 0.05), 997).restInDecibels, -80) << time;
    EXPECT_EQ(jumps, 0U);
}

TEST_F(SoundTimelineTest, WhenTheDeviceStallsSilenceComesInTimeAndSoundReturnsToItsPlace)
{
    Microphone microphone(200, begin, clicks);
    microphone.tremble = 0.005;
    play(microphone, begin + 10.5);
    const double stalled = microphone.time();
    passUntil(at(begin + 14.4));
    EXPECT_LT(begin + 14.4 - secondsAt(endTime()), 0.35);
    EXPECT_TRUE(isSilent(stalled + 0.001, secondsAt(endTime()) - 0.001));
    microphone.lose(4);
    play(microphone, begin + 20.5);
    const double worst = worstClick(begin + 14.6, 6);
    EXPECT_GE(worst, 0);
    EXPECT_LT(worst, 0.004);
    EXPECT_EQ(jumps, 0U);
    EXPECT_LT(longestDelay, 0.36);
}

TEST_F(SoundTimelineTest, ADeviceThatBringsNothingIsSilentFromTheBeginning)
{
    passUntil(at(begin + 2));
    EXPECT_EQ(firstTime, at(begin));
    EXPECT_LT(begin + 2 - secondsAt(endTime()), 0.35);
    EXPECT_TRUE(isSilent(begin, secondsAt(endTime())));
    Microphone microphone(0, begin + 2, clicks);
    play(microphone, begin + 5.5);
    EXPECT_NEAR(worstClick(begin + 2.5, 3), 0.001, 0.001);
    EXPECT_EQ(jumps, 0U);
}

TEST_F(SoundTimelineTest, AnotherDeviceGoesOnWhereTheOldOneEnded)
{
    Microphone old(300, begin, clicks);
    play(old, begin + 10.5);
    timeline.deviceChanged();
    Microphone other(-300, begin + 10.9, clicks);
    other.burst = 2;
    play(other, begin + 40.5);
    const double worst = worstClick(begin + 0.5, 40);
    EXPECT_GE(worst, 0);
    EXPECT_LT(worst, 0.005);
    EXPECT_EQ(jumps, 0U);
}

TEST_F(SoundTimelineTest, TheFirstDeviceBeginsTheStreamWithItsFirstStamp)
{
    timeline.deviceChanged();
    Microphone microphone(0, begin + 0.03, clicks);
    play(microphone, begin + 1.5);
    EXPECT_EQ(firstTime, at(begin + 0.03));
    EXPECT_EQ(jumps, 0U);
}

TEST_F(SoundTimelineTest, SoundThatComesTwiceIsHeardOnce)
{
    Microphone microphone(0, begin, clicks);
    play(microphone, begin + 5.5);
    // The device's counter is reset: for 0.3 s it brings what it brought before, with the old stamps.
    std::vector<Microphone::Run> repeated;
    while (microphone.time() < begin + 6.2)
        for (auto& run : microphone.next()) {
            push(run);
            repeated.push_back(run);
        }
    const std::int64_t now = repeated.back().arrival;
    for (std::size_t index = repeated.size() - 10; index < repeated.size(); ++index)
        timeline.push(repeated[index].samples, repeated[index].time, now + static_cast<std::int64_t>(index) * ms / 10);
    play(microphone, begin + 10.5);
    const double worst = worstClick(begin + 0.5, 10);
    EXPECT_GE(worst, 0);
    EXPECT_LT(worst, 0.002);
    EXPECT_EQ(jumps, 0U);
}

TEST_F(SoundTimelineTest, AClockThatJumpsIsFollowedOnce)
{
    Microphone microphone(0, begin, tone);
    double jump = 0;
    const auto play3 = [&](double end) {
        while (microphone.time() < end)
            for (auto run : microphone.next()) {
                run.time -= at(jump);
                push(run);
            }
    };
    play3(begin + 5);
    jump = 0.2; // from now on the device says that its sound is older than was thought
    play3(begin + 10);
    std::size_t silences = 0;
    for (std::size_t frame = 1; frame < output.size(); ++frame)
        silences += output[frame] == 0 && output[frame - 1] == 0 && (frame < 3 || output[frame - 2] != 0);
    EXPECT_LE(silences, 3U);
    for (double time = begin + 6; time < begin + 9; time += 0.1)
        ASSERT_LT(measureTone(between(time, time + 0.05), 997).restInDecibels, -80) << time;
    EXPECT_EQ(jumps, 0U);
}

TEST_F(SoundTimelineTest, OneWrongStampChangesNothing)
{
    Microphone microphone(0, begin, tone);
    int number = 0;
    while (microphone.time() < begin + 10)
        for (auto run : microphone.next()) {
            if (++number % 100 == 50)
                run.time += (number % 200 == 50 ? -150 : 15) * ms;
            push(run);
        }
    for (double time = begin + 1; time < begin + 9.5; time += 0.05)
        ASSERT_LT(measureTone(between(time, time + 0.05), 997).restInDecibels, -80) << time;
}

TEST_F(SoundTimelineTest, AfterThePauseOfTheWholeMachineItGoesOnFromThePresent)
{
    Microphone microphone(0, begin, clicks);
    play(microphone, begin + 3.5);
    nextTick = at(begin + 3600.1);
    timeline.tick(nextTick);
    microphone.lose(3597);
    play(microphone, begin + 3606.5);
    EXPECT_EQ(jumps, 1U);
    EXPECT_LT(output.size(), 12 * 48000U);
    EXPECT_NEAR(secondsAt(nextTime), begin + 3606.5, 0.05);
}

TEST_F(SoundTimelineTest, NothingThatADeviceBringsDisturbsTheStream)
{
    std::mt19937 random { 11 };
    std::int64_t now = at(begin);
    std::size_t pushed = 0;
    constexpr std::int64_t never = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t ever = std::numeric_limits<std::int64_t>::max();
    for (int index = 0; index < 4000; ++index) {
        now += static_cast<std::int64_t>(random() % 20'000'000);
        for (; nextTick <= now; nextTick += SoundTimeline::tickInterval)
            timeline.tick(nextTick);
        const std::size_t sizes[] { 0, 1, 2, 3, 97, 1920, 1921, 19200, 480001 };
        const std::vector<std::int16_t> samples(sizes[random() % (index % 100 == 0 ? 9 : 8)], 30000);
        const std::int64_t times[] { never, ever, 0, -1, now, now + at(3), now - at(0.1), now - at(100) };
        const std::size_t before = output.size();
        timeline.push(samples, times[random() % 8], now);
        // No more comes out than has gone by, whatever went in.
        ASSERT_LT(output.size() - before, 10 * 48000U);
        ASSERT_LT(endTime(), now + at(1.1));
        pushed += samples.size();
    }
    EXPECT_GT(pushed, 10'000'000U);
    EXPECT_LT(longestDelay, 1);
}

}
