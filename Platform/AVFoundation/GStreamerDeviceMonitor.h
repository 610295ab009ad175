#pragma once

#include "Platform/AVFoundation/AVCaptureDevice.h"

#include <map>
#include <mutex>

class CaptureDeviceList;
using GstDeviceMonitor = struct _GstDeviceMonitor;
using GstDevice = struct _GstDevice;
using GstBus = struct _GstBus;
using GstMessage = struct _GstMessage;

/// Watches the host's cameras and microphones and tells the list of devices what comes and goes.
class GStreamerDeviceMonitor {
public:
    explicit GStreamerDeviceMonitor(CaptureDeviceList& list)
        : mList(list)
    {
    }
    ~GStreamerDeviceMonitor();
    GStreamerDeviceMonitor(const GStreamerDeviceMonitor&) = delete;
    GStreamerDeviceMonitor& operator=(const GStreamerDeviceMonitor&) = delete;

    /// Returns when the devices that are attached now have been told. Later ones are told on the host's threads.
    void start();

private:
    void handle(GstMessage* message);
    void came(GstDevice* device);
    void went(GstDevice* device);
    Ref<AVCaptureDevice> makeDevice(GstDevice* device);

    CaptureDeviceList& mList;
    GstDeviceMonitor* mMonitor = nullptr;
    std::mutex mLock;
    std::map<GstDevice*, Ref<AVCaptureDevice>> mDevices;
};
