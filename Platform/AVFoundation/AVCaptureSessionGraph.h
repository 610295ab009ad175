#pragma once

#include "Platform/AVFoundation/AVCaptureSession.h"
#include "Platform/AVFoundation/CaptureSource.h"

#include <atomic>

/// The open devices of a running session and the roads from them to the outputs.
///
/// Opens and closes devices on a queue of its own, in the order in which the session asked.
class AVCaptureSessionGraph : public std::enable_shared_from_this<AVCaptureSessionGraph> {
public:
    AVCaptureSessionGraph();
    ~AVCaptureSessionGraph();

    /// The session that errors are posted about.
    void setSession(AVCaptureSession* session) { mSession = session; }
    /// Lets samples through, or none from now on.
    void setDelivering(bool delivering) { mDelivering.store(delivering); }
    bool isDelivering() const { return mDelivering.load(); }
    /// Opens the devices of the connections that are new and closes those of the connections that have gone.
    /// \param preferred  the size that cameras are asked for
    void apply(std::vector<Ref<AVCaptureConnection>> connections, CMVideoDimensions preferred);
    void waitUntilSettled();

private:
    class Branch;
    void open(const std::vector<Ref<AVCaptureConnection>>& connections, CMVideoDimensions preferred);
    void report(Ref<NSError> error) const;

    const Ref<dispatch_queue> mQueue;
    WeakRef<AVCaptureSession> mSession;
    std::atomic<bool> mDelivering { false };
    std::vector<std::unique_ptr<Branch>> mBranches; ///< belongs to the queue
};
