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
/// Waking a thread costs more than most items do, so only one is on its way at a time: it takes a queue and brings the
/// next thread if there are more.
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
    /// Wakes or starts one more thread; says whether `mWork` is to be notified, which is best done outside the lock.
    bool bringThread();

    std::mutex mLock;
    std::condition_variable mWork;
    std::condition_variable mEnded;
    std::deque<Ref<DispatchQueue>> mReady;
    std::vector<std::thread> mThreads;
    /// Threads that were brought and have not come to the lock yet.
    std::size_t mComing = 0;
    std::size_t mAsleep = 0;
    /// How many of those brought are to wake; they do not count as asleep any more.
    std::size_t mToWake = 0;
    std::size_t mAlive = 0;
    std::atomic<bool> mStopping { false };
};
