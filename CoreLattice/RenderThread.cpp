#include "CoreLattice/RenderThread.h"

#include "Platform/CoreFoundation/CFType.h"
#include "Platform/dispatch/DispatchThreads.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/OpenGL/GLCompilerMemory.h"
#include "Platform/OpenGL/GLContext.h"

#include <pthread.h>

#include <cstdlib>
#include <future>

namespace CoreLattice {

namespace {

constexpr int mostWorkBeforeIdle = 3;
// The driver compiles when something is drawn for the first time; and who looks through filters compiles one by one.
constexpr std::chrono::seconds compilerStays { 3 };

}

RenderThread& RenderThread::shared()
{
    // Never destroyed, since views outlive static objects; only its thread ends with the process.
    static RenderThread& thread = []() -> RenderThread& {
        static const auto owner = std::make_unique<RenderThread>().release();
        // The graphics driver goes away early while a process exits, so the thread stops before that where the program
        // ends in order.
        DispatchMain::whenThreadsStop([] { owner->stop(); });
        stopAtExit();
        return *owner;
    }();
    return thread;
}

void RenderThread::stopAtExit()
{
    std::atexit([] { shared().stop(); });
}

/// What is set up last is taken down first when the process exits: the driver that came with the context, and the
/// compiler that came with the first filter. So the thread's end is registered again after each.
void RenderThread::stopBeforeTheDriver()
{
    const int parts = !mContext ? 0 : !mCompiled ? 1 : 2;
    if (parts <= mDriverParts)
        return;
    mDriverParts = parts;
    stopAtExit();
}

RenderThread::RenderThread()
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

bool RenderThread::hasContext()
{
    if (mTriedContext)
        return mContext && (!mContext->isLost() || renewContext());
    mTriedContext = true;
    std::string error;
    mContext = GLContext::create(&error);
    if (mContext && !mContext->makeCurrent()) {
        mContext = nullptr;
        error = "the context cannot be made current";
    }
    if (!mContext)
        NSLog(CFSTR("No filter can be rendered: %s"), error.c_str());
    return mContext != nullptr;
}

bool RenderThread::renewContext()
{
    const bool isRenewed = mContext->makeCurrent();
    if (isRenewed || !mToldOfLoss)
        NSLog(CFSTR("The graphics driver lost the context of the filters; %s."),
            isRenewed ? "they start again in a new one" : "they are left out until there is a new one");
    mToldOfLoss = !isRenewed;
    return isRenewed;
}

unsigned RenderThread::contextGeneration() const
{
    return mContext ? mContext->generation() : 0;
}

bool RenderThread::contextIsLost() const
{
    return mContext && mContext->isLost();
}

bool RenderThread::isSoftware()
{
    return hasContext() && mContext->isSoftware();
}

void RenderThread::run()
{
    pthread_setname_np(pthread_self(), "CoreLattice");
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

void RenderThread::compiled()
{
    mCompiled = std::chrono::steady_clock::now();
}

void RenderThread::releaseCompilerWhenUnused()
{
    if (!mCompiled || std::chrono::steady_clock::now() - *mCompiled < compilerStays)
        return;
    mCompiled.reset();
    GLReleaseCompilerMemory();
}

}
