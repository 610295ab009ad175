#include "Platform/CoreServices/FSEvents.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreServices/FolderWatches.h"
#include "Platform/dispatch/DispatchThreads.h"

#include <array>
#include <chrono>
#include <optional>
#include <thread>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

class FolderEventStream final : public FSEventStream {
public:
    FolderEventStream(FSEventStreamCallback callback, std::vector<std::filesystem::path> folders, double latency)
        : mCallback(std::make_shared<const FSEventStreamCallback>(std::move(callback)))
        , mFolders(std::move(folders))
        , mLatency(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(latency)))
    {
    }
    ~FolderEventStream() override
    {
        stop();
        if (mWake >= 0)
            ::close(mWake);
    }

    void setQueue(dispatch_queue_t queue) { mQueue = queue; }

    bool start()
    {
        const std::lock_guard lock(mLock);
        if (mWatches || !mQueue || FAIL_POINT("FSEventStreamStart"))
            return false;
        mWake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        // Made here, so that nothing is missed from now on.
        mWatches.emplace(mFolders);
        if (mWake < 0 || mWatches->descriptor() < 0)
            return false;
        mThread = std::thread([this] { run(); });
        DispatchMain::whenThreadsStop([weakSelf = WeakRef { this }] {
            if (const auto self = weakSelf.strongReference())
                self->stop();
        });
        return true;
    }

    void stop()
    {
        const std::lock_guard lock(mLock);
        if (!mThread.joinable())
            return;
        static_cast<void>(::eventfd_write(mWake, 1));
        mThread.join();
    }

private:
    void run()
    {
        ::pthread_setname_np(::pthread_self(), "FSEvents");
        std::optional<Clock::time_point> tellAt;
        Clock::time_point tellAtLatest;
        for (;;) {
            std::array<pollfd, 2> waiting { pollfd { mWatches->descriptor(), POLLIN, 0 }, pollfd { mWake, POLLIN, 0 } };
            ::poll(waiting.data(), waiting.size(), tellAt ? millisecondsUntil(*tellAt) : -1);
            if (waiting[1].revents)
                return;
            const auto now = Clock::now();
            if (waiting[0].revents && mWatches->takeChanges()) {
                if (!tellAt)
                    tellAtLatest = now + 4 * mLatency;
                tellAt = std::min(now + mLatency, tellAtLatest);
            }
            if (tellAt && now >= *tellAt) {
                tellAt.reset();
                dispatch_async(mQueue, [callback = mCallback] { (*callback)(); });
            }
        }
    }

    static int millisecondsUntil(Clock::time_point moment)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(moment - Clock::now()).count();
        return static_cast<int>(std::clamp<std::int64_t>(left, 0, 60'000));
    }

    const std::shared_ptr<const FSEventStreamCallback> mCallback;
    const std::vector<std::filesystem::path> mFolders;
    const Clock::duration mLatency;
    Ref<dispatch_queue> mQueue;
    std::optional<FolderWatches> mWatches; ///< of the thread, once there is one
    int mWake = -1;
    std::mutex mLock;
    std::thread mThread;
};

}

Ref<FSEventStream> FSEventStreamCreate(FSEventStreamCallback callback, CFArray* pathsToWatch, double latency)
{
    std::vector<std::filesystem::path> folders;
    for (const auto& path : pathsToWatch->values()) {
        if (const auto* const text = kindOf<CFString>(path))
            folders.emplace_back(text->string());
    }
    return make<FolderEventStream>(std::move(callback), std::move(folders), latency);
}

void FSEventStreamSetDispatchQueue(FSEventStreamRef stream, dispatch_queue_t queue)
{
    static_cast<FolderEventStream*>(stream)->setQueue(queue);
}

bool FSEventStreamStart(FSEventStreamRef stream)
{
    return static_cast<FolderEventStream*>(stream)->start();
}

void FSEventStreamStop(FSEventStreamRef stream)
{
    static_cast<FolderEventStream*>(stream)->stop();
}
