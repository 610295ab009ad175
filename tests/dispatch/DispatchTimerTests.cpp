#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/dispatch/dispatch.h"

#include <gtest/gtest.h>

namespace {

class HandDrivenTimer : public testing::Test {
protected:
    void SetUp() override { HostClock::driveByHand(true); }
    void TearDown() override { HostClock::driveByHand(false); }

    void advance(std::int64_t nanoseconds)
    {
        HostClock::advance(nanoseconds);
        DispatchMain::drain();
    }
    Ref<dispatch_source> timer(std::int64_t start, std::uint64_t interval)
    {
        auto source = dispatch_source_create_timer(dispatch_get_main_queue());
        dispatch_source_set_timer(source, dispatch_time(DISPATCH_TIME_NOW, start), interval, 0);
        dispatch_source_set_event_handler(source, [this] { ++mTicks; });
        return source;
    }
    int mTicks = 0;
};

}

TEST_F(HandDrivenTimer, TimeStandsStillBetweenSteps)
{
    const auto before = HostClock::nanoseconds();
    EXPECT_EQ(HostClock::nanoseconds(), before);
    HostClock::advance(5);
    EXPECT_EQ(HostClock::nanoseconds(), before + 5);
}

TEST_F(HandDrivenTimer, TicksAtItsStartAndThenAtEachInterval)
{
    const auto source = timer(100, 50);
    advance(1000);
    EXPECT_EQ(mTicks, 0) << "a suspended source ticked";
    const auto started = timer(100, 50);
    dispatch_resume(started);
    advance(99);
    EXPECT_EQ(mTicks, 0);
    advance(1);
    EXPECT_EQ(mTicks, 1);
    advance(49);
    EXPECT_EQ(mTicks, 1);
    advance(1);
    EXPECT_EQ(mTicks, 2);
}

TEST_F(HandDrivenTimer, EventsThatWaitTogetherCountAsOne)
{
    const auto source = timer(10, 10);
    dispatch_resume(source);
    HostClock::advance(35);
    DispatchMain::drain();
    EXPECT_EQ(mTicks, 1);
    advance(5);
    EXPECT_EQ(mTicks, 2);
}

TEST_F(HandDrivenTimer, ForeverMeansOneEvent)
{
    const auto source = timer(10, DISPATCH_TIME_FOREVER);
    dispatch_resume(source);
    advance(10);
    advance(1'000'000);
    EXPECT_EQ(mTicks, 1);
}

TEST_F(HandDrivenTimer, AnIntervalOfNothingOrBeyondTheEndOfTimeMeansOneEventToo)
{
    for (const std::uint64_t interval : { std::uint64_t { 0 }, static_cast<std::uint64_t>(INT64_MAX - 5) }) {
        mTicks = 0;
        const auto source = timer(10, interval);
        dispatch_resume(source);
        advance(10);
        advance(1'000'000);
        EXPECT_EQ(mTicks, 1);
    }
}

TEST_F(HandDrivenTimer, DescribesItself)
{
    const auto source = timer(10, 25);
    EXPECT_EQ(source->description(), "<OS_dispatch_source: timer on \"main-thread\", interval 25 ns, leeway 0 ns>");
    dispatch_source_set_timer(source, DISPATCH_TIME_NOW, DISPATCH_TIME_FOREVER, 7);
    EXPECT_EQ(source->description(), "<OS_dispatch_source: timer on \"main-thread\", interval none, leeway 7 ns>");
}

TEST_F(HandDrivenTimer, EndsWithItsLastReferenceOrCancellation)
{
    auto source = timer(10, 10);
    dispatch_resume(source);
    advance(10);
    source = nullptr;
    advance(100);
    EXPECT_EQ(mTicks, 1);
    const auto other = timer(10, 10);
    dispatch_resume(other);
    HostClock::advance(10);
    dispatch_source_cancel(other);
    DispatchMain::drain();
    EXPECT_EQ(mTicks, 1) << "an event that waited ran after the cancellation";
}

TEST_F(HandDrivenTimer, ANewTimeReplacesTheOldOne)
{
    const auto source = timer(10, 10);
    dispatch_resume(source);
    dispatch_source_set_timer(source, dispatch_time(DISPATCH_TIME_NOW, 100), DISPATCH_TIME_FOREVER, 0);
    advance(99);
    EXPECT_EQ(mTicks, 0);
    advance(1);
    EXPECT_EQ(mTicks, 1);
}

TEST_F(HandDrivenTimer, AfterPostsOnceWhenItsTimeHasCome)
{
    int ran = 0;
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, 30), dispatch_get_main_queue(), [&] { ++ran; });
    advance(29);
    EXPECT_EQ(ran, 0);
    advance(1);
    EXPECT_EQ(ran, 1);
}

TEST_F(HandDrivenTimer, WhatIsPostedAfterATimeEndsOnItsQueue)
{
    const auto queue = dispatch_queue_create("queue");
    struct Ending {
        explicit Ending(dispatch_queue_t on, bool& wasThere)
            : queue(on)
            , endedThere(wasThere)
        {
        }
        ~Ending() { endedThere = isRunningOnQueue(queue); }
        dispatch_queue_t queue;
        bool& endedThere;
    };
    bool endedThere = false;
    dispatch_after(
        dispatch_time(DISPATCH_TIME_NOW, 30), queue, [held = std::make_shared<Ending>(queue, endedThere)] {});
    advance(30);
    dispatch_sync(queue, [] {});
    EXPECT_TRUE(endedThere);
}

TEST(DispatchTimer, FollowsTheMachinesClockWithoutDrift)
{
    std::atomic<int> ticks { 0 };
    const auto start = HostClock::nanoseconds();
    const auto source = dispatch_source_create_timer(dispatch_get_main_queue());
    dispatch_source_set_timer(source, dispatch_time(DISPATCH_TIME_NOW, 0), 5'000'000, 0);
    dispatch_source_set_event_handler(source, [&] { ++ticks; });
    dispatch_resume(source);
    ASSERT_TRUE(DispatchMain::runUntil([&] { return ticks >= 20; }, 20));
    // 20 ticks span 19 intervals: none may come early.
    EXPECT_GE(HostClock::nanoseconds() - start, 19 * 5'000'000);
}

TEST(DispatchTimer, ANullQueueMakesNoSourceAndANullSourceDoesNothing)
{
    EXPECT_FALSE(dispatch_source_create_timer(nullptr));
    dispatch_source_set_timer(nullptr, 0, 0, 0);
    dispatch_source_set_event_handler(nullptr, nullptr);
    dispatch_resume(nullptr);
    dispatch_source_cancel(nullptr);
}
