#pragma once

class ZVCMIODeviceConnectionController;

/// Hears of each connect tick.
class ZVCMIODeviceConnectionControllerDelegate {
public:
    virtual ~ZVCMIODeviceConnectionControllerDelegate() = default;
    /// On the timer queue.
    virtual void deviceConnectionTimerConnect(ZVCMIODeviceConnectionController* /*connection*/) { }
};
