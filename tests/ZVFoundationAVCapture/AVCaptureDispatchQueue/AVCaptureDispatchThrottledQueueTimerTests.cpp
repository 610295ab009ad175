#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchThrottledQueueTimer.h"

#include "bench/AllocationCounter.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <future>
#include <thread>

namespace {

/// The interval at 30 ticks a second, in whole nanoseconds.
constexpr std::int64_t thirtieth = 33333335;

/// A timer that shows its fields.
class OpenTimer : public AVCaptureDispatchThrottledQueueTimer {
public:
    Ref<dispatch_source> source() const { return _dispatch_timer_source; }
    std::int32_t lazyCounter() const { return _throttledLazyRefreshCounter; }
    std::int32_t fullnessCount() const { return _throttledMainQueueFullnessCount; }
    void setFullnessCount(std::int32_t count) { _throttledMainQueueFullnessCount = count; }
};

/// Notes the ticks, and at which of them the slow beat came.
class ThrottledTimerListener : public NSObject, public AVCaptureDispatchThrottledQueueTimerDelegateProtocol {
    NS_OBJECT(ThrottledTimerListener)
public:
    void throttledQueueMasterTimer(AVCaptureDispatchThrottledQueueTimer* timer) override
    {
        EXPECT_TRUE(DispatchMain::isMainThread());
        EXPECT_EQ(timer->delegate(), this);
        ++ticks;
        if (leavesAtTick == ticks)
            timer->setDelegate(nullptr);
    }
    void throttledQueueLazyTimer(AVCaptureDispatchThrottledQueueTimer* timer) override
    {
        EXPECT_TRUE(DispatchMain::isMainThread());
        EXPECT_EQ(timer->delegate(), this);
        slowBeats.push_back(ticks);
    }
    int ticks = 0;
    int leavesAtTick = 0;
    std::vector<int> slowBeats;
};

NS_IMPLEMENTATION(ThrottledTimerListener, NSObject)
{
    type.message("throttledQueueMasterTimer:", &ThrottledTimerListener::throttledQueueMasterTimer);
    type.message("throttledQueueLazyTimer:", &ThrottledTimerListener::throttledQueueLazyTimer);
}

/// A delegate without the slow beat.
class ThrottledTimerTickListener : public NSObject, public AVCaptureDispatchThrottledQueueTimerDelegateProtocol {
    NS_OBJECT(ThrottledTimerTickListener)
public:
    void throttledQueueMasterTimer(AVCaptureDispatchThrottledQueueTimer* /*timer*/) override { ++ticks; }
    int ticks = 0;
};

NS_IMPLEMENTATION(ThrottledTimerTickListener, NSObject)
{
    type.message("throttledQueueMasterTimer:", &ThrottledTimerTickListener::throttledQueueMasterTimer);
}

/// Notes each value that the flag is given.
class ThrottledTimerFlagObserver : public NSObject {
    NS_OBJECT(ThrottledTimerFlagObserver)
public:
    void observeValueForKeyPath_ofObject_change_context(
        CFString* /*keyPath*/, NSObject* object, CFDictionary* /*change*/, const void* /*context*/) override
    {
        values.push_back(kindOf<AVCaptureDispatchThrottledQueueTimer>(object)->videoTimerRunningValue());
    }
    std::vector<bool> values;
};

NS_IMPLEMENTATION(ThrottledTimerFlagObserver, NSObject) { }

/// The clock stands still but for `tick`, and nothing of another test waits on the main queue.
class AVCaptureDispatchThrottledQueueTimerTest : public testing::Test {
protected:
    void SetUp() override
    {
        DispatchMain::drain();
        HostClock::driveByHand(true);
        timer->setDelegate(listener);
    }
    void TearDown() override
    {
        timer = nullptr;
        DispatchMain::drain();
        HostClock::driveByHand(false);
    }

    static void advance(std::int64_t nanoseconds)
    {
        HostClock::advance(nanoseconds);
        DispatchMain::drain();
    }
    static void tick(int times)
    {
        for (int time = 0; time < times; ++time)
            advance(thirtieth);
    }
    /// Keeps the capturing queue busy until the result is set; returns when it is.
    std::promise<void> occupyCapturingQueue() const
    {
        std::promise<void> mayEnd;
        const auto began = std::make_shared<std::promise<void>>();
        timer->capturingQueue()->async([began, wait = mayEnd.get_future().share()] {
            began->set_value();
            wait.wait();
        });
        began->get_future().wait();
        return mayEnd;
    }

    const AutoreleasePool pool;
    Ref<OpenTimer> timer = make<OpenTimer>();
    Ref<ThrottledTimerListener> listener = make<ThrottledTimerListener>();
};

using ThrottledTimer = AVCaptureDispatchThrottledQueueTimerTest;

}

TEST_F(ThrottledTimer, IsIdleAtFirstWithAQueueOfItsOwn)
{
    EXPECT_EQ(timer->videoFrameRate(), 30U);
    EXPECT_EQ(timer->videoFrameRateValue(), 30U);
    EXPECT_FALSE(timer->videoTimerRunning());
    EXPECT_FALSE(timer->videoTimerRunningValue());
    EXPECT_FALSE(timer->source());
    EXPECT_EQ(timer->lazyCounter(), 0);
    EXPECT_EQ(timer->fullnessCount(), 0);
    auto* const queue = timer->capturingQueue();
    EXPECT_EQ(queue->isa(), AVCapturingQueue::classObject());
    EXPECT_STREQ(dispatch_queue_get_label(queue->queue()), "AVCameraMovieController.capturingQueue");
    EXPECT_EQ(queue->targetQueue(), AVCaptureDispatchTargetQueue::targetQueue());
    EXPECT_TRUE(queue->waitsUntilEmptyBeforeRelease());
    EXPECT_EQ(make<OpenTimer>()->delegate(), nullptr);
}

TEST_F(ThrottledTimer, HoldsItsDelegateWeakly)
{
    auto other = make<ThrottledTimerListener>();
    timer->setDelegate(other);
    other = nullptr;
    EXPECT_EQ(timer->delegate(), nullptr);
    timer->setVideoTimerRunning(true);
    tick(2);
    EXPECT_EQ(timer->lazyCounter(), 0);
}

TEST_F(ThrottledTimer, TicksOnceEachIntervalFromItsStart)
{
    timer->setVideoTimerRunning(true);
    advance(thirtieth - 1);
    EXPECT_EQ(listener->ticks, 0);
    advance(1);
    EXPECT_EQ(listener->ticks, 1);
    advance(thirtieth - 1);
    EXPECT_EQ(listener->ticks, 1);
    advance(1);
    EXPECT_EQ(listener->ticks, 2);
}

TEST_F(ThrottledTimer, DividesIn32BitsAndCutsTheIntervalToWholeNanoseconds)
{
    const std::pair<std::uint64_t, std::int64_t> intervals[] = { { 1, 1000000000 }, { 3, 333333343 }, { 7, 142857149 },
        { 10, 100000001 }, { 15, 66666670 }, { 24, 41666667 }, { 25, 39999999 }, { 29, 34482758 }, { 30, 33333335 },
        { 50, 19999999 }, { 60, 16666667 }, { 120, 8333333 }, { 240, 4166666 }, { 3000000, 333 } };
    for (const auto& [rate, interval] : intervals) {
        SCOPED_TRACE(rate);
        timer->_createCaptureDispatchTimerWithFrameRateFPS(rate);
        listener->ticks = 0;
        advance(interval - 1);
        EXPECT_EQ(listener->ticks, 0);
        advance(1);
        EXPECT_EQ(listener->ticks, 1);
        advance(interval);
        EXPECT_EQ(listener->ticks, 2);
    }
}

TEST_F(ThrottledTimer, ItsSourceAllowsTicksToBeATenthOfASecondLate)
{
    timer->setVideoTimerRunning(true);
    EXPECT_EQ(timer->source()->description(),
        "<OS_dispatch_source: timer on \"main-thread\", interval 33333335 ns, leeway 100000000 ns>");
}

TEST_F(ThrottledTimer, SlowBeatComesWithEvery271stTick)
{
    timer->setVideoTimerRunning(true);
    tick(270);
    EXPECT_TRUE(listener->slowBeats.empty());
    EXPECT_EQ(timer->lazyCounter(), 270);
    tick(1);
    EXPECT_EQ(listener->slowBeats, (std::vector<int> { 271 }));
    EXPECT_EQ(timer->lazyCounter(), 0);
    tick(2 * 271);
    EXPECT_EQ(listener->slowBeats, (std::vector<int> { 271, 542, 813 }));
    EXPECT_EQ(listener->ticks, 813);
}

TEST_F(ThrottledTimer, WithoutADelegateNoTickCounts)
{
    timer->setVideoTimerRunning(true);
    tick(5);
    EXPECT_EQ(timer->lazyCounter(), 5);
    timer->setDelegate(nullptr);
    tick(5);
    EXPECT_EQ(timer->lazyCounter(), 5);
    EXPECT_EQ(listener->ticks, 5);
}

TEST_F(ThrottledTimer, WithADelegateWithoutSlowBeatNoTickCounts)
{
    const auto other = make<ThrottledTimerTickListener>();
    timer->setDelegate(other);
    timer->setVideoTimerRunning(true);
    tick(300);
    EXPECT_EQ(other->ticks, 300);
    EXPECT_EQ(timer->lazyCounter(), 0);
}

TEST_F(ThrottledTimer, ATickWhoseDelegateGoesMeanwhileDoesNotCount)
{
    listener->leavesAtTick = 3;
    timer->setVideoTimerRunning(true);
    tick(5);
    EXPECT_EQ(listener->ticks, 3);
    EXPECT_EQ(timer->lazyCounter(), 2);
}

TEST_F(ThrottledTimer, SendsTheTickWithoutATest)
{
    const auto stranger = make<NSObject>();
    timer->setDelegate(stranger);
    EXPECT_THROW(timer->masterTimer(nullptr), NSException);
    timer->setDelegate(listener);
    timer->masterTimer(nullptr);
    EXPECT_EQ(listener->ticks, 1);
    EXPECT_EQ(timer->lazyCounter(), 1);
}

TEST_F(ThrottledTimer, StartingTwiceMakesOneSource)
{
    // Never fails; only counts.
    const FailPoint::Scope counting("dispatch_source_create", -1, UINT64_MAX);
    timer->setVideoTimerRunning(true);
    const auto source = timer->source();
    ASSERT_TRUE(source);
    timer->setVideoTimerRunning(true);
    EXPECT_EQ(timer->source(), source);
    EXPECT_EQ(FailPoint::passes("dispatch_source_create"), 1U);
    tick(3);
    EXPECT_EQ(listener->ticks, 3);
}

TEST_F(ThrottledTimer, LoweringTheFlagLeavesItTickingAndRaisingItAgainMakesNoSecondSource)
{
    timer->setVideoTimerRunning(true);
    const auto source = timer->source();
    timer->setVideoTimerRunning(false);
    EXPECT_FALSE(timer->videoTimerRunning());
    EXPECT_EQ(timer->source(), source);
    tick(2);
    EXPECT_EQ(listener->ticks, 2);
    timer->setVideoTimerRunning(true);
    EXPECT_TRUE(timer->videoTimerRunning());
    EXPECT_EQ(timer->source(), source);
    tick(2);
    EXPECT_EQ(listener->ticks, 4);
}

TEST_F(ThrottledTimer, InvalidateTakesSourceAndQueueAndLeavesTheFlag)
{
    timer->setVideoTimerRunning(true);
    timer->invalidate();
    EXPECT_TRUE(timer->videoTimerRunning());
    EXPECT_FALSE(timer->source());
    EXPECT_EQ(timer->capturingQueue(), nullptr);
    EXPECT_EQ(timer->delegate(), listener.get());
    tick(2);
    EXPECT_EQ(listener->ticks, 0);
    // The flag is up and there is no source, so this makes one.
    timer->setVideoTimerRunning(true);
    EXPECT_TRUE(timer->source());
    tick(2);
    EXPECT_EQ(listener->ticks, 2);
    timer->invalidateTimer();
    EXPECT_FALSE(timer->source());
    timer->setVideoTimerRunning(false);
    EXPECT_FALSE(timer->videoTimerRunning());
    EXPECT_FALSE(timer->source());
}

TEST_F(ThrottledTimer, WorkAfterInvalidateIsLost)
{
    timer->invalidate();
    auto held = make<NSObject>();
    const WeakRef watched(held.get());
    timer->dispatch_async_when_queue_empty([held = std::move(held)] { FAIL(); });
    EXPECT_FALSE(watched.strongReference());
}

TEST_F(ThrottledTimer, ATickThatWaitedWhenTheSourceWentDoesNotCome)
{
    timer->setVideoTimerRunning(true);
    HostClock::advance(thirtieth);
    timer->invalidateDispatchTimer();
    DispatchMain::drain();
    EXPECT_EQ(listener->ticks, 0);
    EXPECT_NE(timer->capturingQueue(), nullptr);
}

TEST_F(ThrottledTimer, TheSameRateDoesNotTouchTheFlag)
{
    timer->setVideoTimerRunning(true);
    const auto observer = make<ThrottledTimerFlagObserver>();
    timer->addObserver_forKeyPath_options_context(observer, "videoTimerRunningValue", 0, nullptr);
    timer->setVideoFrameRate(30);
    EXPECT_TRUE(observer->values.empty());
    timer->setVideoFrameRate(31);
    EXPECT_EQ(observer->values, (std::vector<bool> { false, true }));
    timer->removeObserver_forKeyPath(observer, "videoTimerRunningValue");
}

TEST_F(ThrottledTimer, ARunningTimerKeepsItsIntervalWhenTheRateChanges)
{
    timer->setVideoTimerRunning(true);
    // Only its address: a reference would keep it ticking.
    const auto* const source = timer->source().get();
    timer->setVideoFrameRate(10);
    EXPECT_EQ(timer->videoFrameRate(), 10U);
    EXPECT_TRUE(timer->videoTimerRunning());
    EXPECT_EQ(timer->source().get(), source);
    tick(3);
    EXPECT_EQ(listener->ticks, 3);
    // The next source has the new one.
    timer->invalidateDispatchTimer();
    timer->setVideoTimerRunning(true);
    advance(100000000);
    EXPECT_EQ(listener->ticks, 3);
    advance(1);
    EXPECT_EQ(listener->ticks, 4);
}

TEST_F(ThrottledTimer, TheSlowBeatFollowsTheRateAtOnce)
{
    timer->setVideoTimerRunning(true);
    tick(100);
    timer->setVideoFrameRate(11);
    EXPECT_TRUE(listener->slowBeats.empty());
    tick(1);
    EXPECT_EQ(listener->slowBeats, (std::vector<int> { 101 }));
    tick(100);
    EXPECT_EQ(listener->slowBeats, (std::vector<int> { 101, 201 }));
}

TEST_F(ThrottledTimer, AChangeOfRateDoesNotStartAnIdleTimer)
{
    timer->setVideoFrameRate(25);
    EXPECT_EQ(timer->videoFrameRate(), 25U);
    EXPECT_FALSE(timer->videoTimerRunning());
    EXPECT_FALSE(timer->source());
}

TEST_F(ThrottledTimer, ARateOfZeroIsReportedAndLeavesTheFlagUpWithoutASource)
{
    timer->setVideoFrameRate(0);
    StandardErrorCapture capture;
    timer->setVideoTimerRunning(true);
    EXPECT_THAT(capture.text(),
        testing::MatchesRegex("REQUIREMENT - SRC>>captureFrameRateFPS>0 in "
                              "AVCaptureDispatchThrottledQueueTimer\\.cpp:[0-9]+ "
                              "\\(_createCaptureDispatchTimerWithFrameRateFPS\\)\n"));
    EXPECT_TRUE(timer->videoTimerRunning());
    EXPECT_FALSE(timer->source());
    tick(2);
    EXPECT_EQ(listener->ticks, 0);
    // With a rate again, the change itself starts it: flag down, flag up, no source there.
    timer->setVideoFrameRate(30);
    EXPECT_TRUE(timer->source());
    tick(2);
    EXPECT_EQ(listener->ticks, 2);
}

TEST_F(ThrottledTimer, ARateOfZeroTakesTheSourceThatWas)
{
    timer->setVideoTimerRunning(true);
    const StandardErrorCapture capture;
    timer->_createCaptureDispatchTimerWithFrameRateFPS(0);
    EXPECT_FALSE(timer->source());
}

TEST_F(ThrottledTimer, ASourceThatFailsIsReportedAndResumedAsNone)
{
    const FailPoint::Scope failing("dispatch_source_create");
    StandardErrorCapture capture;
    timer->setVideoTimerRunning(true);
    EXPECT_THAT(capture.text(),
        testing::MatchesRegex("REQUIRED_DISPATCH_QUEUE 0x00000000==NULL - timer in "
                              "AVCaptureDispatchThrottledQueueTimer\\.cpp:[0-9]+ \\(create_async_dispatch_timer\\)\n"));
    EXPECT_TRUE(timer->videoTimerRunning());
    EXPECT_FALSE(timer->source());
}

TEST_F(ThrottledTimer, ABurstOnAnIdleQueueGetsThroughWhole)
{
    auto mayEnd = occupyCapturingQueue();
    std::vector<int> ran;
    // What occupies the queue was not counted, so to the gate the queue is idle.
    for (int number = 0; number < 5; ++number)
        timer->dispatch_async_when_queue_empty([&ran, number] { ran.push_back(number); });
    EXPECT_EQ(timer->fullnessCount(), 0);
    mayEnd.set_value();
    timer->capturingQueue()->waitUntilQueueEmpty();
    EXPECT_EQ(ran, (std::vector<int> { 0, 1, 2, 3, 4 }));
    EXPECT_EQ(timer->fullnessCount(), 0);
}

TEST_F(ThrottledTimer, WorkIsDroppedWhileSomeRuns)
{
    std::promise<void> began;
    std::promise<void> mayEnd;
    std::atomic<int> ran { 0 };
    timer->dispatch_async_when_queue_empty([&, queue = timer->capturingQueue()->queue()] {
        EXPECT_TRUE(isRunningOnQueue(queue));
        EXPECT_TRUE(isRunningOnQueue(AVCaptureDispatchTargetQueue::targetQueue()));
        began.set_value();
        mayEnd.get_future().wait();
        ++ran;
    });
    began.get_future().wait();
    EXPECT_EQ(timer->fullnessCount(), 1);
    timer->dispatch_async_when_queue_empty([&] { ran += 100; });
    mayEnd.set_value();
    timer->capturingQueue()->waitUntilQueueEmpty();
    EXPECT_EQ(timer->fullnessCount(), 0);
    EXPECT_EQ(ran, 1);
    timer->dispatch_async_when_queue_empty([&] { ++ran; });
    timer->capturingQueue()->waitUntilQueueEmpty();
    EXPECT_EQ(ran, 2);
}

TEST_F(ThrottledTimer, DroppingAllocatesNothing)
{
    const std::array<int, 64> large {};
    int ran = 0;
    const dispatch_block_t block = [&ran, large] { ran += 1 + large[0]; };
    timer->setFullnessCount(1);
    const auto before = AllocationCounter::count();
    for (int time = 0; time < 100; ++time)
        timer->dispatch_async_when_queue_empty(block);
    EXPECT_EQ(AllocationCounter::count(), before);
    timer->setFullnessCount(0);
    timer->dispatch_async_when_queue_empty(block);
    EXPECT_GT(AllocationCounter::count(), before);
    timer->capturingQueue()->waitUntilQueueEmpty();
    EXPECT_EQ(ran, 1);
}

TEST_F(ThrottledTimer, ACountThatSomethingElseLoweredIsReportedAndLeftAsItStands)
{
    for (const std::int32_t count : { 0, -3 }) {
        StandardErrorCapture capture;
        timer->dispatch_async_when_queue_empty([&] { timer->setFullnessCount(count); });
        timer->capturingQueue()->waitUntilQueueEmpty();
        EXPECT_THAT(capture.text(),
            testing::MatchesRegex("REQUIREMENT - SRC>>_throttledMainQueueFullnessCount>=1 in "
                                  "AVCaptureDispatchThrottledQueueTimer\\.cpp:[0-9]+ "
                                  "\\(dispatch_async_when_queue_empty\\)\n"));
        EXPECT_EQ(timer->fullnessCount(), count);
    }
}

TEST_F(ThrottledTimer, AClosureHoldsTheTimerUntilItRan)
{
    auto mayEnd = occupyCapturingQueue();
    const Ref queue(timer->capturingQueue());
    const auto references = timer->retainCount();
    timer->dispatch_async_when_queue_empty([] {});
    EXPECT_EQ(timer->retainCount(), references + 1);
    mayEnd.set_value();
    queue->waitUntilQueueEmpty();
    EXPECT_EQ(timer->retainCount(), references);
}

TEST_F(ThrottledTimer, InvalidateWaitsForItsQueue)
{
    auto mayEnd = occupyCapturingQueue();
    std::atomic<bool> ran { false };
    timer->dispatch_async_when_queue_empty([&] { ran = true; });
    std::thread ender([&] {
        timer->invalidate();
        EXPECT_TRUE(ran);
    });
    mayEnd.set_value();
    ender.join();
    EXPECT_EQ(timer->capturingQueue(), nullptr);
}

TEST_F(ThrottledTimer, ATickDuringTheWaitOfAnInvalidationWithDelegateFindsNoDelegate)
{
    timer->setVideoTimerRunning(true);
    tick(1);
    auto mayEnd = occupyCapturingQueue();
    std::atomic<bool> ended { false };
    std::thread ender([&] {
        timer->invalidateTimerAndDelegate();
        ended = true;
    });
    EXPECT_TRUE(DispatchMain::runUntil([&] { return !timer->delegate(); }, 20));
    timer->masterTimer(nullptr);
    EXPECT_FALSE(ended);
    EXPECT_NE(timer->capturingQueue(), nullptr);
    EXPECT_EQ(listener->ticks, 1);
    EXPECT_EQ(timer->lazyCounter(), 1);
    mayEnd.set_value();
    ender.join();
    EXPECT_FALSE(timer->source());
    EXPECT_EQ(timer->capturingQueue(), nullptr);
}

TEST_F(ThrottledTimer, ItsEndInvalidatesIt)
{
    timer->setVideoTimerRunning(true);
    tick(1);
    const WeakRef source(timer->source());
    HostClock::advance(thirtieth);
    timer = nullptr;
    EXPECT_FALSE(source.strongReference());
    DispatchMain::drain();
    tick(2);
    EXPECT_EQ(listener->ticks, 1);
}

TEST_F(ThrottledTimer, HasItsValuesByKeyAndMessage)
{
    timer->setValue_forKey(CFNumber::create(50).get(), "videoFrameRate");
    EXPECT_EQ(timer->videoFrameRate(), 50U);
    timer->setValue_forKey(kCFBooleanTrue, "videoTimerRunning");
    EXPECT_TRUE(timer->source());
    EXPECT_TRUE(CFEqual(timer->valueForKey("videoTimerRunningValue").get(), kCFBooleanTrue));
    timer->performSelector("invalidateTimerAndDelegate");
    EXPECT_FALSE(timer->source());
    EXPECT_EQ(timer->delegate(), nullptr);
    EXPECT_TRUE(timer->respondsToSelector("dispatch_async_when_queue_empty:"));
    EXPECT_TRUE(timer->respondsToSelector("_createCaptureDispatchTimerWithFrameRateFPS:"));
}

TEST_F(ThrottledTimer, TheGateHoldsWhenManyThreadsComeAtOnce)
{
    int unguarded = 0;
    std::atomic<int> offered { 0 };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int time = 0; time < 500; ++time, ++offered)
                timer->dispatch_async_when_queue_empty([&unguarded] { ++unguarded; });
        });
    }
    for (auto& thread : threads)
        thread.join();
    timer->capturingQueue()->waitUntilQueueEmpty();
    EXPECT_EQ(offered, 2000);
    EXPECT_GE(unguarded, 1);
    EXPECT_LE(unguarded, 2000);
    EXPECT_EQ(timer->fullnessCount(), 0);
}
