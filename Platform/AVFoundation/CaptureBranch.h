#pragma once

#include "Platform/AVFoundation/AVCaptureSession.h"
#include "Platform/AVFoundation/CaptureAttempt.h"

/// The road from one device of a running session to its output, kept open for as long as the session wants it.
///
/// A device that cannot be opened, fails, or brings nothing for a while is opened again, after pauses that grow from
/// half a second to eight. Until it delivers again, what stands in for its kind delivers in its place: the test
/// picture, or silence. Trouble that lasts is told in one line, and so is its end.
///
/// Everything that decides belongs to one queue, the session's, and never waits. Opening and closing run elsewhere,
/// where they may take their time.
class CaptureBranch : public std::enable_shared_from_this<CaptureBranch> {
public:
    struct Surroundings {
        Ref<dispatch_queue> queue; ///< the one that decides
        std::shared_ptr<const std::atomic<bool>> delivering; ///< whether the session lets samples through
        std::function<void(Ref<NSError>)> report; ///< told once for each time of trouble
        std::function<std::shared_ptr<void>()> beginChange; ///< what is returned goes when a device is open, or closed
    };
    CaptureBranch(Surroundings surroundings, Ref<AVCaptureConnection> connection, CMVideoDimensions preferred);
    ~CaptureBranch();

    const Ref<AVCaptureConnection>& connection() const { return mConnection; }
    bool prefers(CMVideoDimensions dimensions) const { return !mIsVideo || mPreferred == dimensions; }

    /// Begins to open the device, once those of \p before are closed or have taken too long for that: two cameras at
    /// one port may not have room to run together, and one may be the same.
    void begin(std::vector<CaptureClosing> before);
    /// Brings nothing more and closes the device; \return its closing
    CaptureClosing end();

private:
    enum class State { Opening, Running, Pausing, Ended };

    // On the queue:
    void openDevice(std::vector<CaptureClosing> before, bool isRetry);
    std::shared_ptr<CaptureAttempt> makeAttempt(bool isStandIn);
    void deviceDelivers(const CaptureAttempt* attempt);
    void deviceFailed(const CaptureAttempt* attempt, Ref<NSError> error);
    void closeDevice();
    void beginTrouble(Ref<NSError> error);
    void announceTrouble();
    void endTrouble();
    void startStandIn();
    void stopStandIn();
    void timePasses();
    void schedule();
    std::int64_t nextDeadline() const;
    std::string name() const;

    const Surroundings mSurroundings;
    const Ref<AVCaptureConnection> mConnection;
    const Ref<AVCaptureDevice> mDevice;
    const Ref<AVCaptureOutput> mOutput;
    const bool mIsVideo;
    const CMVideoDimensions mPreferred;

    State mState = State::Opening;
    std::shared_ptr<CaptureAttempt> mAttempt; ///< the device, while it is open or being opened
    std::shared_ptr<CaptureAttempt> mStandIn; ///< while the device is in trouble
    CaptureClosing mClosing; ///< of the last attempt that was given up, once there was one
    Ref<dispatch_source> mTimer;
    std::int64_t mRetryTime = 0;
    std::int64_t mPause = 0;
    std::int64_t mRunningSince = 0;
    bool mIsInTrouble = false;
    bool mIsAnnounced = false;
    std::int64_t mTroubleSince = 0;
    Ref<NSError> mError;
};
