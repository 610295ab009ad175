#pragma once

#include "Platform/dispatch/dispatch.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

/// The inside of a serial queue: its waiting items, and where it is run. At most one `drain` of a queue is scheduled or
/// running at a time; that is what makes it serial.
class DispatchQueue final : public dispatch_queue {
public:
    enum class Kind { pool, main };
    DispatchQueue(const char* label, Kind kind);
    ~DispatchQueue() override;

    const char* label() const noexcept { return mLabel.c_str(); }
    DispatchQueue* target() const noexcept { return mTarget; }
    void setTarget(DispatchQueue* target) { mTarget = target; }
    bool isMain() const noexcept { return mKind == Kind::main; }

    void post(dispatch_block_t block);
    /// Runs what waits. A queue on the pool goes on until it is empty; one with a target runs what it finds and then
    /// lines up again behind its siblings. An exception that leaves an item ends the program.
    void drain() noexcept;

    CFTypeID typeID() const noexcept override;
    std::string description() override;

    /// The queue that runs an item on this thread, and those that this one runs in.
    class Frame {
    public:
        explicit Frame(DispatchQueue* runs)
            : queue(runs)
            , outer(std::exchange(innermost(), this))
        {
        }
        ~Frame() { innermost() = outer; }
        Frame(const Frame&) = delete;
        Frame& operator=(const Frame&) = delete;

        static Frame*& innermost();
        DispatchQueue* const queue;
        Frame* const outer;
    };

private:
    void schedule();
    /// Runs the waiting items; false when there were none, and then the queue is idle.
    bool runBatch();

    const std::string mLabel;
    const Kind mKind;
    Ref<DispatchQueue> mTarget;
    std::mutex mLock;
    std::vector<dispatch_block_t> mItems;
    bool mScheduled = false;
    /// What the present drain runs; nobody else looks at it. Empty between drains and kept for its memory, which the
    /// two lists hand to each other, so that a queue in steady use asks for none.
    std::vector<dispatch_block_t> mBatch;
};

/// The inside of a queue; every queue is one of these.
inline DispatchQueue* insideOf(dispatch_queue_t queue)
{
    return static_cast<DispatchQueue*>(queue);
}

/// Where the main queue waits for its thread.
class MainQueueGate {
public:
    static MainQueueGate& shared();
    void workCame();
    void setWakeUp(std::function<void()> wakeUp);
    /// Waits until work came or \p deadline; says whether work came.
    bool waitUntil(std::chrono::steady_clock::time_point deadline);
    void drain();

private:
    std::mutex mLock;
    std::condition_variable mCame;
    bool mHasWork = false;
    std::function<void()> mWakeUp;
};
