#pragma once

#include "Platform/dispatch/DispatchQueue.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

/// The threads that run queues without a target. A thread is added when a queue is ready and all others are busy, since
/// work may wait for other work; idle ones stay.
///
/// Waking a thread costs more than most items do, so one is woken only if none looks for work already. The one that
/// finds some wakes the next if there is more.
class WorkerPool {
public:
    static WorkerPool& shared();

    /// Has a thread call `drain` on the queue.
    void schedule(Ref<DispatchQueue> queue);
    /// Lets every thread end after its present queue's present item; waits for them up to a few seconds.
    void stop();
    bool isStopping() const noexcept { return mStopping.load(std::memory_order_acquire); }

private:
    void runThread();
    /// Returns when there is a queue to run or the pool stops. The thread counts as looking, before and after.
    void findWork(std::unique_lock<std::mutex>& lock);
    /// Makes one more thread look; says whether `mWork` is to be notified, which is best done outside the lock.
    bool makeOneLook();

    std::mutex mLock;
    std::condition_variable mWork;
    std::condition_variable mEnded;
    std::deque<Ref<DispatchQueue>> mReady;
    /// The length of `mReady`, for a glance without the lock.
    std::atomic<std::size_t> mReadyCount { 0 };
    std::vector<std::thread> mThreads;
    std::size_t mLooking = 0;
    std::size_t mAsleep = 0;
    /// How many of those asleep are to wake; they count as looking from then on and no more as asleep.
    std::size_t mToWake = 0;
    std::size_t mAlive = 0;
    std::atomic<bool> mStopping { false };
};
