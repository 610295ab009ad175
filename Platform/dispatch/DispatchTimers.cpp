#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/dispatch/DispatchQueue.h"
#include "Platform/dispatch/DispatchThreadStops.h"
#include "Platform/dispatch/WorkerPool.h"

#include <algorithm>
#include <map>

#include <pthread.h>

namespace {

constexpr std::int64_t never = INT64_MAX;

std::int64_t clamped(std::uint64_t nanoseconds)
{
    return nanoseconds > static_cast<std::uint64_t>(never) ? never : static_cast<std::int64_t>(nanoseconds);
}

/// Fires closures at their times on the host clock, from one thread. The closures only post.
class Timers {
public:
    static Timers& shared();
    void add(std::int64_t deadline, std::function<void(std::int64_t)> fire);
    std::int64_t nextDeadline();
    void fireDue(std::int64_t now);
    void wake() { mChanged.notify_all(); }
    void stop();

private:
    Timers();
    void runThread();

    std::mutex mLock;
    std::condition_variable mChanged;
    std::multimap<std::int64_t, std::function<void(std::int64_t)>> mEntries;
    bool mStopping = false;
    std::thread mThread;
};

std::atomic<bool> timersExist { false };

Timers& Timers::shared()
{
    static Timers* const timers = std::unique_ptr<Timers>(new Timers).release();
    return *timers;
}

Timers::Timers()
    : mThread([this] { runThread(); })
{
    timersExist = true;
}

void Timers::add(std::int64_t deadline, std::function<void(std::int64_t)> fire)
{
    const std::lock_guard guard(mLock);
    mEntries.emplace(deadline, std::move(fire));
    mChanged.notify_all();
}

std::int64_t Timers::nextDeadline()
{
    const std::lock_guard guard(mLock);
    return mEntries.empty() ? never : mEntries.begin()->first;
}

void Timers::fireDue(std::int64_t now)
{
    std::vector<std::function<void(std::int64_t)>> due;
    {
        const std::lock_guard guard(mLock);
        while (!mEntries.empty() && mEntries.begin()->first <= now) {
            due.push_back(std::move(mEntries.begin()->second));
            mEntries.erase(mEntries.begin());
        }
    }
    for (const auto& fire : due)
        fire(now);
}

void Timers::runThread()
{
    ::pthread_setname_np(::pthread_self(), "timers");
    std::unique_lock lock(mLock);
    while (!mStopping) {
        if (HostClock::isDrivenByHand() || mEntries.empty()) {
            mChanged.wait(lock);
            continue;
        }
        const std::int64_t now = HostClock::nanoseconds();
        const std::int64_t wait = mEntries.begin()->first - now;
        if (wait > 0) {
            mChanged.wait_until(lock,
                std::chrono::steady_clock::now()
                    + std::chrono::nanoseconds(std::min(wait, clamped(3600 * NSEC_PER_SEC))));
            continue;
        }
        lock.unlock();
        fireDue(now);
        lock.lock();
    }
}

void Timers::stop()
{
    {
        const std::lock_guard guard(mLock);
        mStopping = true;
    }
    mChanged.notify_all();
    if (mThread.joinable())
        mThread.join();
}

CFTypeID sourceTypeID()
{
    static const CFTypeID identifier = CFRegisterType("OS_dispatch_source");
    return identifier;
}

}

/// A timer: lines itself up with `Timers` for its next deadline as long as it lives and runs.
class DispatchSource final : public dispatch_source {
public:
    explicit DispatchSource(dispatch_queue_t queue)
        : mQueue(queue)
    {
    }

    void setTimer(std::int64_t start, std::int64_t interval, std::uint64_t leeway)
    {
        const std::lock_guard guard(mLock);
        mNext = start;
        mInterval = interval;
        mLeeway = leeway;
        ++mGeneration;
        if (mResumed && !mCancelled)
            lineUp();
    }
    void setHandler(dispatch_block_t handler)
    {
        auto made = std::make_shared<dispatch_block_t>(std::move(handler));
        const std::lock_guard guard(mLock);
        mHandler.swap(made);
    }
    void resume()
    {
        const std::lock_guard guard(mLock);
        if (mResumed || mCancelled)
            return;
        mResumed = true;
        if (mNext != never)
            lineUp();
    }
    void cancel()
    {
        const std::lock_guard guard(mLock);
        mCancelled = true;
        ++mGeneration;
    }
    CFTypeID typeID() const noexcept override { return sourceTypeID(); }
    std::string description() override
    {
        const std::lock_guard guard(mLock);
        return "<OS_dispatch_source: timer on \"" + std::string(dispatch_queue_get_label(mQueue)) + "\", interval "
            + (mInterval == never ? "none" : std::to_string(mInterval) + " ns") + ", leeway " + std::to_string(mLeeway)
            + " ns>";
    }

private:
    void lineUp()
    {
        Timers::shared().add(mNext, [weakSelf = WeakRef(this), generation = mGeneration](std::int64_t now) {
            if (const auto self = weakSelf.strongReference())
                self->due(now, generation);
        });
    }
    void due(std::int64_t now, std::uint64_t generation)
    {
        const std::lock_guard guard(mLock);
        if (generation != mGeneration)
            return;
        // An interval that reaches beyond the end of time counts as none, and so does one of nothing.
        if (mInterval <= 0 || mInterval >= never - now) {
            mNext = never;
        } else {
            // Counted from the start and not from now, so that lateness does not add up.
            mNext += ((now - mNext) / mInterval + 1) * mInterval;
            lineUp();
        }
        if (mEventWaits)
            return;
        mEventWaits = true;
        dispatch_async(mQueue, [weakSelf = WeakRef(this)] {
            if (const auto self = weakSelf.strongReference())
                self->runHandler();
        });
    }
    void runHandler()
    {
        std::shared_ptr<dispatch_block_t> handler;
        {
            const std::lock_guard guard(mLock);
            mEventWaits = false;
            if (mCancelled)
                return;
            handler = mHandler;
        }
        if (handler && *handler)
            (*handler)();
    }

    const Ref<dispatch_queue> mQueue;
    std::mutex mLock;
    std::shared_ptr<dispatch_block_t> mHandler;
    std::int64_t mNext = never;
    std::int64_t mInterval = never;
    std::uint64_t mLeeway = 0;
    std::uint64_t mGeneration = 0;
    bool mResumed = false;
    bool mCancelled = false;
    bool mEventWaits = false;
};

namespace {

void connectToClock()
{
    static std::once_flag once;
    std::call_once(once, [] {
        HostClock::setTimers([] { return Timers::shared().nextDeadline(); },
            [](std::int64_t now) { Timers::shared().fireDue(now); }, [] { Timers::shared().wake(); });
    });
}

}

dispatch_time_t dispatch_time(dispatch_time_t when, std::int64_t delta)
{
    if (when == DISPATCH_TIME_FOREVER)
        return when;
    const auto base = when == DISPATCH_TIME_NOW ? static_cast<dispatch_time_t>(HostClock::nanoseconds()) : when;
    return base + static_cast<dispatch_time_t>(delta);
}

Ref<dispatch_source> dispatch_source_create_timer(dispatch_queue_t queue)
{
    if (!queue || FAIL_POINT("dispatch_source_create"))
        return nullptr;
    connectToClock();
    return make<DispatchSource>(queue);
}

void dispatch_source_set_timer(
    dispatch_source_t source, dispatch_time_t start, std::uint64_t interval, std::uint64_t leeway)
{
    if (source)
        static_cast<DispatchSource*>(source)->setTimer(clamped(dispatch_time(start, 0)), clamped(interval), leeway);
}

void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler)
{
    if (source)
        static_cast<DispatchSource*>(source)->setHandler(std::move(handler));
}

void dispatch_resume(dispatch_source_t source)
{
    if (source)
        static_cast<DispatchSource*>(source)->resume();
}

void dispatch_source_cancel(dispatch_source_t source)
{
    if (source)
        static_cast<DispatchSource*>(source)->cancel();
}

void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block)
{
    connectToClock();
    Timers::shared().add(clamped(dispatch_time(when, 0)),
        [queue = Ref<dispatch_queue>(queue), block = std::move(block)](
            std::int64_t) mutable { dispatch_async(queue, std::move(block)); });
}

void DispatchMain::stopThreads()
{
    dispatchRunThreadStops();
    if (timersExist)
        Timers::shared().stop();
    WorkerPool::shared().stop();
}
