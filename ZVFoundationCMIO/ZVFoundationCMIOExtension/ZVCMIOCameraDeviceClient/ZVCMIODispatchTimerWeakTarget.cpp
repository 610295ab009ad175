#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIODispatchTimerWeakTarget.h"

#include "WithRequirements/Requirements.h"

namespace {

constexpr std::uint64_t leewayNanoseconds = 100'000'000;

}

NS_IMPLEMENTATION(ZVCMIODispatchTimerWeakTarget, NSObject)
{
    type.message("startTimer", &ZVCMIODispatchTimerWeakTarget::startTimer);
    type.message("stopTimer", &ZVCMIODispatchTimerWeakTarget::stopTimer);
}

ZVCMIODispatchTimerWeakTarget::~ZVCMIODispatchTimerWeakTarget()
{
    _timerDispatch = nullptr;
    _timerBlock = nullptr;
    _weakTarget = nullptr;
}

dispatch_queue_t ZVCMIODispatchTimerWeakTarget::sTimerQueue()
{
    static dispatch_queue_t const queue = [] {
        auto made = dispatch_queue_create("ZVCMIODispatchTimerWeakTarget.sTimerQueue");
        return made.leak();
    }();
    return queue;
}

Ref<ZVCMIODispatchTimerWeakTarget> ZVCMIODispatchTimerWeakTarget::timerWithTarget_interval_block(
    NSObject* target, double interval, Block timerBlock)
{
    auto timer = make<ZVCMIODispatchTimerWeakTarget>();
    timer->initWithTarget_interval_block(target, interval, std::move(timerBlock));
    return timer;
}

ZVCMIODispatchTimerWeakTarget* ZVCMIODispatchTimerWeakTarget::initWithTarget_interval_block(
    NSObject* target, double interval, Block timerBlock)
{
    _weakTarget = target;
    _timerInterval = interval;
    CFRequired(timerBlock != nullptr, "timerBlock!=((void*)0)");
    _timerBlock = std::move(timerBlock);
    return this;
}

void ZVCMIODispatchTimerWeakTarget::startTimer()
{
    if (!CFRequired(!_timerDispatch, "_timerDispatch==((void*)0)"))
        return;
    auto* const queue = sTimerQueue();
    if (!DispatchRequired(queue, "sTimerQueue"))
        return;
    const auto nanoseconds = static_cast<std::int64_t>(timerInterval() * 1e9);
    const auto timer = dispatch_source_create_timer(queue);
    DispatchRequiredIn("create_async_dispatch_timer", timer, "timer");
    dispatch_source_set_timer(timer, dispatch_time(DISPATCH_TIME_NOW, nanoseconds),
        static_cast<std::uint64_t>(nanoseconds), leewayNanoseconds);
    dispatch_source_set_event_handler(timer, [weakSelf = WeakRef(this)] {
        if (const auto self = weakSelf.strongReference())
            self->_dispatchTimer();
    });
    _timerDispatch = timer;
    if (DispatchRequired(_timerDispatch, "_timerDispatch"))
        dispatch_resume(_timerDispatch);
}

void ZVCMIODispatchTimerWeakTarget::stopTimer()
{
    if (!_timerDispatch)
        return;
    dispatch_source_cancel(_timerDispatch);
    _timerDispatch = nullptr;
}

void ZVCMIODispatchTimerWeakTarget::startTimerWithBlock(const Block& /*timerBlock*/) { }

void ZVCMIODispatchTimerWeakTarget::_dispatchTimer()
{
    if (!CFRequired(_timerBlock != nullptr, "self.timerBlock!=((void *)0)"))
        return;
    if (!weakTarget())
        return;
    const auto target = weakTarget();
    _timerBlock(target.get());
}
