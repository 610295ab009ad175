#pragma once

#include "Platform/dispatch/DispatchQueue.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

/// The threads that run queues without a target. A thread is added when a queue is ready and all others are busy, since
/// work may wait for other work; idle ones stay.
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

    std::mutex mLock;
    std::condition_variable mWork;
    std::condition_variable mEnded;
    std::deque<Ref<DispatchQueue>> mReady;
    std::vector<std::thread> mThreads;
    std::size_t mIdle = 0;
    std::size_t mAlive = 0;
    std::atomic<bool> mStopping { false };
};
