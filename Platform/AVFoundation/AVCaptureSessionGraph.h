#pragma once

#include "Platform/AVFoundation/CaptureBranch.h"

/// The open devices of a running session and the roads from them to the outputs.
///
/// Decides on a queue of its own, in the order in which the session asked; that queue never waits for a device.
class AVCaptureSessionGraph : public std::enable_shared_from_this<AVCaptureSessionGraph> {
public:
    AVCaptureSessionGraph();
    ~AVCaptureSessionGraph();

    /// The session that errors are posted about.
    void setSession(AVCaptureSession* session) { mSession = session; }
    /// Lets samples through, or none from now on.
    void setDelivering(bool delivering) { mDelivering->store(delivering); }
    /// Opens the devices of the connections that are new and closes those of the connections that have gone.
    /// \param preferred  the size that cameras are asked for
    void apply(std::vector<Ref<AVCaptureConnection>> connections, CMVideoDimensions preferred);
    /// Returns when the devices are open, or closed, as was asked until now.
    void waitUntilSettled();

private:
    class Changes;
    struct ChangeOfBoth;
    void change(const std::vector<Ref<AVCaptureConnection>>& connections, CMVideoDimensions preferred);

    const Ref<dispatch_queue> mQueue;
    const std::shared_ptr<std::atomic<bool>> mDelivering = std::make_shared<std::atomic<bool>>(false);
    const std::shared_ptr<Changes> mChanges;
    WeakRef<AVCaptureSession> mSession;
    std::vector<std::shared_ptr<CaptureBranch>> mBranches; ///< belongs to the queue, as the next
    std::vector<CaptureClosing> mClosing; ///< of devices that were being closed a while ago
};
