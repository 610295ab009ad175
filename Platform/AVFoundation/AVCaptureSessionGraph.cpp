#include "Platform/AVFoundation/AVCaptureSessionGraph.h"

#include "Platform/dispatch/DispatchThreads.h"
#include "Platform/Foundation/NSNotification.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

/// One open device and the output that its samples go to.
class AVCaptureSessionGraph::Branch final : public CaptureSink {
public:
    Branch(const AVCaptureSessionGraph& graph, Ref<AVCaptureConnection> connection, CMVideoDimensions preferred)
        : mGraph(graph)
        , mConnection(std::move(connection))
        , mOutput(mConnection->output())
        , mVideoOutput(kindOf<AVCaptureVideoDataOutput>(mOutput))
        , mAudioOutput(kindOf<AVCaptureAudioDataOutput>(mOutput))
        , mPreferred(preferred)
    {
    }
    ~Branch() override { close(); }

    const Ref<AVCaptureConnection>& connection() const { return mConnection; }
    bool prefers(CMVideoDimensions dimensions) const { return mAudioOutput || mPreferred == dimensions; }

    void open()
    {
        mSource = mConnection->input()->device()->makeSource(*this);
        if (!mSource)
            return;
        if (auto error = mSource->start()) {
            close();
            mGraph.report(std::move(error));
        }
    }
    void close()
    {
        if (mSource)
            mSource->stop();
        mSource = nullptr;
    }

    CMVideoDimensions requestedDimensions() const override
    {
        return mVideoOutput ? mVideoOutput->requestedDimensions() : CMVideoDimensions {};
    }
    CMVideoDimensions preferredDimensions() const override { return mPreferred; }
    bool admitPicture() override { return mVideoOutput && mGraph.isDelivering() && mVideoOutput->admitFrame(); }
    void pictureCame(Ref<CVPixelBuffer> picture, std::int64_t hostTime, std::int64_t duration) override
    {
        if (mGraph.isDelivering())
            mVideoOutput->deliver(std::move(picture), hostTime, duration);
        else
            mVideoOutput->abandonFrame();
    }
    void pictureFailed() override { mVideoOutput->abandonFrame(); }
    void soundCame(std::vector<std::byte> samples, std::int64_t hostTime) override
    {
        if (mAudioOutput && mGraph.isDelivering())
            mAudioOutput->deliver(std::move(samples), hostTime);
    }
    void sourceFailed(Ref<NSError> error) override { mGraph.report(std::move(error)); }

private:
    const AVCaptureSessionGraph& mGraph;
    const Ref<AVCaptureConnection> mConnection;
    const Ref<AVCaptureOutput> mOutput;
    AVCaptureVideoDataOutput* const mVideoOutput;
    AVCaptureAudioDataOutput* const mAudioOutput;
    const CMVideoDimensions mPreferred;
    std::unique_ptr<CaptureSource> mSource;
};

namespace {

/// The devices that are being opened or closed, so that a process that ends does so after them.
class PendingChanges {
public:
    static PendingChanges& shared()
    {
        static PendingChanges& pending = []() -> PendingChanges& {
            static const auto owner = std::make_unique<PendingChanges>().release(); // the last change may end very late
            DispatchMain::whenThreadsStop([] { owner->waitUntilNone(); });
            return *owner;
        }();
        return pending;
    }

    /// \return what ends the change when it goes
    std::shared_ptr<void> begin()
    {
        const std::lock_guard lock(mLock);
        ++mCount;
        return { this, [this](void*) { end(); } };
    }

private:
    void end()
    {
        const std::lock_guard lock(mLock);
        if (--mCount == 0)
            mNone.notify_all();
    }
    void waitUntilNone()
    {
        // A device that does not let go must not keep the program from ending.
        constexpr std::chrono::seconds longest { 2 };
        std::unique_lock lock(mLock);
        mNone.wait_for(lock, longest, [this] { return mCount == 0; });
    }

    std::mutex mLock;
    std::condition_variable mNone;
    int mCount = 0;
};

}

AVCaptureSessionGraph::AVCaptureSessionGraph()
    : mQueue(dispatch_queue_create("AVCaptureSessionGraph"))
{
}

AVCaptureSessionGraph::~AVCaptureSessionGraph() = default;

void AVCaptureSessionGraph::apply(std::vector<Ref<AVCaptureConnection>> connections, CMVideoDimensions preferred)
{
    // The graph lives until its devices are closed, also when the session has gone by then.
    dispatch_async(mQueue,
        [change = PendingChanges::shared().begin(), self = shared_from_this(), connections = std::move(connections),
            preferred] { self->open(connections, preferred); });
}

void AVCaptureSessionGraph::waitUntilSettled()
{
    dispatch_sync(mQueue, [] {});
}

void AVCaptureSessionGraph::open(const std::vector<Ref<AVCaptureConnection>>& connections, CMVideoDimensions preferred)
{
    assertOnQueue(mQueue);
    std::erase_if(mBranches, [&](const std::unique_ptr<Branch>& branch) {
        return std::ranges::find(connections, branch->connection()) == connections.end() || !branch->prefers(preferred);
    });
    for (const auto& connection : connections) {
        if (std::ranges::find(mBranches, connection, &Branch::connection) != mBranches.end() || !connection->output())
            continue;
        mBranches.push_back(std::make_unique<Branch>(*this, connection, preferred));
        mBranches.back()->open();
    }
}

void AVCaptureSessionGraph::report(Ref<NSError> error) const
{
    dispatch_async(dispatch_get_main_queue(), [weakSession = mSession, error = std::move(error)] {
        const auto session = weakSession.strongReference();
        if (!session)
            return;
        const auto userInfo = CFDictionary::create({ { AVCaptureSessionErrorKey, error } });
        NSNotificationCenter::defaultCenter()->postNotificationName_object_userInfo(
            AVCaptureSessionRuntimeErrorNotification, session, userInfo);
    });
}
