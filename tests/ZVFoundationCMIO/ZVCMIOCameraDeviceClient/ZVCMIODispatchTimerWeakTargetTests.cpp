#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIODispatchTimerWeakTarget.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/ZVFoundationCMIO/ZVCMIOCameraDeviceClient/LoggedLines.h"

#include <gtest/gtest.h>

namespace {

class WeakTargetTimer : public testing::Test {
protected:
    void SetUp() override { HostClock::driveByHand(true); }
    void TearDown() override { HostClock::driveByHand(false); }

    static void advance(std::int64_t nanoseconds)
    {
        HostClock::advance(nanoseconds);
        dispatch_sync(ZVCMIODispatchTimerWeakTarget::sTimerQueue(), [] {});
    }
    Ref<ZVCMIODispatchTimerWeakTarget> timer(NSObject* target)
    {
        return ZVCMIODispatchTimerWeakTarget::timerWithTarget_interval_block(
            target, 1.0 / 30.0, [this](NSObject*) { ++mTicks; });
    }
    int mTicks = 0;
};

}

TEST_F(WeakTargetTimer, TicksOnTheTimerQueueAtWholeNanoseconds)
{
    const auto target = make<NSObject>();
    const auto ticking = timer(target);
    ticking->startTimer();
    advance(33'333'332);
    EXPECT_EQ(mTicks, 0);
    advance(1);
    EXPECT_EQ(mTicks, 1);
    advance(33'333'333);
    EXPECT_EQ(mTicks, 2);
    EXPECT_STREQ(dispatch_queue_get_label(ZVCMIODispatchTimerWeakTarget::sTimerQueue()),
        "ZVCMIODispatchTimerWeakTarget.sTimerQueue");
}

TEST_F(WeakTargetTimer, ATargetThatWentIsNotCalledFor)
{
    auto target = make<NSObject>();
    const auto ticking = timer(target);
    ticking->startTimer();
    target = nullptr;
    advance(33'333'333);
    EXPECT_EQ(mTicks, 0);
}

TEST_F(WeakTargetTimer, AStartWhileRunningIsReportedAndChangesNothing)
{
    const auto target = make<NSObject>();
    const auto ticking = timer(target);
    ticking->startTimer();
    EXPECT_EQ(loggedLines([&] { ticking->startTimer(); }),
        "REQUIREMENT - SRC>>_timerDispatch==((void*)0) in ZVCMIODispatchTimerWeakTarget.cpp:# (startTimer)\n");
    advance(33'333'333);
    EXPECT_EQ(mTicks, 1);
}

TEST_F(WeakTargetTimer, StopsAndStartsAgain)
{
    const auto target = make<NSObject>();
    const auto ticking = timer(target);
    ticking->stopTimer();
    ticking->startTimer();
    ticking->stopTimer();
    advance(100'000'000);
    EXPECT_EQ(mTicks, 0);
    ticking->startTimer();
    advance(33'333'333);
    EXPECT_EQ(mTicks, 1);
}

TEST_F(WeakTargetTimer, AMissingCallbackIsReportedAtOnceAndAtEachTick)
{
    const auto target = make<NSObject>();
    Ref<ZVCMIODispatchTimerWeakTarget> silent;
    const auto made = loggedLines(
        [&] { silent = ZVCMIODispatchTimerWeakTarget::timerWithTarget_interval_block(target, 1, nullptr); });
    EXPECT_NE(made.find("SRC>>timerBlock!=((void*)0)"), std::string::npos) << made;
    const auto ticked = loggedLines([&] { silent->_dispatchTimer(); });
    EXPECT_NE(ticked.find("SRC>>self.timerBlock!=((void *)0)"), std::string::npos) << ticked;
}

TEST_F(WeakTargetTimer, ASourceThatCannotBeMadeIsReportedTwice)
{
    const auto target = make<NSObject>();
    const auto ticking = timer(target);
    const FailPoint::Scope armed("dispatch_source_create");
    const auto lines = loggedLines([&] { ticking->startTimer(); });
    EXPECT_EQ(lines,
        "REQUIRED_DISPATCH_QUEUE 0x00000000==NULL - timer in ZVCMIODispatchTimerWeakTarget.cpp:# "
        "(create_async_dispatch_timer)\n"
        "REQUIRED_DISPATCH_QUEUE 0x00000000==NULL - _timerDispatch in ZVCMIODispatchTimerWeakTarget.cpp:# "
        "(startTimer)\n");
}
