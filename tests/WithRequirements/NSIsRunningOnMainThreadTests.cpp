#include "WithRequirements/NSIsRunningOnMainThread.h"

#include "Platform/dispatch/dispatch.h"

#include <gtest/gtest.h>

#include <future>

TEST(NSIsRunningOnMainThread, IsTrueOnTheMainThreadOnly)
{
    EXPECT_TRUE(__NSIsRunningOnMainThread());
    EXPECT_FALSE(std::async(std::launch::async, [] { return __NSIsRunningOnMainThread(); }).get());
}

TEST(NSIsRunningOnMainThread, IsFalseOnAQueueEvenWithTheMainQueuesLabel)
{
    const auto queue = dispatch_queue_create(std::string(dispatch_queue_get_label(dispatch_get_main_queue())).c_str());
    std::promise<bool> answer;
    dispatch_async(queue, [&] { answer.set_value(__NSIsRunningOnMainQueue() || __NSIsRunningOnMainThread()); });
    EXPECT_FALSE(answer.get_future().get());
}

TEST(NSIsRunningOnMainThread, IsTrueInWorkOfTheMainQueue)
{
    bool onQueue = false;
    bool ran = false;
    dispatch_async(dispatch_get_main_queue(), [&] {
        onQueue = __NSIsRunningOnMainQueue();
        ran = true;
    });
    ASSERT_TRUE(DispatchMain::runUntil([&] { return ran; }, 10));
    EXPECT_TRUE(onQueue);
}
