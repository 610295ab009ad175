#include "Platform/AVFoundation/AVCaptureSessionGraph.h"

#include "Platform/dispatch/DispatchThreads.h"
#include "Platform/Foundation/NSNotification.h"

#include <algorithm>

namespace {

/// Devices that are being opened or closed, and who waits until none is.
class PendingChanges {
public:
    /// \return what ends the change when it goes
    std::shared_ptr<void> begin()
    {
        const std::lock_guard lock(mLock);
        ++mCount;
        return { this, [this](void*) { end(); } };
    }
    void waitUntilNone(std::chrono::seconds longest)
    {
        std::unique_lock lock(mLock);
        mNone.wait_for(lock, longest, [this] { return mCount == 0; });
    }

private:
    void end()
    {
        const std::lock_guard lock(mLock);
        if (--mCount == 0)
            mNone.notify_all();
    }

    std::mutex mLock;
    std::condition_variable mNone;
    int mCount = 0;
};

/// Of all sessions: a process that ends does so after them.
PendingChanges& changesOfProcess()
{
    static PendingChanges& pending = []() -> PendingChanges& {
        static const auto owner = std::make_unique<PendingChanges>().release(); // the last change may end very late
        // A device that does not let go must not keep the program from ending.
        DispatchMain::whenThreadsStop([] { owner->waitUntilNone(std::chrono::seconds(2)); });
        return *owner;
    }();
    return pending;
}

}

/// Of one graph.
class AVCaptureSessionGraph::Changes : public PendingChanges { };

/// A change of one graph, which is one of the process too.
struct AVCaptureSessionGraph::ChangeOfBoth {
    ChangeOfBoth(std::shared_ptr<Changes> changes, std::shared_ptr<void> graph, std::shared_ptr<void> process)
        : keptChanges(std::move(changes))
        , ofGraph(std::move(graph))
        , ofProcess(std::move(process))
    {
    }
    std::shared_ptr<Changes> keptChanges; ///< goes last
    std::shared_ptr<void> ofGraph;
    std::shared_ptr<void> ofProcess;
};

AVCaptureSessionGraph::AVCaptureSessionGraph()
    : mQueue(dispatch_queue_create("AVCaptureSessionGraph"))
    , mChanges(std::make_shared<Changes>())
{
}

AVCaptureSessionGraph::~AVCaptureSessionGraph() = default;

void AVCaptureSessionGraph::apply(std::vector<Ref<AVCaptureConnection>> connections, CMVideoDimensions preferred)
{
    // The graph lives until its devices are closed, also when the session has gone by then.
    dispatch_async(mQueue,
        [change = changesOfProcess().begin(), self = shared_from_this(), connections = std::move(connections),
            preferred] { self->change(connections, preferred); });
}

void AVCaptureSessionGraph::waitUntilSettled()
{
    dispatch_sync(mQueue, [] {});
    mChanges->waitUntilNone(std::chrono::seconds(40));
    dispatch_sync(mQueue, [] {});
}

void AVCaptureSessionGraph::change(
    const std::vector<Ref<AVCaptureConnection>>& connections, CMVideoDimensions preferred)
{
    assertOnQueue(mQueue);
    std::erase_if(mClosing, [](const CaptureClosing& closing) { return closing.closed->isOpen(); });
    std::erase_if(mBranches, [&](const std::shared_ptr<CaptureBranch>& branch) {
        if (std::ranges::find(connections, branch->connection()) != connections.end() && branch->prefers(preferred))
            return false;
        if (auto closing = branch->end(); closing.closed)
            mClosing.push_back(std::move(closing));
        return true;
    });
    const auto beginChange = [changes = mChanges]() -> std::shared_ptr<void> {
        return std::make_shared<ChangeOfBoth>(changes, changes->begin(), changesOfProcess().begin());
    };
    const auto report = [weakSession = mSession](Ref<NSError> error) {
        dispatch_async(dispatch_get_main_queue(), [weakSession, error = std::move(error)] {
            const auto session = weakSession.strongReference();
            if (!session)
                return;
            const auto userInfo = CFDictionary::create({ { AVCaptureSessionErrorKey, error } });
            NSNotificationCenter::defaultCenter()->postNotificationName_object_userInfo(
                AVCaptureSessionRuntimeErrorNotification, session, userInfo);
        });
    };
    for (const auto& connection : connections) {
        if (std::ranges::find(mBranches, connection, &CaptureBranch::connection) != mBranches.end()
            || !connection->output())
            continue;
        mBranches.push_back(std::make_shared<CaptureBranch>(
            CaptureBranch::Surroundings { mQueue, mDelivering, report, beginChange }, connection, preferred));
        mBranches.back()->begin(mClosing);
    }
}
