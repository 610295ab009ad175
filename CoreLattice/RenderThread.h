#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

class GLContext;

namespace CoreLattice {

/// The one thread that renders, with the one context. Work is done in the order in which it came, that of views before
/// that which can wait; each piece has an autorelease pool.
class RenderThread {
public:
    /// Started by the first call, stopped when the process exits. Work that has not begun by then never runs.
    static RenderThread& shared();

    RenderThread();
    ~RenderThread();

    bool isCurrent() const noexcept;
    void async(std::function<void()> work);
    /// Done when nothing else waits, or after a few pieces of work that came before it.
    void asyncWhenIdle(std::function<void()> work);
    /// Does \p work and waits for it; at once on the render thread. Never from within a lock that rendering takes.
    /// \return false when the thread has stopped and \p work was not done
    bool sync(const std::function<void()>& work);
    /// Ends the thread when its present piece of work is done.
    void stop();

    /// Whether there is a context. Render thread only; the first call makes it, and logs the reason when there is none.
    /// One that the driver has lost is replaced, at this call or a later one; there is none until that works.
    bool hasContext();
    /// How many times the context was replaced; what was made before that is gone. Render thread only.
    unsigned contextGeneration() const;
    /// Whether the driver has lost the context and what is rendered now with it. Render thread only.
    bool contextIsLost() const;
    /// Whether the processor does the rendering. Render thread only.
    bool isSoftware();
    /// A filter was compiled. Render thread only; what the compiler keeps is given back when no other was for a while.
    void compiled();

private:
    void run();
    bool renewContext();
    void releaseCompilerWhenUnused();
    static void stopAtExit();
    void stopBeforeTheDriver();

    std::mutex mLock;
    std::condition_variable mWake;
    std::deque<std::function<void()>> mWork;
    std::deque<std::function<void()>> mIdleWork;
    int mWorkBeforeIdle = 0;
    bool mStopped = false;
    bool mTriedContext = false;
    bool mToldOfLoss = false; ///< of one that has not been replaced yet
    std::unique_ptr<GLContext> mContext;
    std::optional<std::chrono::steady_clock::time_point> mCompiled; ///< empty when nothing was since the memory went
    int mDriverParts = 0; ///< that the process has so far, see `stopBeforeTheDriver`
    std::thread mThread;
};

}
