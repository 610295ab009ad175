#include "Platform/dispatch/DispatchQueue.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/dispatch/WorkerPool.h"

#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <semaphore>

namespace {

/// The most items for which a queue keeps memory while it has none.
constexpr std::size_t mostKeptCapacity = 4096;

CFTypeID queueTypeID()
{
    static const CFTypeID identifier = CFRegisterType("OS_dispatch_queue");
    return identifier;
}

std::atomic<std::thread::id> mainThread { std::this_thread::get_id() };

#ifndef NDEBUG
[[noreturn]] void misuse(const char* what, const char* label)
{
    std::fprintf(stderr, "dispatch: %s \"%s\"\n", what, label);
    std::abort();
}

/// Waiting for \p queue from here would never end: it, or a queue that runs it, is busy running the caller.
bool wouldWaitForItself(dispatch_queue_t queue)
{
    for (const auto* on = insideOf(queue); on; on = on->target()) {
        if (on->isMain() && DispatchMain::isMainThread())
            return true;
        for (const auto* frame = DispatchQueue::Frame::innermost(); frame; frame = frame->outer) {
            if (frame->queue == on)
                return true;
        }
    }
    return false;
}
#endif

}

DispatchQueue::Frame*& DispatchQueue::Frame::innermost()
{
    thread_local Frame* frame = nullptr;
    return frame;
}

DispatchQueue::DispatchQueue(const char* label, Kind kind)
    : mLabel(label ? label : "")
    , mKind(kind)
{
}

DispatchQueue::~DispatchQueue() = default;

CFTypeID DispatchQueue::typeID() const noexcept
{
    return queueTypeID();
}

std::string DispatchQueue::description()
{
    return "<OS_dispatch_queue: " + mLabel + ">";
}

void DispatchQueue::post(dispatch_block_t block)
{
    {
        const std::lock_guard guard(mLock);
        mItems.push_back(std::move(block));
        if (mScheduled)
            return;
        mScheduled = true;
    }
    schedule();
}

void DispatchQueue::schedule()
{
    if (mTarget) {
        // The closure owns this reference. It captures nothing else, so that it needs no memory of its own.
        retain();
        mTarget->post([this] { Ref<DispatchQueue>::adopt(this)->drain(); });
    } else if (isMain()) {
        MainQueueGate::shared().workCame();
    } else {
        WorkerPool::shared().schedule(Ref<DispatchQueue>(this));
    }
}

bool DispatchQueue::runBatch()
{
    {
        const std::lock_guard guard(mLock);
        if (mItems.empty()) {
            mScheduled = false;
            return false;
        }
        mBatch.swap(mItems);
    }
    const auto& workers = WorkerPool::shared();
    const bool isWorker = !DispatchMain::isMainThread();
    const Frame frame(this);
    for (auto& item : mBatch) {
        // The rest is kept and never runs.
        if (isWorker && workers.isStopping())
            return true;
        const AutoreleasePool pool;
        item();
        // What the closure held goes now, on this queue, and not with the batch.
        item = nullptr;
    }
    mBatch.clear();
    if (mBatch.capacity() > mostKeptCapacity)
        mBatch = {};
    return true;
}

void DispatchQueue::drain() noexcept
{
    if (!mTarget && !isMain()) {
        while (runBatch()) {
            if (WorkerPool::shared().isStopping())
                return;
        }
        return;
    }
    if (!runBatch())
        return;
    {
        const std::lock_guard guard(mLock);
        if (mItems.empty()) {
            mScheduled = false;
            return;
        }
    }
    schedule();
}

MainQueueGate& MainQueueGate::shared()
{
    static MainQueueGate* const gate = std::make_unique<MainQueueGate>().release();
    return *gate;
}

void MainQueueGate::workCame()
{
    const std::lock_guard guard(mLock);
    mHasWork = true;
    mCame.notify_all();
    if (mWakeUp)
        mWakeUp();
}

void MainQueueGate::setWakeUp(std::function<void()> wakeUp)
{
    const std::lock_guard guard(mLock);
    mWakeUp = std::move(wakeUp);
    if (mHasWork && mWakeUp)
        mWakeUp();
}

bool MainQueueGate::waitUntil(std::chrono::steady_clock::time_point deadline)
{
    std::unique_lock lock(mLock);
    return mCame.wait_until(lock, deadline, [this] { return mHasWork; });
}

void MainQueueGate::drain()
{
    {
        const std::lock_guard guard(mLock);
        if (!mHasWork)
            return;
        mHasWork = false;
    }
    insideOf(dispatch_get_main_queue())->drain();
}

Ref<dispatch_queue> dispatch_queue_create(const char* label, const void* /*attributes*/)
{
    if (FAIL_POINT("dispatch_queue_create"))
        return nullptr;
    return make<DispatchQueue>(label, DispatchQueue::Kind::pool);
}

void dispatch_set_target_queue(dispatch_queue_t queue, dispatch_queue_t target)
{
    insideOf(queue)->setTarget(insideOf(target));
}

const char* dispatch_queue_get_label(dispatch_queue_t queue)
{
    if (queue)
        return insideOf(queue)->label();
    if (const auto* const frame = DispatchQueue::Frame::innermost())
        return frame->queue->label();
    return DispatchMain::isMainThread() ? insideOf(dispatch_get_main_queue())->label() : "";
}

dispatch_queue_t dispatch_get_main_queue()
{
    static DispatchQueue* const queue = [] {
        auto made = make<DispatchQueue>("main-thread", DispatchQueue::Kind::main);
        made->makeImmortal();
        return made.leak();
    }();
    return queue;
}

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block)
{
    insideOf(queue)->post(std::move(block));
}

void dispatch_sync(dispatch_queue_t queue, const dispatch_block_t& block)
{
#ifndef NDEBUG
    if (wouldWaitForItself(queue))
        misuse("a synchronous call waits for its own queue", insideOf(queue)->label());
#endif
    std::binary_semaphore done(0);
    insideOf(queue)->post([&] {
        block();
        done.release();
    });
    done.acquire();
}

bool isRunningOnQueue(dispatch_queue_t queue)
{
    for (const auto* frame = DispatchQueue::Frame::innermost(); frame; frame = frame->outer) {
        if (frame->queue == queue)
            return true;
    }
    return insideOf(queue)->isMain() && DispatchMain::isMainThread();
}

void assertOnQueue([[maybe_unused]] dispatch_queue_t queue)
{
#ifndef NDEBUG
    if (!isRunningOnQueue(queue))
        misuse("an operation ran outside its queue", insideOf(queue)->label());
#endif
}

namespace DispatchMain {

void adoptCurrentThread()
{
    mainThread.store(std::this_thread::get_id());
}

bool isMainThread() noexcept
{
    return mainThread.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

void setWakeUp(std::function<void()> wakeUp)
{
    MainQueueGate::shared().setWakeUp(std::move(wakeUp));
}

void drain()
{
    MainQueueGate::shared().drain();
}

bool runUntil(const std::function<bool()>& done, double seconds)
{
    const auto deadline = std::chrono::steady_clock::now()
        + std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds));
    for (;;) {
        drain();
        if (done())
            return true;
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline)
            return false;
        // The condition may come true by work of other threads that posts nothing here.
        MainQueueGate::shared().waitUntil(std::min(deadline, now + std::chrono::milliseconds(5)));
    }
}

}
