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

/// Notes its end.
class Departing : public NSObject {
public:
    Departing(std::vector<std::string>& gone, std::string name)
        : mGone(gone)
        , mName(std::move(name))
    {
    }
    ~Departing() override { mGone.push_back(mName); }

private:
    std::vector<std::string>& mGone;
    const std::string mName;
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

TEST(AVCaptureDispatchFunctions, AfterTheCallTheObjectGoesFirstThenSelfThenTheClosure)
{
    std::vector<std::string> gone;
    for (const bool weakly : { false, true }) {
        SCOPED_TRACE(weakly);
        gone.clear();
        elsewhere([&] {
            auto self = make<Departing>(gone, "self");
            auto object = make<Departing>(gone, "object");
            // It holds self to the end where nothing else does.
            const auto keeper = std::make_shared<Ref<Departing>>(weakly ? self : nullptr);
            const auto block = [keeper, last = make<Departing>(gone, "closure")](
                                   Departing*, Departing*, bool) { *keeper = nullptr; };
            if (weakly)
                avcapture_dispatch_main_weak_self<Departing, Departing>(self, object, block);
            else
                avcapture_dispatch_main_strong_self<Departing, Departing>(self, object, block);
        });
        EXPECT_TRUE(gone.empty());
        ASSERT_TRUE(DispatchMain::runUntil([&] { return gone.size() == 3; }, 10));
        EXPECT_EQ(gone, (std::vector<std::string> { "object", "self", "closure" }));
    }
}

TEST(AVCaptureDispatchFunctions, WithoutAClosureBothHopsDoNothing)
{
    const auto self = make<NSObject>();
    const auto hop = [&] {
        avcapture_dispatch_main_strong_self(self.get(), self.get(), nullptr);
        avcapture_dispatch_main_weak_self(self.get(), self.get(), nullptr);
    };
    hop();
    elsewhere(hop);
    EXPECT_EQ(self->retainCount(), 1);
    DispatchMain::drain();
}

TEST(AVCaptureDispatchFunctions, HopsMayRaceWithTheEndOfSelf)
{
    constexpr int hops = 300;
    int ran = 0;
    int found = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread) {
        threads.emplace_back([&] {
            for (int time = 0; time < hops; ++time) {
                auto self = make<NSObject>();
                const auto object = make<NSObject>();
                avcapture_dispatch_main_weak_self<NSObject, NSObject>(
                    self, object, [&](NSObject* alive, NSObject*, bool) {
                        ++ran;
                        found += alive && alive->respondsToSelector("no such message") ? 0 : 1;
                    });
                avcapture_dispatch_main_strong_self<NSObject, NSObject>(
                    self, object, [&](NSObject* alive, NSObject*, bool) {
                        ++ran;
                        EXPECT_TRUE(alive);
                    });
            }
        });
    }
    EXPECT_TRUE(DispatchMain::runUntil([&] { return ran == 3 * 2 * hops; }, 60));
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(found, 3 * hops);
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
