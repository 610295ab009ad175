#pragma once

#include "Platform/AVFoundation/AVCaptureDevice.h"
#include "Platform/dispatch/dispatch.h"

#include <condition_variable>
#include <mutex>

class GStreamerDeviceMonitor;

/// The devices that are attached now, with the stand-ins for the kinds that have none, and the notifications of those
/// that come and go. One for the process; locks inside.
class CaptureDeviceList {
public:
    /// For `shared`.
    CaptureDeviceList();
    ~CaptureDeviceList();
    CaptureDeviceList(const CaptureDeviceList&) = delete;
    CaptureDeviceList& operator=(const CaptureDeviceList&) = delete;
    static CaptureDeviceList& shared();

    /// Begins to look for the host's devices, on a queue of its own.
    void begin();
    /// The devices of one kind, the stand-in last; waits, two seconds at most, for the host's first answer.
    std::vector<Ref<AVCaptureDevice>> devices(AVMediaType mediaType);
    bool contains(const AVCaptureDevice* device);
    /// What is offered when the machine has no device of the kind; null for other kinds.
    const Ref<AVCaptureDevice>& standIn(AVMediaType mediaType) const;

    /// A device has come or gone; posts the notification unless the host's first answer is still being given.
    void deviceCame(Ref<AVCaptureDevice> device);
    void deviceWent(AVCaptureDevice* device);
    /// The identifier of the system's default microphone, attached or not; empty when it has none.
    void setDefaultMicrophone(const std::string& uniqueID);
    /// \p uniqueID, or with a number behind it when an attached device has it already.
    std::string unusedIdentifier(const std::string& uniqueID);

    /// Whether the host is asked at all. Tests that attach their own devices turn that off before the first use.
    void useHostDevices(bool use);
    /// Takes away what tests have attached.
    void removeAll();

private:
    bool hasReal(AVMediaType mediaType) const;

    std::mutex mLock;
    std::condition_variable mAnswered;
    enum class State { Idle, Asking, Answered } mState = State::Idle;
    bool mUsesHost = true;
    std::vector<Ref<AVCaptureDevice>> mDevices;
    std::string mDefaultMicrophone;
    const Ref<AVCaptureDevice> mTestPicture;
    const Ref<AVCaptureDevice> mSilence;
    Ref<dispatch_queue> mQueue;
    std::shared_ptr<GStreamerDeviceMonitor> mMonitor;
};
