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

bool CaptureLatch::waitFor(std::chrono::milliseconds longest) const
{
    std::unique_lock lock(mLock);
    return mOpened.wait_for(lock, longest, [this] { return mIsOpen; });
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
    , mLastArrival(HostClock::nanoseconds())
{
}

CaptureAttempt::~CaptureAttempt() = default;

Ref<NSError> CaptureAttempt::start(const AVCaptureDevice& device)
{
    std::shared_ptr<CaptureSource> source;
    {
        const std::lock_guard lock(mSourceLock);
        if (mIsGivenUp.load())
            return nullptr;
        source = mSource = device.makeSource(*this);
    }
    return source ? source->start() : nullptr;
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
    std::shared_ptr<CaptureSource> source;
    {
        const std::lock_guard lock(mSourceLock);
        mIsGivenUp.store(true);
        source = mSource;
    }
    if (source)
        source->interrupt();
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
