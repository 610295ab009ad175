#include "Platform/AVFoundation/CaptureAttempt.h"

#include "Platform/CoreFoundation/HostClock.h"

void CaptureLatch::open()
{
    const std::lock_guard lock(mLock);
    mIsOpen = true;
    mOpened.notify_all();
}

bool CaptureLatch::isOpen() const
{
    const std::lock_guard lock(mLock);
    return mIsOpen;
}

bool CaptureLatch::waitUntil(std::chrono::steady_clock::time_point deadline) const
{
    std::unique_lock lock(mLock);
    return mOpened.wait_until(lock, deadline, [this] { return mIsOpen; });
}

namespace {

/// Sources that were interrupted while they started and have not come back. PipeWire's takes half a minute for that.
class Stragglers {
public:
    static Stragglers& shared()
    {
        static auto* const shared = std::make_unique<Stragglers>().release(); // the last one may come back very late
        return *shared;
    }
    void add(int count)
    {
        const std::lock_guard lock(mLock);
        mCount += count;
        mChanged.notify_all();
    }
    /// Waits while there are so many that the threads for other work could run out.
    void waitUntilFew()
    {
        constexpr int most = 8;
        std::unique_lock lock(mLock);
        mChanged.wait(lock, [this] { return mCount < most; });
    }

private:
    std::mutex mLock;
    std::condition_variable mChanged;
    int mCount = 0;
};

}

namespace {

std::atomic<std::uint64_t> attempts { 0 };

}

CaptureAttempt::CaptureAttempt(Target target, std::function<void()> delivers, std::function<void(Ref<NSError>)> failed)
    : mTarget(std::move(target))
    , mVideoOutput(kindOf<AVCaptureVideoDataOutput>(mTarget.output))
    , mAudioOutput(kindOf<AVCaptureAudioDataOutput>(mTarget.output))
    , mDelivers(std::move(delivers))
    , mFailed(std::move(failed))
    , mNumber(++attempts)
    , mQueue(dispatch_queue_create("CaptureAttempt"))
    , mLastArrival(HostClock::nanoseconds())
{
}

CaptureAttempt::~CaptureAttempt() = default;

Ref<NSError> CaptureAttempt::start(
    const AVCaptureDevice& device, const std::vector<CaptureClosing>& before, std::chrono::milliseconds pause)
{
    if (pause.count() > 0 && mGivenUp.waitUntil(std::chrono::steady_clock::now() + pause))
        return nullptr;
    for (const auto& [closed, deadline] : before)
        closed->waitUntil(deadline);
    Stragglers::shared().waitUntilFew();
    std::shared_ptr<CaptureSource> source;
    {
        const std::lock_guard lock(mSourceLock);
        if (isGivenUp())
            return nullptr;
        source = mSource = device.makeSource(*this);
        mIsStarting = source != nullptr;
    }
    mLastArrival.store(HostClock::nanoseconds(), std::memory_order_relaxed);
    auto error = source ? source->start() : nullptr;
    const std::lock_guard lock(mSourceLock);
    if (!std::exchange(mIsStarting, false) && source)
        Stragglers::shared().add(-1);
    return error;
}

void CaptureAttempt::stop()
{
    std::shared_ptr<CaptureSource> source;
    {
        const std::lock_guard lock(mSourceLock);
        source.swap(mSource);
    }
    if (source)
        source->stop();
    source = nullptr;
    mClosed->open();
}

void CaptureAttempt::giveUp()
{
    const std::lock_guard lock(mSourceLock);
    mGivenUp.open();
    if (!std::exchange(mIsStarting, false))
        return;
    Stragglers::shared().add(1);
    if (mSource->interrupt())
        mClosed->open();
}

CMVideoDimensions CaptureAttempt::requestedDimensions() const
{
    return mVideoOutput ? mVideoOutput->requestedDimensions() : CMVideoDimensions {};
}

bool CaptureAttempt::admitPicture()
{
    noteArrival();
    return mVideoOutput && passes() && mVideoOutput->admitFrame();
}

void CaptureAttempt::pictureCame(Ref<CVPixelBuffer> picture, std::int64_t hostTime, std::int64_t duration)
{
    if (passes())
        mVideoOutput->deliver(std::move(picture), hostTime, duration);
    else
        mVideoOutput->abandonFrame();
}

void CaptureAttempt::pictureFailed()
{
    mVideoOutput->abandonFrame();
}

void CaptureAttempt::soundCame(std::vector<std::byte> samples, std::int64_t hostTime)
{
    noteArrival();
    if (mAudioOutput && passes())
        mAudioOutput->deliver(mNumber, samples, hostTime);
}

void CaptureAttempt::sourceFailed(Ref<NSError> error)
{
    if (!isGivenUp())
        mFailed(std::move(error));
}

void CaptureAttempt::noteArrival()
{
    mLastArrival.store(HostClock::nanoseconds(), std::memory_order_relaxed);
    if (!mHasDelivered.exchange(true) && !isGivenUp())
        mDelivers();
}
