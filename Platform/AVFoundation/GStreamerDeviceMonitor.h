#pragma once

#include "Platform/AVFoundation/HostDeviceChoice.h"
#include "Platform/AVFoundation/PipeWireWatch.h"
#include "Platform/dispatch/dispatch.h"

#include <memory>
#include <mutex>

class CaptureDeviceList;
using GstDeviceProvider = struct _GstDeviceProvider;
using GstDevice = struct _GstDevice;
using GstMessage = struct _GstMessage;

/// Watches the host's cameras and microphones and tells the list of devices what comes and goes.
///
/// GStreamer's providers of devices are asked one by one, because the one for PipeWire notices neither that PipeWire
/// has ended nor that it runs again: it is started anew whenever PipeWire is.
class GStreamerDeviceMonitor : public std::enable_shared_from_this<GStreamerDeviceMonitor> {
public:
    /// \param queue  where providers are started and stopped, which may take its time
    GStreamerDeviceMonitor(CaptureDeviceList& list, Ref<dispatch_queue> queue);
    ~GStreamerDeviceMonitor();
    GStreamerDeviceMonitor(const GStreamerDeviceMonitor&) = delete;
    GStreamerDeviceMonitor& operator=(const GStreamerDeviceMonitor&) = delete;

    /// Returns when the devices that are attached now have been told. Later ones are told on the host's threads.
    void start();

private:
    struct ProviderDeleter {
        void operator()(GstDeviceProvider* provider) const noexcept;
    };
    struct Provider {
        std::unique_ptr<GstDeviceProvider, ProviderDeleter> provider;
        bool isPipeWire = false;
        bool isStarted = false;
    };
    void findProviders();
    void startProvider(Provider& provider);
    void stopProvider(Provider& provider);
    void pipeWireConnectionChanged(bool isConnected);
    void restartPipeWireProvider();
    void handle(GstMessage* message);
    void came(GstDevice* device);
    void went(GstDevice* device);
    void changed(GstDevice* before, GstDevice* after);
    void tellChanges();
    Ref<AVCaptureDevice> makeDevice(GstDevice* device);

    CaptureDeviceList& mList;
    const Ref<dispatch_queue> mQueue;
    std::vector<Provider> mProviders; ///< belongs to the queue, as the next
    bool mIsPipeWireConnected = false;
    std::unique_ptr<PipeWireWatch> mPipeWire;
    std::mutex mLock;
    HostDeviceChoice mChoice;
    bool mIsStarting = true;
};
