#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchFunctions.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/NSObject.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <thread>

namespace {

template <class F> auto elsewhere(F work)
{
    return std::async(std::launch::async, std::move(work)).get();
}

/// What a hop to the main thread handed to its closure.
struct Call {
    NSObject* self;
    NSObject* object;
    bool synchronous;
};

}

TEST(AVCaptureDispatchFunctions, QueueRunsAsPartOfItsTarget)
{
    const auto target = dispatch_queue_create("target");
    const auto queue = avcapture_dispatch_queue_create_serial_with_target("queue", target);
    EXPECT_STREQ(dispatch_queue_get_label(queue), "queue");
    bool onTarget = false;
    dispatch_sync(queue, [&] { onTarget = isRunningOnQueue(target); });
    EXPECT_TRUE(onTarget);
}

TEST(AVCaptureDispatchFunctions, NoQueueStaysNull)
{
    const auto target = dispatch_queue_create("target");
    const FailPoint::Scope failing("dispatch_queue_create");
    EXPECT_EQ(avcapture_dispatch_queue_create_serial_with_target("queue", target), nullptr);
}

TEST(AVCaptureDispatchFunctions, AsyncIfDispatchRunsInlineOnTheMainThreadOnly)
{
    int runs = 0;
    AVCaptureDispatchMainQueue_AsyncIfDispatch([&] { ++runs; });
    EXPECT_EQ(runs, 1);
    elsewhere(
        [&] { AVCaptureDispatchMainQueue_AsyncIfDispatch([&] { runs += DispatchMain::isMainThread() ? 1 : 100; }); });
    ASSERT_TRUE(DispatchMain::runUntil([&] { return runs > 1; }, 10));
    EXPECT_EQ(runs, 2);
    AVCaptureDispatchMainQueue_AsyncIfDispatch(nullptr);
}

TEST(AVCaptureDispatchFunctions, OnTheMainThreadBothHopsCallAtOnce)
{
    const auto self = make<NSObject>();
    const auto object = make<NSObject>();
    std::vector<bool> calls;
    const auto block = [&](NSObject* gotSelf, NSObject* gotObject, bool synchronous) {
        EXPECT_EQ(gotSelf, self.get());
        EXPECT_EQ(gotObject, object.get());
        calls.push_back(synchronous);
    };
    avcapture_dispatch_main_strong_self(self.get(), object.get(), block);
    avcapture_dispatch_main_weak_self(self.get(), object.get(), block);
    EXPECT_EQ(calls, (std::vector<bool> { true, true }));
}

TEST(AVCaptureDispatchFunctions, StrongHopKeepsSelfAndObjectUntilItRan)
{
    auto self = make<NSObject>();
    auto object = make<NSObject>();
    const WeakRef weakSelf(self.get());
    const WeakRef weakObject(object.get());
    std::optional<Call> call;
    elsewhere([&] {
        avcapture_dispatch_main_strong_self(
            self.get(), object.get(), [&](NSObject* gotSelf, NSObject* gotObject, bool synchronous) {
                call = { gotSelf, gotObject, synchronous };
            });
    });
    auto* const selfAddress = self.get();
    auto* const objectAddress = object.get();
    self = nullptr;
    object = nullptr;
    EXPECT_TRUE(weakSelf.strongReference());
    ASSERT_TRUE(DispatchMain::runUntil([&] { return call.has_value(); }, 10));
    EXPECT_EQ(call->self, selfAddress);
    EXPECT_EQ(call->object, objectAddress);
    EXPECT_FALSE(call->synchronous);
    EXPECT_FALSE(weakSelf.strongReference());
    EXPECT_FALSE(weakObject.strongReference());
}

TEST(AVCaptureDispatchFunctions, WeakHopLosesADeadSelfAndKeepsTheObject)
{
    auto self = make<NSObject>();
    auto object = make<NSObject>();
    auto* const objectAddress = object.get();
    std::optional<Call> call;
    elsewhere([&] {
        avcapture_dispatch_main_weak_self(
            self.get(), object.get(), [&](NSObject* gotSelf, NSObject* gotObject, bool synchronous) {
                call = { gotSelf, gotObject, synchronous };
            });
    });
    self = nullptr;
    object = nullptr;
    ASSERT_TRUE(DispatchMain::runUntil([&] { return call.has_value(); }, 10));
    EXPECT_EQ(call->self, nullptr);
    EXPECT_EQ(call->object, objectAddress);
    EXPECT_FALSE(call->synchronous);
}

TEST(AVCaptureDispatchFunctions, WeakHopReachesALivingSelf)
{
    const auto self = make<NSObject>();
    std::optional<Call> call;
    elsewhere([&] {
        avcapture_dispatch_main_weak_self(
            self.get(), static_cast<NSObject*>(nullptr), [&](NSObject* gotSelf, NSObject* gotObject, bool synchronous) {
                call = { gotSelf, gotObject, synchronous };
            });
    });
    ASSERT_TRUE(DispatchMain::runUntil([&] { return call.has_value(); }, 10));
    EXPECT_EQ(call->self, self.get());
    EXPECT_EQ(call->object, nullptr);
}
