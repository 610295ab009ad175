#include "Platform/dispatch/dispatch.h"

#include "Platform/CoreFoundation/CFString.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/dispatch/WorkerPool.h"

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int millionOrFewer = 80'000;
#else
constexpr int millionOrFewer = 1'000'000;
#endif

void waitFor(dispatch_queue_t queue)
{
    dispatch_sync(queue, [] {});
}

}

TEST(DispatchQueue, RunsItsWorkInTheOrderOfPosting)
{
    const auto queue = dispatch_queue_create("order");
    std::vector<int> order;
    for (int i = 0; i < 1000; ++i)
        dispatch_async(queue, [&order, i] { order.push_back(i); });
    waitFor(queue);
    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(DispatchQueue, QueuesWithOneTargetNeverOverlapAndKeepTheirOrder)
{
    const auto target = dispatch_queue_create("target");
    std::array<Ref<dispatch_queue>, 4> queues;
    for (auto& queue : queues) {
        queue = dispatch_queue_create("member");
        dispatch_set_target_queue(queue, target);
    }
    std::atomic<int> inside { 0 };
    std::array<std::array<int, 8>, 4> last {};
    std::vector<std::thread> posters;
    std::atomic<int> ran { 0 };
    for (std::size_t poster = 0; poster < 8; ++poster) {
        posters.emplace_back([&, poster] {
            for (int i = 1; i <= 1000; ++i) {
                const auto which = static_cast<std::size_t>(i) % queues.size();
                dispatch_async(queues[which], [&, poster, which, i] {
                    EXPECT_EQ(inside.fetch_add(1), 0);
                    EXPECT_LT(last[which][poster], i);
                    last[which][poster] = i;
                    ++ran;
                    inside.fetch_sub(1);
                });
            }
        });
    }
    for (auto& poster : posters)
        poster.join();
    for (auto& queue : queues)
        waitFor(queue);
    EXPECT_EQ(ran, 8000);
}

TEST(DispatchQueue, AMillionPostsFromEightThreadsToSixteenQueuesOnFourTargetsKeepEveryOrder)
{
    constexpr std::size_t posters = 8;
    constexpr int postsOfEach = millionOrFewer / posters;
    struct Target {
        Ref<dispatch_queue> queue = dispatch_queue_create("target");
        std::atomic<int> inside { 0 };
        // Bare, so that the thread sanitizer would see two closures of one target at once too.
        int ran = 0;
    };
    struct Queue {
        Ref<dispatch_queue> queue = dispatch_queue_create("queue");
        Target* target = nullptr;
        std::array<int, posters> last {};
        int disorders = 0;
        int overlaps = 0;

        void arrive(std::size_t poster, int number)
        {
            overlaps += target->inside.fetch_add(1);
            disorders += last[poster] < number ? 0 : 1;
            last[poster] = number;
            ++target->ran;
            target->inside.fetch_sub(1);
        }
    };
    std::array<Target, 4> targets;
    std::array<Queue, 16> queues;
    for (std::size_t index = 0; index < queues.size(); ++index) {
        queues[index].target = &targets[index % targets.size()];
        dispatch_set_target_queue(queues[index].queue, queues[index].target->queue);
    }
    std::array<std::thread, posters> threads;
    for (std::size_t poster = 0; poster < posters; ++poster) {
        threads[poster] = std::thread([&queues, poster] {
            for (int number = 1; number <= postsOfEach; ++number) {
                auto& queue = queues[(static_cast<std::size_t>(number) + poster) % queues.size()];
                dispatch_async(queue.queue, [&queue, poster, number] { queue.arrive(poster, number); });
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    for (auto& queue : queues) {
        waitFor(queue.queue);
        EXPECT_EQ(queue.disorders, 0);
        EXPECT_EQ(queue.overlaps, 0);
    }
    int ran = 0;
    for (auto& target : targets) {
        waitFor(target.queue);
        ran += target.ran;
    }
    EXPECT_EQ(ran, millionOrFewer);
}

TEST(DispatchQueue, AQueueWithATargetTakesTurnsWithItsSiblings)
{
    const auto target = dispatch_queue_create("target");
    const auto busy = dispatch_queue_create("busy");
    const auto other = dispatch_queue_create("other");
    dispatch_set_target_queue(busy, target);
    dispatch_set_target_queue(other, target);
    // Posts itself anew for as long as the sibling has not run.
    std::atomic<bool> otherRan { false };
    std::function<void()> again = [&] {
        if (!otherRan)
            dispatch_async(busy, again);
    };
    dispatch_async(busy, again);
    dispatch_async(other, [&] { otherRan = true; });
    waitFor(other);
    EXPECT_TRUE(otherRan);
    waitFor(busy);
    waitFor(busy);
}

TEST(DispatchQueue, TargetsMayHaveTargets)
{
    const auto outermost = dispatch_queue_create("outermost");
    const auto middle = dispatch_queue_create("middle");
    const auto queue = dispatch_queue_create("queue");
    dispatch_set_target_queue(middle, outermost);
    dispatch_set_target_queue(queue, middle);
    int unguarded = 0;
    for (int time = 0; time < 1000; ++time) {
        dispatch_async(queue, [&] { ++unguarded; });
        dispatch_async(middle, [&] { ++unguarded; });
        dispatch_async(outermost, [&] { ++unguarded; });
    }
    waitFor(queue);
    waitFor(middle);
    waitFor(outermost);
    EXPECT_EQ(unguarded, 3000);
}

TEST(DispatchQueue, SyncReturnsAfterWhatWasPostedBefore)
{
    const auto queue = dispatch_queue_create("sync");
    int value = 0;
    dispatch_async(queue, [&] { value = 1; });
    dispatch_sync(queue, [&] {
        EXPECT_EQ(value, 1);
        value = 2;
    });
    EXPECT_EQ(value, 2);
}

TEST(DispatchQueue, WorkThatWaitsForOtherQueuesDoesNotStarveThem)
{
    std::vector<Ref<dispatch_queue>> queues;
    for (int i = 0; i < 12; ++i)
        queues.push_back(dispatch_queue_create("chain"));
    std::promise<void> innermost;
    for (std::size_t i = 0; i + 1 < queues.size(); ++i)
        dispatch_async(queues[i], [&, i] { waitFor(queues[i + 1]); });
    dispatch_async(queues.back(), [&] { innermost.set_value(); });
    ASSERT_EQ(innermost.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    for (const auto& queue : queues)
        waitFor(queue);
}

TEST(DispatchQueue, QueuesThatWaitForOneAnotherAllRunAtOnce)
{
    // More than have threads by now, so that each has to bring the next to its work.
    constexpr int meeting = 24;
    std::vector<Ref<dispatch_queue>> queues;
    std::barrier met(meeting);
    for (int i = 0; i < meeting; ++i) {
        queues.push_back(dispatch_queue_create("meeting"));
        dispatch_async(queues.back(), [&] { met.arrive_and_wait(); });
    }
    for (const auto& queue : queues)
        waitFor(queue);
}

TEST(DispatchQueue, EachItemHasAnAutoreleasePoolAndItsClosureDiesAfterIt)
{
    struct Watched : CFType {
        explicit Watched(std::atomic<bool>& isGone)
            : gone(isGone)
        {
        }
        ~Watched() override { gone = true; }
        std::atomic<bool>& gone;
    };
    const auto queue = dispatch_queue_create("pool");
    std::atomic<bool> autoreleased { false };
    std::atomic<bool> captured { false };
    dispatch_async(queue, [&, held = make<Watched>(captured)] { autorelease(make<Watched>(autoreleased)); });
    dispatch_async(queue, [&] {
        EXPECT_TRUE(autoreleased);
        EXPECT_TRUE(captured);
    });
    waitFor(queue);
}

TEST(DispatchQueue, LabelsAreTheSamePointerInsideAndOutside)
{
    const auto target = dispatch_queue_create("outer");
    const auto queue = dispatch_queue_create("inner");
    dispatch_set_target_queue(queue, target);
    EXPECT_STREQ(dispatch_queue_get_label(queue), "inner");
    dispatch_sync(queue, [&] {
        EXPECT_EQ(dispatch_queue_get_label(nullptr), dispatch_queue_get_label(queue));
        EXPECT_TRUE(isRunningOnQueue(queue));
        EXPECT_TRUE(isRunningOnQueue(target));
        EXPECT_FALSE(isRunningOnQueue(dispatch_get_main_queue()));
    });
    EXPECT_EQ(dispatch_queue_get_label(nullptr), dispatch_queue_get_label(dispatch_get_main_queue()));
    std::thread([] { EXPECT_STREQ(dispatch_queue_get_label(nullptr), ""); }).join();
}

TEST(DispatchQueue, TheMainQueueRunsOnlyWhenItsThreadDrainsIt)
{
    bool ran = false;
    std::thread([&] { dispatch_async(dispatch_get_main_queue(), [&] { ran = true; }); }).join();
    EXPECT_FALSE(ran);
    EXPECT_TRUE(DispatchMain::runUntil([&] { return ran; }, 5));
}

TEST(DispatchQueue, WorkPostedByADrainWaitsForTheNext)
{
    int runs = 0;
    dispatch_async(dispatch_get_main_queue(), [&] {
        ++runs;
        dispatch_async(dispatch_get_main_queue(), [&] { ++runs; });
    });
    DispatchMain::drain();
    EXPECT_EQ(runs, 1);
    DispatchMain::drain();
    EXPECT_EQ(runs, 2);
}

TEST(DispatchQueue, TheMainQueueWakesItsLoopWhenWorkComes)
{
    std::atomic<int> wakes { 0 };
    DispatchMain::setWakeUp([&] { ++wakes; });
    std::thread([&] {
        dispatch_async(dispatch_get_main_queue(), [] {});
        dispatch_async(dispatch_get_main_queue(), [] {});
    }).join();
    EXPECT_EQ(wakes, 1);
    DispatchMain::drain();
    DispatchMain::setWakeUp(nullptr);
}

TEST(DispatchQueue, CreationMayFail)
{
    const FailPoint::Scope armed("dispatch_queue_create");
    EXPECT_FALSE(dispatch_queue_create("never"));
}

TEST(DispatchQueueDeathTest, AnExceptionThatLeavesAnItemEndsTheProgram)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            dispatch_async(dispatch_get_main_queue(), [] { throw 1; });
            try {
                DispatchMain::drain();
            } catch (int) {
                std::_Exit(0);
            }
        },
        "terminate called");
}

TEST(DispatchQueueDeathTest, WhatHasNotStartedWhenTheThreadsStopIsKeptAndNeverRuns)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            const auto target = dispatch_queue_create("target");
            const auto queue = dispatch_queue_create("queue");
            dispatch_set_target_queue(queue, target);
            auto held = std::make_shared<int>();
            const std::weak_ptr<int> watched = held;
            std::atomic<bool> ran { false };
            dispatch_async(queue, [] {
                while (!WorkerPool::shared().isStopping())
                    std::this_thread::yield();
            });
            dispatch_async(queue, [&ran, held = std::move(held)] { ran = true; });
            DispatchMain::stopThreads();
            std::_Exit(ran ? 1 : watched.expired() ? 2 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(DispatchQueueDeathTest, ExitWaitsForWhatRunsBeforeStaticObjectsGo)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            static std::atomic<bool> hasRun { false };
            // Called after everything that is registered later.
            std::atexit([] { std::_Exit(hasRun ? 0 : 1); });
            std::promise<void> begun;
            const auto queue = dispatch_queue_create("queue");
            dispatch_async(queue, [&begun] {
                begun.set_value();
                std::this_thread::sleep_for(std::chrono::milliseconds(200));
                hasRun = true;
            });
            begun.get_future().wait();
            std::exit(2);
        },
        testing::ExitedWithCode(0), "");
}

#ifndef NDEBUG
class DispatchWaitDeathTest : public testing::Test {
protected:
    void SetUp() override
    {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        dispatch_set_target_queue(a, target);
        dispatch_set_target_queue(b, target);
    }
    const Ref<dispatch_queue> target = dispatch_queue_create("shared target");
    const Ref<dispatch_queue> a = dispatch_queue_create("a");
    const Ref<dispatch_queue> b = dispatch_queue_create("b");
};

TEST_F(DispatchWaitDeathTest, WaitingForOnesOwnQueueIsDiagnosed)
{
    EXPECT_DEATH(
        dispatch_sync(a, [&] { waitFor(a); }), "^dispatch: a synchronous call waits for its own queue \"a\"\n");
}

TEST_F(DispatchWaitDeathTest, WaitingForASiblingIsDiagnosed)
{
    EXPECT_DEATH(
        dispatch_sync(a, [&] { waitFor(b); }), "^dispatch: a synchronous call waits for its own queue \"b\"\n");
}

TEST_F(DispatchWaitDeathTest, WaitingForAQueueFromItsTargetIsDiagnosed)
{
    EXPECT_DEATH(
        dispatch_sync(target, [&] { waitFor(a); }), "^dispatch: a synchronous call waits for its own queue \"a\"\n");
}

TEST_F(DispatchWaitDeathTest, WaitingForOnesTargetIsDiagnosed)
{
    EXPECT_DEATH(dispatch_sync(a, [&] { waitFor(target); }),
        "^dispatch: a synchronous call waits for its own queue \"shared target\"\n");
}

TEST_F(DispatchWaitDeathTest, WaitingForTheMainQueueOnItsThreadIsDiagnosed)
{
    EXPECT_DEATH(
        waitFor(dispatch_get_main_queue()), "^dispatch: a synchronous call waits for its own queue \"main-thread\"\n");
    dispatch_set_target_queue(target, dispatch_get_main_queue());
    EXPECT_DEATH(waitFor(b), "^dispatch: a synchronous call waits for its own queue \"b\"\n");
}

TEST_F(DispatchWaitDeathTest, WorkOutsideItsQueueIsDiagnosed)
{
    EXPECT_DEATH(assertOnQueue(a), "^dispatch: an operation ran outside its queue \"a\"\n");
    dispatch_sync(a, [&] {
        assertOnQueue(a);
        assertOnQueue(target);
    });
}

TEST_F(DispatchWaitDeathTest, WaitingForAnotherFamilyIsNot)
{
    const auto other = dispatch_queue_create("other");
    bool ran = false;
    dispatch_sync(a, [&] { dispatch_sync(other, [&] { ran = true; }); });
    EXPECT_TRUE(ran);
}
#endif
