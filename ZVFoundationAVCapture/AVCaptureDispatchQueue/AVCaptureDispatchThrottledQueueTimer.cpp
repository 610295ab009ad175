#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchThrottledQueueTimer.h"

#include "Platform/dispatch/OSAtomic.h"
#include "WithRequirements/Requirements.h"

namespace {

/// How late a tick may come, in nanoseconds.
constexpr std::uint64_t leeway = 100000000;

/// A suspended timer that first fires one \p interval (nanoseconds) from now and then at each; null, which is reported,
/// where the platform gives no source.
Ref<dispatch_source> create_async_dispatch_timer(dispatch_queue_t queue, double interval, dispatch_block_t block)
{
    auto timer = dispatch_source_create_timer(queue);
    if (!DispatchRequired(timer, "timer"))
        return nullptr;
    dispatch_source_set_timer(timer, dispatch_time(DISPATCH_TIME_NOW, static_cast<std::int64_t>(interval)),
        static_cast<std::uint64_t>(interval), leeway);
    dispatch_source_set_event_handler(timer, std::move(block));
    return timer;
}

}

NS_IMPLEMENTATION(AVCaptureDispatchThrottledQueueTimer, NSObject)
{
    using Timer = AVCaptureDispatchThrottledQueueTimer;
    type.message("delegate", &Timer::delegate);
    type.message("setDelegate:", &Timer::setDelegate);
    type.message("invalidate", &Timer::invalidate);
    type.message("invalidateTimer", &Timer::invalidateTimer);
    type.message("invalidateTimerAndDelegate", &Timer::invalidateTimerAndDelegate);
    type.message("invalidateDispatchTimer", &Timer::invalidateDispatchTimer);
    type.message("dispatch_async_when_queue_empty:", &Timer::dispatch_async_when_queue_empty);
    type.message("masterTimer:", &Timer::masterTimer);
    type.message("_createCaptureDispatchTimerWithFrameRateFPS:", &Timer::_createCaptureDispatchTimerWithFrameRateFPS);
    type.message("capturingQueue", &Timer::capturingQueue);
    type.message("setCapturingQueue:", &Timer::setCapturingQueue);
    type.message("videoFrameRate", &Timer::videoFrameRate);
    type.message("setVideoFrameRate:", &Timer::setVideoFrameRate);
    type.message("videoFrameRateValue", &Timer::videoFrameRateValue);
    type.message("setVideoFrameRateValue:", &Timer::setVideoFrameRateValue);
    type.message("videoTimerRunning", &Timer::videoTimerRunning);
    type.message("setVideoTimerRunning:", &Timer::setVideoTimerRunning);
    type.message("videoTimerRunningValue", &Timer::videoTimerRunningValue);
    type.message("setVideoTimerRunningValue:", &Timer::setVideoTimerRunningValue);
    type.outlet("delegate", &Timer::delegate, &Timer::setDelegate);
    type.key("capturingQueue", &Timer::capturingQueue, &Timer::setCapturingQueue);
    type.key("videoFrameRate", &Timer::videoFrameRate, &Timer::setVideoFrameRate);
    type.key("videoFrameRateValue", &Timer::videoFrameRateValue, &Timer::setVideoFrameRateValue);
    type.key("videoTimerRunning", &Timer::videoTimerRunning, &Timer::setVideoTimerRunning);
    type.key("videoTimerRunningValue", &Timer::videoTimerRunningValue, &Timer::setVideoTimerRunningValue);
}

AVCaptureDispatchThrottledQueueTimer::AVCaptureDispatchThrottledQueueTimer()
{
    const AutoreleasePool pool;
    setCapturingQueue(AVCapturingQueue::queueWithName(CFSTR("AVCameraMovieController.capturingQueue")));
    _throttledMainQueueFullnessCount = 0;
    setVideoFrameRateValue(30);
    setVideoTimerRunningValue(false);
}

AVCaptureDispatchThrottledQueueTimer::~AVCaptureDispatchThrottledQueueTimer()
{
    invalidate();
}

void AVCaptureDispatchThrottledQueueTimer::invalidate()
{
    invalidateDispatchTimer();
    if (const auto queue = _capturingQueue.strongReference()) {
        queue->sync([] {});
        setCapturingQueue(nullptr);
    }
}

void AVCaptureDispatchThrottledQueueTimer::invalidateTimer()
{
    invalidate();
}

void AVCaptureDispatchThrottledQueueTimer::invalidateTimerAndDelegate()
{
    // First, so that a tick that comes during the wait finds nobody.
    setDelegate(nullptr);
    invalidate();
}

void AVCaptureDispatchThrottledQueueTimer::invalidateDispatchTimer()
{
    _dispatch_timer_source = nullptr;
}

void AVCaptureDispatchThrottledQueueTimer::setVideoTimerRunningValue(bool running)
{
    const NSKeyValueChange change(this, "videoTimerRunningValue");
    _videoTimerRunningValue.store(running, std::memory_order_relaxed);
}

void AVCaptureDispatchThrottledQueueTimer::setVideoFrameRateValue(std::uint64_t rate)
{
    const NSKeyValueChange change(this, "videoFrameRateValue");
    _videoFrameRateValue.store(rate, std::memory_order_relaxed);
}

void AVCaptureDispatchThrottledQueueTimer::setVideoTimerRunning(bool running)
{
    const NSKeyValueChange change(this, "videoTimerRunning");
    setVideoTimerRunningValue(running);
    // Lowering the flag takes no source away.
    if (videoTimerRunningValue() && !_dispatch_timer_source)
        _createCaptureDispatchTimerWithFrameRateFPS(videoFrameRateValue());
}

void AVCaptureDispatchThrottledQueueTimer::setVideoFrameRate(std::uint64_t rate)
{
    const NSKeyValueChange change(this, "videoFrameRate");
    if (rate == videoFrameRateValue())
        return;
    setVideoFrameRateValue(rate);
    // The source is still there when the flag comes back, so a running timer keeps its interval.
    if (videoTimerRunning()) {
        setVideoTimerRunning(false);
        setVideoTimerRunning(true);
    }
}

void AVCaptureDispatchThrottledQueueTimer::_createCaptureDispatchTimerWithFrameRateFPS(
    std::uint64_t captureFrameRateFPS)
{
    invalidateDispatchTimer();
    if (!CFRequired(captureFrameRateFPS > 0, "captureFrameRateFPS>0"))
        return;
    const auto rate = static_cast<float>(captureFrameRateFPS);
    // Divided in 32 bits and widened afterwards: 33333335.07 nanoseconds at 30 and not 33333333.33.
    const double interval = static_cast<double>(1.0F / rate) * 1000000000.0;
    _dispatch_timer_source
        = create_async_dispatch_timer(dispatch_get_main_queue(), interval, [weakSelf = WeakRef(this)] {
              const auto self = weakSelf.strongReference();
              if (isPresent(self.get()))
                  self->masterTimer(self);
          });
    dispatch_resume(_dispatch_timer_source);
}

void AVCaptureDispatchThrottledQueueTimer::masterTimer(NSObject* /*sender*/)
{
    auto* const master = delegate();
    if (!isPresent(master))
        return;
    master->performSelector("throttledQueueMasterTimer:", this);
    if (!respondsToSelector("delegate"))
        return;
    auto* const lazy = delegate();
    if (!isPresent(lazy) || !lazy->respondsToSelector("throttledQueueLazyTimer:"))
        return;
    const auto ticks = static_cast<std::uint64_t>(OSAtomicIncrement32Barrier(&_throttledLazyRefreshCounter));
    if (9 * videoFrameRate() < ticks) {
        lazy->performSelector("throttledQueueLazyTimer:", this);
        _throttledLazyRefreshCounter.store(0, std::memory_order_relaxed);
    }
}

void AVCaptureDispatchThrottledQueueTimer::dispatch_async_when_queue_empty(const dispatch_block_t& block)
{
    // Not one step with the increment in the closure: the count is of running work, not of waiting work.
    if (_throttledMainQueueFullnessCount.load(std::memory_order_relaxed) >= 1)
        return;
    const auto queue = _capturingQueue.strongReference();
    if (!queue || !queue->queue() || !block)
        return;
    AVCapture::WeakOptional(this).async_dispatch(queue->queue(), [block](NSObject* object) {
        if (auto* const self = kindOf<AVCaptureDispatchThrottledQueueTimer>(object))
            self->runCounted(block);
    });
}

void AVCaptureDispatchThrottledQueueTimer::runCounted(const dispatch_block_t& block)
{
    OSAtomicIncrement32Barrier(&_throttledMainQueueFullnessCount);
    block();
    if (!CFRequiredIn("dispatch_async_when_queue_empty",
            _throttledMainQueueFullnessCount.load(std::memory_order_relaxed) >= 1,
            "_throttledMainQueueFullnessCount>=1"))
        return;
    OSAtomicDecrement32Barrier(&_throttledMainQueueFullnessCount);
}
