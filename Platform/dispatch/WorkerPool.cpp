#include "Platform/dispatch/WorkerPool.h"

#include <chrono>

#include <pthread.h>

namespace {

/// As many as may wait for one another before posted work has to wait too.
constexpr std::size_t mostThreads = 64;
constexpr std::chrono::seconds patienceAtExit { 5 };

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
        notifies = mComing == 0 && bringThread();
    }
    if (notifies)
        mWork.notify_one();
}

bool WorkerPool::bringThread()
{
    if (mAsleep > 0) {
        --mAsleep;
        ++mToWake;
        ++mComing;
        return true;
    }
    if (mThreads.size() < mostThreads) {
        // It waits for the lock, which is held here, before it counts itself.
        mThreads.emplace_back([this] { runThread(); });
        ++mAlive;
        ++mComing;
    }
    return false;
}

void WorkerPool::runThread()
{
    ::pthread_setname_np(::pthread_self(), "dispatch");
    std::unique_lock lock(mLock);
    --mComing;
    for (;;) {
        while (!mStopping && mReady.empty()) {
            ++mAsleep;
            mWork.wait(lock, [this] { return mStopping || mToWake > 0; });
            if (mStopping)
                break;
            --mToWake;
            --mComing;
        }
        if (mStopping)
            break;
        auto queue = std::move(mReady.front());
        mReady.pop_front();
        const bool notifies = !mReady.empty() && mComing == 0 && bringThread();
        lock.unlock();
        if (notifies)
            mWork.notify_one();
        queue->drain();
        queue = nullptr;
        lock.lock();
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
