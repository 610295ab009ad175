#pragma once

#include "Platform/CoreMediaIO/CMIOHardware.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDevice.h"

#include <memory>

/// A snapshot of the system's camera devices. It belongs to the thread that made it; for news, make another.
class ZVCMIOClientDeviceList : public NSObject {
    NS_OBJECT(ZVCMIOClientDeviceList)
public:
    /// Reads the list.
    ZVCMIOClientDeviceList();
    ~ZVCMIOClientDeviceList() override;

    static void makeAllDevicesVisible();
    /// A fresh snapshot, kept by the innermost pool.
    static ZVCMIOClientDeviceList* deviceList();

    void deleteDeviceList();
    void refreshDeviceList();
    std::uint32_t deviceListDataSize() const noexcept { return _deviceListDataSize; }
    void setDeviceListDataSize(std::uint32_t size) noexcept { _deviceListDataSize = size; }
    CMIODeviceID* deviceIDs() const noexcept { return _deviceList.get(); }
    std::size_t deviceCount() const noexcept { return _deviceListDataSize / sizeof(CMIODeviceID); }
    /// \param index  below `deviceCount`; 0 is returned beyond it
    CMIODeviceID deviceIDWithIndex(std::size_t index) const noexcept;
    std::size_t enumerateDeviceIDsWithBlock(const ZVCMIOClientObjectBlock& block) const;
    NSArray* deviceNames() const;
    /// The first device with this UID, hyphens not counted; null when there is none.
    ZVCMIOClientDevice* deviceWithUID(CFType* deviceUID) const;
    NSArray* allDevices() const;
    std::string description() override;

private:
    std::uint32_t _deviceListDataSize = 0;
    std::unique_ptr<CMIODeviceID[]> _deviceList;
};
