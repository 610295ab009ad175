#include "CoreLattice/RenderThread.h"

#include "Platform/CoreFoundation/CFType.h"
#include "Platform/dispatch/DispatchThreads.h"
#include "Platform/OpenGL/GLCompilerMemory.h"

#include <pthread.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <vector>

namespace CoreLattice {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int mostWorkBeforeIdle = 3;
// The driver compiles when something is drawn for the first time; and who looks through filters compiles one by one.
constexpr std::chrono::seconds compilerStays { 3 };
// Someone waits for the next filter, while the former one goes on; a tile has time.
constexpr int nicenessOfNextFilters = 4;
constexpr int nicenessOfTiles = 12;

// Plain enough to be read while static objects are taken down.
std::mutex& threadsLock()
{
    static auto& lock = *std::make_unique<std::mutex>().release();
    return lock;
}

std::vector<RenderThread*>& threads()
{
    static auto& all = *std::make_unique<std::vector<RenderThread*>>().release();
    return all;
}

std::atomic<int> sDriverParts { 0 }; ///< that the process has, see `stopBeforeTheDriver`
std::atomic<int> sDriverPartsSeen { 0 };
std::atomic<Clock::rep> sCompiled { 0 }; ///< when; 0 when nothing was since the memory went

void raise(std::atomic<int>& number, int least)
{
    int present = number;
    while (present < least && !number.compare_exchange_weak(present, least)) { }
}

}

/// Never destroyed, since views outlive static objects; only the threads end with the process.
RenderThread& RenderThread::endless(const char* name, int niceness)
{
    auto* const thread = std::make_unique<RenderThread>(name, niceness).release();
    {
        const std::lock_guard lock(threadsLock());
        threads().push_back(thread);
    }
    // The graphics driver goes away early while a process exits, so the thread stops before that where the program ends
    // in order.
    DispatchMain::whenThreadsStop([thread] { thread->stop(); });
    stopAllAtExit();
    return *thread;
}

RenderThread& RenderThread::shared()
{
    static RenderThread& thread = endless("CoreLattice", 0);
    return thread;
}

RenderThread& RenderThread::forNextFilters()
{
    static RenderThread& thread = endless("CoreLattice.nxt", nicenessOfNextFilters);
    return thread;
}

RenderThread& RenderThread::forTiles()
{
    static RenderThread& thread = endless("CoreLattice.til", nicenessOfTiles);
    return thread;
}

void RenderThread::stopAllAtExit()
{
    std::atexit([] {
        std::vector<RenderThread*> all;
        {
            const std::lock_guard lock(threadsLock());
            all = threads();
        }
        for (auto* const thread : all)
            thread->stop();
    });
}

/// What is set up last is taken down first when the process exits: the driver that came with the context, and the
/// compiler that came with the first filter. So the threads' end is registered again after each.
void RenderThread::stopBeforeTheDriver()
{
    const int parts = sDriverParts;
    if (sDriverPartsSeen.exchange(parts) < parts)
        stopAllAtExit();
}

void RenderThread::loadedDriver()
{
    raise(sDriverParts, 1);
}

void RenderThread::compiled()
{
    raise(sDriverParts, 2);
    sCompiled = Clock::now().time_since_epoch().count();
}

RenderThread::RenderThread(const char* name, int niceness)
    : mName(name)
    , mNiceness(niceness)
{
    // The software driver shall draw on this thread instead of spreading each picture over threads of its own, which
    // costs more processor time; so the thread's time is also what a picture costs. Set before the thread that reads it
    // starts.
    setenv("LP_NUM_THREADS", "0", 0);
    mThread = std::thread([this] { run(); });
}

RenderThread::~RenderThread()
{
    stop();
}

bool RenderThread::isCurrent() const noexcept
{
    return std::this_thread::get_id() == mThread.get_id();
}

void RenderThread::async(std::function<void()> work)
{
    const std::lock_guard lock(mLock);
    mWork.push_back(std::move(work));
    mWake.notify_one();
}

void RenderThread::asyncWhenIdle(std::function<void()> work)
{
    const std::lock_guard lock(mLock);
    mIdleWork.push_back(std::move(work));
    mWake.notify_one();
}

bool RenderThread::sync(const std::function<void()>& work)
{
    if (isCurrent()) {
        work();
        return true;
    }
    // The promise is broken, and the wait over, when the thread stops and drops the closure.
    auto done = std::make_shared<std::promise<void>>();
    auto finished = done->get_future();
    {
        const std::lock_guard lock(mLock);
        if (mStopped)
            return false;
        mWork.push_back([done = std::move(done), &work] {
            work();
            done->set_value();
        });
        mWake.notify_one();
    }
    try {
        finished.get();
    } catch (const std::future_error&) {
        return false;
    }
    return true;
}

void RenderThread::stop()
{
    {
        const std::lock_guard lock(mLock);
        mStopped = true;
        mWake.notify_one();
    }
    if (mThread.joinable() && !isCurrent())
        mThread.join();
    std::deque<std::function<void()>> dropped;
    {
        const std::lock_guard lock(mLock);
        dropped.swap(mWork);
    }
}

void RenderThread::run()
{
    pthread_setname_np(pthread_self(), mName);
    // Of this thread alone on this host.
    static_cast<void>(::setpriority(PRIO_PROCESS, 0, mNiceness));
    for (;;) {
        std::function<void()> work;
        {
            std::unique_lock lock(mLock);
            mWake.wait(lock, [this] { return mStopped || !mWork.empty() || !mIdleWork.empty(); });
            if (mStopped)
                return;
            // On a machine so busy that there is always something to do, what can wait gets a turn now and then.
            const bool idleTurn = !mIdleWork.empty() && (mWork.empty() || mWorkBeforeIdle >= mostWorkBeforeIdle);
            mWorkBeforeIdle = idleTurn ? 0 : mWorkBeforeIdle + 1;
            auto& queue = idleTurn ? mIdleWork : mWork;
            work = std::move(queue.front());
            queue.pop_front();
        }
        const AutoreleasePool pool;
        work();
        stopBeforeTheDriver();
        releaseCompilerWhenUnused();
    }
}

void RenderThread::releaseCompilerWhenUnused()
{
    auto compiled = sCompiled.load();
    if (compiled == 0 || Clock::now().time_since_epoch() - Clock::duration(compiled) < compilerStays)
        return;
    if (sCompiled.compare_exchange_strong(compiled, 0))
        GLReleaseCompilerMemory();
}

}
