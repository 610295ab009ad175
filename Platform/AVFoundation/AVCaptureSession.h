#pragma once

#include "Platform/AVFoundation/AVCaptureAudioDataOutput.h"
#include "Platform/AVFoundation/AVCaptureDeviceInput.h"
#include "Platform/AVFoundation/AVCaptureVideoDataOutput.h"

using AVCaptureSessionPreset = CFString*;

inline CFString* const AVCaptureSessionPresetHigh = CFSTR("AVCaptureSessionPresetHigh");
inline CFString* const AVCaptureSessionPreset640x480 = CFSTR("AVCaptureSessionPreset640x480");
inline CFString* const AVCaptureSessionPreset1280x720 = CFSTR("AVCaptureSessionPreset1280x720");
inline CFString* const AVCaptureSessionPreset1920x1080 = CFSTR("AVCaptureSessionPreset1920x1080");

/// Posted about the session inside `startRunning` and inside `stopRunning`, on the caller's thread, before they return.
inline CFString* const AVCaptureSessionDidStartRunningNotification
    = CFSTR("AVCaptureSessionDidStartRunningNotification");
inline CFString* const AVCaptureSessionDidStopRunningNotification = CFSTR("AVCaptureSessionDidStopRunningNotification");
/// Posted about the session, on the main queue, when a device fails or goes; `AVCaptureSessionErrorKey` has the error.
inline CFString* const AVCaptureSessionRuntimeErrorNotification = CFSTR("AVCaptureSessionRuntimeErrorNotification");
inline CFString* const AVCaptureSessionErrorKey = CFSTR("AVCaptureSessionErrorKey");

class AVCaptureSessionGraph;

/// Brings the samples of its inputs to its outputs while it runs: one input and one output of each kind at most.
///
/// Devices are opened and closed on queues of their own, so no call here waits for one to open, and one that does not
/// answer holds up no other. One that fails is opened again until it works, with a stand-in meanwhile. Changes inside
/// `beginConfiguration` and `commitConfiguration` take effect together, at the commit that matches the first begin; a
/// commit without a begin only applies what is new. Any thread may use a session.
class AVCaptureSession : public NSObject {
    NS_OBJECT(AVCaptureSession)
public:
    /// Also begins to look for devices, so that the first list of them is soon there.
    AVCaptureSession();
    ~AVCaptureSession() override;

    void beginConfiguration();
    void commitConfiguration();

    /// Fail points "AVCaptureSession.canAddInput", "AVCaptureSession.canAddOutput" and
    /// "AVCaptureSession.canSetSessionPreset" make the three questions answer false.
    bool canAddInput(AVCaptureDeviceInput* input) const;
    /// \throws NSException NSInvalidArgumentException for an input that cannot be added
    void addInput(AVCaptureDeviceInput* input);
    void removeInput(AVCaptureDeviceInput* input);
    bool canAddOutput(AVCaptureOutput* output) const;
    /// \throws NSException NSInvalidArgumentException for an output that cannot be added
    void addOutput(AVCaptureOutput* output);
    void removeOutput(AVCaptureOutput* output);
    /// `AVCaptureDeviceInput`s and `AVCaptureOutput`s, kept by the innermost pool.
    CFArray* inputs() const;
    CFArray* outputs() const;

    /// The preset says which size is asked of the camera.
    bool canSetSessionPreset(AVCaptureSessionPreset preset) const;
    void setSessionPreset(AVCaptureSessionPreset preset);
    AVCaptureSessionPreset sessionPreset() const;

    /// Starts the devices. A device that cannot be opened is told by `AVCaptureSessionRuntimeErrorNotification`; the
    /// rest runs without it.
    void startRunning();
    /// Stops delivering, has the devices closed, and posts its notification before it returns.
    void stopRunning();
    bool isRunning() const;
    /// Returns when the devices are open, or closed, as the last calls asked. For tests.
    void waitUntilSettled() const;

private:
    /// Gives every output the connection that its inputs make possible. With the lock.
    void connect();
    void applyIfNotConfiguring();
    /// With the lock.
    void setDelivering(bool delivers);

    mutable std::mutex mLock;
    int mConfiguring = 0;
    bool mRunning = false;
    Ref<CFString> mPreset { AVCaptureSessionPresetHigh };
    std::vector<Ref<AVCaptureDeviceInput>> mInputs;
    std::vector<Ref<AVCaptureOutput>> mOutputs;
    const std::shared_ptr<AVCaptureSessionGraph> mGraph;
};
