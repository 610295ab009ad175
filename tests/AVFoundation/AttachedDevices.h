#pragma once

#include "Platform/AVFoundation/CaptureDeviceList.h"

/// A machine whose devices are those that a test attaches: a base of the fixture, so that it holds before the first
/// member makes a session, which looks for devices, and is over when the last one has gone.
struct AttachedDevices {
    AttachedDevices() { CaptureDeviceList::shared().useHostDevices(false); }
    AttachedDevices(const AttachedDevices&) = delete;
    AttachedDevices& operator=(const AttachedDevices&) = delete;
    ~AttachedDevices() { CaptureDeviceList::shared().removeAll(); }
};
