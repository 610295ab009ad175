#include "Platform/dispatch/WorkerPool.h"

#include "Platform/dispatch/dispatch.h"

#include <chrono>
#include <cstdlib>
#include <utility>

#include <pthread.h>
#include <unistd.h>

namespace {

/// As many as may wait for one another before posted work has to wait too.
constexpr std::size_t mostThreads = 64;
constexpr std::chrono::seconds patienceAtExit { 5 };

}

WorkerPool& WorkerPool::shared()
{
    // Never destroyed: threads may still look at it while the process exits.
    static WorkerPool* const pool = [] {
        static const pid_t process = ::getpid();
        // What runs on must not meet static objects and libraries that are being taken down: a library that is loaded
        // meanwhile is set up a second time. A child made by fork has none of the threads.
        std::atexit([] {
            if (::getpid() == process)
                DispatchMain::stopThreads();
        });
        return std::make_unique<WorkerPool>().release();
    }();
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
    if (mThreads.empty())
        return;
    mWork.notify_all();
    // A thread that does not come back is left behind: the process ends in a moment.
    const bool haveAllEnded = mEnded.wait_for(lock, patienceAtExit, [this] { return mAlive == 0; });
    auto threads = std::exchange(mThreads, {});
    lock.unlock();
    for (auto& thread : threads)
        haveAllEnded ? thread.join() : thread.detach();
}
