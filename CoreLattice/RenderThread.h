#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace CoreLattice {

/// A thread that works with filters. Work is done in the order in which it came, that of views before that which can
/// wait; each piece has an autorelease pool.
class RenderThread {
public:
    /// The one that draws. Each of the threads is started by the first call, and stopped when the process exits. Work
    /// that has not begun by then never runs.
    static RenderThread& shared();
    /// The one that compiles what a view will show next. The processor is given to what draws first.
    static RenderThread& forNextFilters();
    /// The one that compiles what tiles will show. It comes last of all.
    static RenderThread& forTiles();

    /// \param name  of at most 15 characters
    /// \param niceness  as the host counts it, 0 for none
    RenderThread(const char* name, int niceness);
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

    /// A graphics driver was loaded, on whichever thread: all of them end before it goes while the process exits.
    static void loadedDriver();
    /// A filter was compiled, on whichever thread. What the compiler keeps is given back when no other was for a while.
    static void compiled();

private:
    void run();
    static void stopAllAtExit();
    static void stopBeforeTheDriver();
    static void releaseCompilerWhenUnused();
    static RenderThread& endless(const char* name, int niceness);

    std::mutex mLock;
    std::condition_variable mWake;
    std::deque<std::function<void()>> mWork;
    std::deque<std::function<void()>> mIdleWork;
    int mWorkBeforeIdle = 0;
    bool mStopped = false;
    const char* const mName;
    const int mNiceness;
    std::thread mThread;
};

}
