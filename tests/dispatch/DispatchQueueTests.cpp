#include "Platform/dispatch/dispatch.h"

#include "Platform/CoreFoundation/CFString.h"
#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

#include <array>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

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

#ifndef NDEBUG
TEST(DispatchQueueDeathTest, WaitingForOnesOwnQueueIsDiagnosed)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            const auto target = dispatch_queue_create("shared target");
            const auto a = dispatch_queue_create("a");
            const auto b = dispatch_queue_create("b");
            dispatch_set_target_queue(a, target);
            dispatch_set_target_queue(b, target);
            dispatch_sync(a, [&] { dispatch_sync(b, [] {}); });
        },
        "waits for its own queue \"b\"");
    EXPECT_DEATH(dispatch_sync(dispatch_get_main_queue(), [] {}), "waits for its own queue");
    EXPECT_DEATH(assertOnQueue(dispatch_queue_create("other").get()), "outside its queue \"other\"");
}
#endif
