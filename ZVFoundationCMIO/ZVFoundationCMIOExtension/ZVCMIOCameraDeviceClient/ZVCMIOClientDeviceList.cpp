#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceList.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "WithRequirements/Requirements.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/CMIOObjectProperty.h"

#include <new>

namespace {

const CMIOObjectPropertyAddress listAddress = CMIOObjectPropertyGlobalMaster(kCMIOHardwarePropertyDevices);

std::unique_ptr<CMIODeviceID[]> allocated(std::uint32_t size)
{
    if (FAIL_POINT("ZVCMIOClientDeviceList.malloc"))
        return nullptr;
    return std::unique_ptr<CMIODeviceID[]>(
        new (std::nothrow) CMIODeviceID[(size + sizeof(CMIODeviceID) - 1) / sizeof(CMIODeviceID)]());
}

}

NS_IMPLEMENTATION(ZVCMIOClientDeviceList, NSObject)
{
    type.message("refreshDeviceList", &ZVCMIOClientDeviceList::refreshDeviceList);
    type.message("deleteDeviceList", &ZVCMIOClientDeviceList::deleteDeviceList);
    type.key("deviceCount", &ZVCMIOClientDeviceList::deviceCount);
    type.key("deviceNames", &ZVCMIOClientDeviceList::deviceNames);
    type.key("allDevices", &ZVCMIOClientDeviceList::allDevices);
}

ZVCMIOClientDeviceList::ZVCMIOClientDeviceList()
{
    refreshDeviceList();
}

ZVCMIOClientDeviceList::~ZVCMIOClientDeviceList() = default;

void ZVCMIOClientDeviceList::makeAllDevicesVisible()
{
    const auto opa = CMIOObjectPropertyGlobalMaster(kCMIOHardwarePropertyAllowScreenCaptureDevices);
    const std::uint32_t kAllow = 1;
    OSStatusRequired(CMIOObjectSetPropertyData(kCMIOObjectSystemObject, &opa, 0, nullptr, sizeof kAllow, &kAllow),
        "CMIOObjectSetPropertyData(kCMIOObjectSystemObject, &opa, kZeroValue, ((void*)0), kAllowDataSizeOf, &kAllow)");
}

ZVCMIOClientDeviceList* ZVCMIOClientDeviceList::deviceList()
{
    return autorelease(make<ZVCMIOClientDeviceList>());
}

void ZVCMIOClientDeviceList::deleteDeviceList()
{
    _deviceList = nullptr;
    _deviceListDataSize = 0;
}

void ZVCMIOClientDeviceList::refreshDeviceList()
{
    deleteDeviceList();
    for (;;) {
        std::uint32_t propertyDataSize = 0;
        const OSStatus result
            = CMIOObjectGetPropertyDataSize(kCMIOObjectSystemObject, &listAddress, 0, nullptr, &propertyDataSize);
        if (!OSStatusRequired(result,
                "result = CMIOObjectGetPropertyDataSize(kCMIOObjectSystemObject, &opa, 0, ((void*)0), "
                "&propertyDataSize)")) {
            if (result == kCMIOHardwareBadPropertySizeError)
                continue;
            return;
        }
        _deviceList = nullptr;
        if (propertyDataSize == 0)
            return;
        _deviceList = allocated(propertyDataSize);
        if (!CFRequiredNotCFNull(_deviceList.get(), "_deviceList = malloc(propertyDataSize)"))
            return;
        _deviceListDataSize = 0;
        // The list may have grown since its size was asked; then both are asked again, without a limit.
        if (CMIOObjectGetPropertyData(kCMIOObjectSystemObject, &listAddress, 0, nullptr, propertyDataSize,
                &_deviceListDataSize, _deviceList.get())
            != kCMIOHardwareBadPropertySizeError)
            return;
        _deviceListDataSize = 0;
    }
}

CMIODeviceID ZVCMIOClientDeviceList::deviceIDWithIndex(std::size_t index) const noexcept
{
    return index < deviceCount() ? _deviceList[index] : kCMIOObjectUnknown;
}

std::size_t ZVCMIOClientDeviceList::enumerateDeviceIDsWithBlock(const ZVCMIOClientObjectBlock& block) const
{
    for (std::size_t index = 0; index < deviceCount(); ++index)
        block(index, deviceIDWithIndex(index));
    return deviceCount();
}

NSArray* ZVCMIOClientDeviceList::deviceNames() const
{
    auto names = CFArray::create();
    enumerateDeviceIDsWithBlock([&](std::size_t, CMIODeviceID deviceID) {
        if (auto* const name = ZVCMIOClientDevice::objectWithObjectID(deviceID)->propertyName())
            names->append(name);
    });
    return autorelease(std::move(names));
}

ZVCMIOClientDevice* ZVCMIOClientDeviceList::deviceWithUID(CFType* deviceUID) const
{
    const auto* const string = kindOf<CFString>(deviceUID);
    if (!string)
        return nullptr;
    if (!CFRequired(!string->string().empty(), "deviceUID.length>0"))
        return nullptr;
    const auto normalized = CMIOObjectNormalizedUID(deviceUID);
    for (std::size_t index = 0; index < deviceCount(); ++index) {
        auto* const device
            = kindOf<ZVCMIOClientDevice>(ZVCMIOClientDevice::objectWithObjectID(deviceIDWithIndex(index)));
        if (device && CFEqual(device->deviceUID(), normalized))
            return device;
    }
    return nullptr;
}

NSArray* ZVCMIOClientDeviceList::allDevices() const
{
    auto devices = CFArray::create();
    enumerateDeviceIDsWithBlock(
        [&](std::size_t, CMIODeviceID deviceID) { devices->append(ZVCMIOClientDevice::objectWithObjectID(deviceID)); });
    return autorelease(std::move(devices));
}

std::string ZVCMIOClientDeviceList::description()
{
    const AutoreleasePool pool;
    return allDevices()->description();
}
