#include "Platform/CoreMediaIO/SinkQueue.h"

namespace {

/// More than a client that waits for its buffers ever has on their way.
constexpr std::int32_t queueCapacity = 8;
constexpr std::int32_t nanosecondsTimescale = 1'000'000'000;

std::int64_t nanosecondsOf(const CMTime& time)
{
    if (time.timescale == nanosecondsTimescale)
        return time.value;
    return static_cast<std::int64_t>(CMTimeGetSeconds(time) * nanosecondsTimescale);
}

}

SinkQueue::SinkQueue(std::shared_ptr<ExtensionConnection> connection, Post post, CMIOStreamID stream,
    std::uint32_t wireStream, std::uint32_t generation, CMIODeviceStreamQueueAlteredProc altered,
    CFTypeRef alteredRefCon)
    : mConnection(std::move(connection))
    , mPost(std::move(post))
    , mStream(stream)
    , mWireStream(wireStream)
    , mGeneration(generation)
    , mAltered(altered)
    , mHasRefCon(alteredRefCon != nullptr)
    , mRefCon(alteredRefCon)
{
}

Ref<CMSimpleQueue> SinkQueue::createQueue()
{
    Ref<CMSimpleQueue> queue;
    if (CMSimpleQueueCreate(kCFAllocatorDefault, queueCapacity, &queue) != noErr)
        return nullptr;
    queue->setEnqueueHandler(
        [self = shared_from_this()](CMSimpleQueue& changed, CFType* element) { self->added(changed, element); });
    const std::lock_guard guard(mLock);
    mQueue = queue;
    return queue;
}

void SinkQueue::added(CMSimpleQueue& queue, CFType* element)
{
    const std::lock_guard guard(mLock);
    if (mQueue.get() != &queue) {
        mPost([self = shared_from_this(), late = Ref<CMSimpleQueue>(&queue)] { self->giveBackAll(*late); });
        return;
    }
    mWaiting.push_back(element);
    if (mIsStarted)
        sendWaiting();
}

void SinkQueue::start()
{
    const std::lock_guard guard(mLock);
    mIsStarted = true;
    sendWaiting();
}

void SinkQueue::stop()
{
    const std::lock_guard guard(mLock);
    mIsStarted = false;
}

/// With the lock held.
void SinkQueue::sendWaiting()
{
    bool isAllSent = true;
    for (auto* const element : mWaiting) {
        const bool isSent = sendElement(element, ++mLastToken);
        mInFlight.push_back({ mLastToken, isSent });
        isAllSent = isAllSent && isSent;
    }
    mWaiting.clear();
    if (!isAllSent)
        mPost([self = shared_from_this()] { self->consumed(0); });
}

/// \return false for a buffer that cannot be shown; it goes back once those before it have
bool SinkQueue::sendElement(CFType* element, std::uint64_t token)
{
    auto* const sample = kindOf<CMSampleBuffer>(element);
    auto* const surface = sample ? CVPixelBufferGetIOSurface(sample->imageBuffer()) : nullptr;
    if (!surface || surface->pixelFormat() != kCVPixelFormatType_32BGRA
        || !CMTIME_IS_VALID(sample->timing().presentationTimeStamp))
        return false;
    if (mConnection->sendFrame(
            { mWireStream, mGeneration, token, 0, nanosecondsOf(sample->timing().presentationTimeStamp) }, *surface))
        return true;
    // The reading thread sees the end of the connection and closes this queue.
    mConnection->close();
    return true;
}

/// Buffers come back in the order in which they went; with them go those behind them that could not be sent.
void SinkQueue::consumed(std::uint64_t token)
{
    std::size_t count = 0;
    Ref<CMSimpleQueue> queue;
    {
        const std::lock_guard guard(mLock);
        queue = mQueue;
        while (!mInFlight.empty() && (!mInFlight.front().isSent || mInFlight.front().token <= token)) {
            mInFlight.pop_front();
            ++count;
        }
    }
    for (; queue && count > 0; --count)
        giveBack(*queue);
}

void SinkQueue::close()
{
    const std::lock_guard guard(mLock);
    if (!mQueue)
        return;
    mInFlight.clear();
    mWaiting.clear();
    mPost([self = shared_from_this(), queue = std::exchange(mQueue, nullptr)] { self->giveBackAll(*queue); });
}

void SinkQueue::giveBackAll(CMSimpleQueue& queue)
{
    while (CMSimpleQueueGetCount(&queue) > 0)
        giveBack(queue);
}

void SinkQueue::giveBack(CMSimpleQueue& queue)
{
    const auto element = Ref<CFType>::adopt(CMSimpleQueueDequeue(&queue));
    const auto refCon = mRefCon.strongReference();
    if (element && mAltered && (refCon || !mHasRefCon))
        mAltered(mStream, element, refCon);
}
