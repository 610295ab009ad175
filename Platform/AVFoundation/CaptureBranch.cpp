#include "Platform/AVFoundation/CaptureBranch.h"

#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/Foundation/NSLog.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::int64_t second = 1'000'000'000;
/// How long a device may take to its first sample, and between two later ones, before it counts as stopped.
constexpr std::int64_t openingPatience = 6 * second;
constexpr std::int64_t runningPatience = 4 * second;
constexpr std::int64_t shortestPause = second / 2;
constexpr std::int64_t longestPause = 8 * second;
/// Trouble that is over sooner, or that ends because the device has gone, is not worth a line.
constexpr std::int64_t untilAnnounced = second;
/// After so long without trouble the pauses begin small again.
constexpr std::int64_t untilTrusted = 10 * second;
/// How long a device waits for the one before it to close.
constexpr std::chrono::milliseconds longestClosing { 1000 };
/// Who holds an arrow key down goes through the cameras faster than this; those in between are not opened.
constexpr std::chrono::milliseconds untilSettled { 50 };

/// What a person can do about the error.
const char* adviceFor(const NSError& error, bool isVideo)
{
    switch (error.code()) {
    case AVErrorDeviceInUseByAnotherApplication:
        return "Close the program that uses it, or choose another one.";
    case AVErrorApplicationIsNotAuthorizedToUseDevice:
        return isVideo ? "Let your account use cameras; on most systems that is the group \"video\"."
                       : "Let your account use microphones; on most systems that is the group \"audio\".";
    case AVErrorDeviceNotResponding:
        return "Another program may hold it: close that program, or plug the device in again.";
    default:
        return "Plug it in again, or choose another one.";
    }
}

}

CaptureBranch::CaptureBranch(
    Surroundings surroundings, Ref<AVCaptureConnection> connection, CMVideoDimensions preferred)
    : mSurroundings(std::move(surroundings))
    , mConnection(std::move(connection))
    , mDevice(mConnection->input()->device())
    , mOutput(mConnection->output())
    , mIsVideo(CFEqual(mConnection->mediaType(), AVMediaTypeVideo))
    , mPreferred(preferred)
{
}

CaptureBranch::~CaptureBranch() = default;

void CaptureBranch::begin(std::vector<CaptureClosing> before)
{
    assertOnQueue(mSurroundings.queue);
    mTimer = dispatch_source_create_timer(mSurroundings.queue);
    dispatch_source_set_event_handler(mTimer, [weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock())
            self->timePasses();
    });
    openDevice(std::move(before), false);
    schedule();
    dispatch_resume(mTimer);
}

CaptureClosing CaptureBranch::end()
{
    assertOnQueue(mSurroundings.queue);
    if (mTimer)
        dispatch_source_cancel(mTimer);
    mTimer = nullptr;
    stopStandIn();
    closeDevice();
    mState = State::Ended;
    return mClosing;
}

std::shared_ptr<CaptureAttempt> CaptureBranch::makeAttempt(bool isStandIn)
{
    // The attempt is named by its address, and compared only: a late word about one that was given up is nobody's.
    struct Name {
        std::weak_ptr<CaptureAttempt> attempt;
    };
    const auto name = std::make_shared<Name>();
    const auto post = [weakSelf = weak_from_this(), queue = mSurroundings.queue, name](auto&& what) {
        dispatch_async(queue, [weakSelf, name, what = std::forward<decltype(what)>(what)] {
            const auto self = weakSelf.lock();
            const auto attempt = name->attempt.lock();
            if (self && attempt && !attempt->isGivenUp())
                what(*self, attempt.get());
        });
    };
    std::function<void()> delivers = [] {};
    std::function<void(Ref<NSError>)> failed = [](const Ref<NSError>&) {};
    if (!isStandIn) {
        delivers = [post] {
            post([](CaptureBranch& self, const CaptureAttempt* attempt) { self.deviceDelivers(attempt); });
        };
        failed = [post](Ref<NSError> error) {
            post([error = std::move(error)](
                     CaptureBranch& self, const CaptureAttempt* attempt) { self.deviceFailed(attempt, error); });
        };
    }
    const auto attempt
        = std::make_shared<CaptureAttempt>(CaptureAttempt::Target { mOutput, mPreferred, mSurroundings.delivering },
            std::move(delivers), std::move(failed));
    name->attempt = attempt;
    return attempt;
}

void CaptureBranch::openDevice(std::vector<CaptureClosing> before, bool isRetry)
{
    mState = State::Opening;
    mAttempt = makeAttempt(false);
    const auto pause = before.empty() || isRetry ? std::chrono::milliseconds(0) : untilSettled;
    dispatch_async(mAttempt->queue(),
        [change = mSurroundings.beginChange(), attempt = mAttempt, device = mDevice, before = std::move(before),
            pause] {
            if (auto error = attempt->start(*device, before, pause))
                attempt->sourceFailed(std::move(error));
        });
}

void CaptureBranch::closeDevice()
{
    if (!mAttempt)
        return;
    mAttempt->giveUp();
    mClosing = { mAttempt->closed(), std::chrono::steady_clock::now() + longestClosing };
    auto* const queue = mAttempt->queue();
    dispatch_async(queue, [change = mSurroundings.beginChange(), attempt = std::move(mAttempt)] { attempt->stop(); });
    mAttempt = nullptr;
}

void CaptureBranch::deviceDelivers(const CaptureAttempt* attempt)
{
    if (attempt != mAttempt.get() || mState != State::Opening)
        return;
    mState = State::Running;
    mRunningSince = HostClock::nanoseconds();
    endTrouble();
    schedule();
}

void CaptureBranch::deviceFailed(const CaptureAttempt* attempt, Ref<NSError> error)
{
    if (attempt != mAttempt.get())
        return;
    const auto now = HostClock::nanoseconds();
    const bool wasTrusted = mState == State::Running && now - mRunningSince >= untilTrusted;
    mPause = wasTrusted || mPause == 0 ? shortestPause : std::min(2 * mPause, longestPause);
    mRetryTime = now + mPause;
    closeDevice();
    mState = State::Pausing;
    beginTrouble(std::move(error));
    schedule();
}

void CaptureBranch::beginTrouble(Ref<NSError> error)
{
    mError = std::move(error);
    if (mIsInTrouble)
        return;
    mIsInTrouble = true;
    mIsAnnounced = false;
    mTroubleSince = HostClock::nanoseconds();
    mSurroundings.report(mError);
    startStandIn();
}

void CaptureBranch::announceTrouble()
{
    mIsAnnounced = true;
    if (!mDevice->isConnected())
        return;
    NSLog(CFSTR("%@ cannot be used: %@ %@ It is tried again until it works.\n"), CFString::create(name()),
        mError->localizedDescription(), CFString::create(adviceFor(*mError, mIsVideo)));
}

void CaptureBranch::endTrouble()
{
    if (mIsInTrouble && mIsAnnounced && mDevice->isConnected())
        NSLog(CFSTR("%@ works again.\n"), CFString::create(name()));
    mIsInTrouble = false;
    mError = nullptr;
    stopStandIn();
}

void CaptureBranch::startStandIn()
{
    const auto device = CaptureDeviceList::shared().standIn(mConnection->mediaType());
    if (!device || device == mDevice)
        return;
    mStandIn = makeAttempt(true);
    mStandIn->start(*device, {}, std::chrono::milliseconds(0));
}

void CaptureBranch::stopStandIn()
{
    if (!mStandIn)
        return;
    mStandIn->giveUp();
    mStandIn->stop();
    mStandIn = nullptr;
}

void CaptureBranch::timePasses()
{
    assertOnQueue(mSurroundings.queue);
    const auto now = HostClock::nanoseconds();
    if (mIsInTrouble && !mIsAnnounced && now >= mTroubleSince + untilAnnounced)
        announceTrouble();
    if (mState == State::Pausing && now >= mRetryTime) {
        // One that does not even close is not asked a second time.
        if (mClosing.closed && !mClosing.closed->isOpen())
            mRetryTime = now + mPause;
        else
            openDevice({ mClosing }, true);
    } else if (mAttempt) {
        const bool isOpening = mState == State::Opening;
        const auto patience = isOpening ? openingPatience : runningPatience;
        if (now >= mAttempt->lastArrival() + patience) {
            const auto* const what = mIsVideo ? "It gives no picture." : "It gives no sound.";
            deviceFailed(
                mAttempt.get(), NSError::errorWithMessage(AVFoundationErrorDomain, AVErrorDeviceNotResponding, what));
        }
    }
    schedule();
}

void CaptureBranch::schedule()
{
    if (mTimer)
        dispatch_source_set_timer(mTimer, static_cast<dispatch_time_t>(nextDeadline()), DISPATCH_TIME_FOREVER, 0);
}

std::int64_t CaptureBranch::nextDeadline() const
{
    const auto now = HostClock::nanoseconds();
    std::int64_t result = std::numeric_limits<std::int64_t>::max();
    if (mState == State::Pausing)
        result = mRetryTime;
    else if (mAttempt)
        result = std::max(now + second / 10,
            mAttempt->lastArrival() + (mState == State::Opening ? openingPatience : runningPatience));
    if (mIsInTrouble && !mIsAnnounced)
        result = std::min(result, mTroubleSince + untilAnnounced);
    return result;
}

std::string CaptureBranch::name() const
{
    return "\"" + mDevice->properties().localizedName + "\"";
}
