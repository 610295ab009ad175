#include "Platform/dispatch/WorkerPool.h"

#include <chrono>

#include <pthread.h>

namespace {

/// As many as may wait for one another before posted work has to wait too.
constexpr std::size_t mostThreads = 64;
constexpr std::chrono::seconds patienceAtExit { 5 };
/// How often a thread that ran out of work glances for more before it sleeps: a microsecond or two, less than it takes
/// to put a thread to sleep and wake it.
constexpr int glancesBeforeSleep = 40;

void pauseBriefly()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("isb");
#endif
}

}

WorkerPool& WorkerPool::shared()
{
    // Never destroyed: threads may still look at it while the process exits.
    static WorkerPool* const pool = std::make_unique<WorkerPool>().release();
    return *pool;
}

void WorkerPool::schedule(Ref<DispatchQueue> queue)
{
    bool notifies = false;
    {
        const std::lock_guard guard(mLock);
        if (mStopping)
            return;
        mReady.push_back(std::move(queue));
        mReadyCount.store(mReady.size(), std::memory_order_relaxed);
        if (mLooking == 0)
            notifies = makeOneLook();
    }
    if (notifies)
        mWork.notify_one();
}

bool WorkerPool::makeOneLook()
{
    if (mAsleep > 0) {
        --mAsleep;
        ++mToWake;
        ++mLooking;
        return true;
    }
    if (mThreads.size() < mostThreads) {
        ++mAlive;
        ++mLooking;
        mThreads.emplace_back([this] { runThread(); });
    }
    return false;
}

void WorkerPool::findWork(std::unique_lock<std::mutex>& lock)
{
    while (!mStopping && mReady.empty()) {
        if (mLooking == 1) {
            lock.unlock();
            for (int glance = 0; glance < glancesBeforeSleep && mReadyCount.load(std::memory_order_relaxed) == 0;
                 ++glance)
                pauseBriefly();
            lock.lock();
            if (mStopping || !mReady.empty())
                return;
        }
        --mLooking;
        ++mAsleep;
        mWork.wait(lock, [this] { return mStopping || mToWake > 0; });
        if (mStopping)
            return;
        --mToWake;
    }
}

void WorkerPool::runThread()
{
    ::pthread_setname_np(::pthread_self(), "dispatch");
    std::unique_lock lock(mLock);
    for (;;) {
        findWork(lock);
        if (mStopping)
            break;
        auto queue = std::move(mReady.front());
        mReady.pop_front();
        mReadyCount.store(mReady.size(), std::memory_order_relaxed);
        --mLooking;
        const bool notifies = !mReady.empty() && mLooking == 0 && makeOneLook();
        lock.unlock();
        if (notifies)
            mWork.notify_one();
        queue->drain();
        queue = nullptr;
        lock.lock();
        ++mLooking;
    }
    --mAlive;
    mEnded.notify_all();
}

void WorkerPool::stop()
{
    std::unique_lock lock(mLock);
    mStopping = true;
    mWork.notify_all();
    // A thread that does not come back is left behind: the process ends in a moment.
    if (!mEnded.wait_for(lock, patienceAtExit, [this] { return mAlive == 0; }))
        return;
    lock.unlock();
    for (auto& thread : mThreads)
        thread.join();
    mThreads.clear();
}
