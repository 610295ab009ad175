#include "Platform/CoreMediaIO/CMIOHardware.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreMediaIO/CameraClient.h"

#include <atomic>
#include <cstdio>
#include <cstring>

using namespace CameraWire;

namespace {

constexpr OSStatus badParameter = -50;

/// Written by clients and read back by them.
std::atomic<std::uint32_t> allowScreenCaptureDevices { 0 };

/// The system object's values; nothing for what it has not.
std::optional<std::vector<std::byte>> systemValue(const CMIOObjectPropertyAddress& address)
{
    const auto bytesOf = [](const auto& value) {
        std::vector<std::byte> bytes(sizeof value);
        std::memcpy(bytes.data(), &value, sizeof value);
        return bytes;
    };
    if (address.mScope != kCMIOObjectPropertyScopeGlobal || address.mElement != kCMIOObjectPropertyElementMaster)
        return std::nullopt;
    switch (address.mSelector) {
    case kCMIOObjectPropertyClass:
        return bytesOf(kCMIOSystemObjectClassID);
    case kCMIOObjectPropertyName: {
        CFType* const name = CFSTR("System");
        return bytesOf(name);
    }
    case kCMIOHardwarePropertyAllowScreenCaptureDevices:
        return bytesOf(allowScreenCaptureDevices.load());
    case kCMIOObjectPropertyOwnedObjects:
    case kCMIOHardwarePropertyDevices: {
        const auto extension = CameraClient::shared().extension();
        return extension ? bytesOf(extension.objects->device()) : std::vector<std::byte>();
    }
    default:
        return std::nullopt;
    }
}

/// What is found at an address: the extension it belongs to and the property, or why there is none.
struct Found {
    CameraClient::Extension extension;
    const Object* object = nullptr;
    const Property* property = nullptr;
    OSStatus status = noErr;
};

/// The clock of every stream is the host's, on which presentation times stand; no extension is asked for it. The value
/// stands for the size of a reference.
const Property& hostClock()
{
    static const Property property { { kCMIOStreamPropertyClock, kCMIOObjectPropertyScopeGlobal,
                                         kCMIOObjectPropertyElementMaster },
        false, false, std::string() };
    return property;
}

const Property* propertyOf(const Found& found, CMIOObjectID object, const CMIOObjectPropertyAddress& address)
{
    if (found.object->classID == kCMIOStreamClassID
        && address
            == CMIOObjectPropertyAddress {
                kCMIOStreamPropertyClock, kCMIOObjectPropertyScopeGlobal, kCMIOObjectPropertyElementMaster })
        return &hostClock();
    return found.extension.objects->property(object, address);
}

Found find(CMIOObjectID object, const CMIOObjectPropertyAddress& address)
{
    Found found { CameraClient::shared().extension() };
    found.object = found.extension ? found.extension.objects->object(object) : nullptr;
    found.property = found.object ? propertyOf(found, object, address) : nullptr;
    if (!found.object)
        found.status = kCMIOHardwareBadObjectError;
    else if (!found.property)
        found.status = kCMIOHardwareUnknownPropertyError;
    return found;
}

OSStatus currentValue(const Found& found, Value& value)
{
    value = found.property->value;
    if (!found.property->isLive)
        return noErr;
    Reply reply;
    const auto status = found.extension.connection->ask(
        [&](std::uint32_t serial) {
            return encode(GetProperty { found.object->identifier, found.property->address }, serial);
        },
        &reply);
    if (status != noErr)
        return status;
    // A value of another kind would have another size than the one that was promised.
    if (reply.value.index() != value.index())
        return kCMIOHardwareUnspecifiedError;
    value = std::move(reply.value);
    return noErr;
}

}

bool CMIOObjectHasProperty(CMIOObjectID object, const CMIOObjectPropertyAddress* address)
{
    if (!address || FAIL_POINT("CMIOObjectHasProperty"))
        return false;
    if (object == kCMIOObjectSystemObject)
        return systemValue(*address).has_value();
    return find(object, *address).status == noErr;
}

OSStatus CMIOObjectIsPropertySettable(CMIOObjectID object, const CMIOObjectPropertyAddress* address, bool* isSettable)
{
    if (!address || !isSettable)
        return badParameter;
    *isSettable = false;
    if (const auto status = FAIL_POINT("CMIOObjectIsPropertySettable"))
        return *status;
    if (object == kCMIOObjectSystemObject) {
        *isSettable = address->mSelector == kCMIOHardwarePropertyAllowScreenCaptureDevices;
        return systemValue(*address) ? noErr : kCMIOHardwareUnknownPropertyError;
    }
    const auto found = find(object, *address);
    if (found.status == noErr)
        *isSettable = found.property->isSettable;
    return found.status;
}

OSStatus CMIOObjectGetPropertyDataSize(CMIOObjectID object, const CMIOObjectPropertyAddress* address,
    std::uint32_t /*qualifierDataSize*/, const void* /*qualifierData*/, std::uint32_t* dataSize)
{
    if (!address || !dataSize)
        return badParameter;
    *dataSize = 0;
    if (const auto status = FAIL_POINT("CMIOObjectGetPropertyDataSize"))
        return *status;
    if (object == kCMIOObjectSystemObject) {
        const auto value = systemValue(*address);
        *dataSize = value ? static_cast<std::uint32_t>(value->size()) : 0;
        return value ? noErr : kCMIOHardwareUnknownPropertyError;
    }
    const auto found = find(object, *address);
    if (found.status == noErr)
        *dataSize = static_cast<std::uint32_t>(ExtensionObjects::sizeOf(found.property->value));
    return found.status;
}

OSStatus CMIOObjectGetPropertyData(CMIOObjectID object, const CMIOObjectPropertyAddress* address,
    std::uint32_t /*qualifierDataSize*/, const void* /*qualifierData*/, std::uint32_t dataSize, std::uint32_t* dataUsed,
    void* data)
{
    if (!address || !dataUsed || (!data && dataSize > 0))
        return badParameter;
    *dataUsed = 0;
    if (const auto status = FAIL_POINT("CMIOObjectGetPropertyData"))
        return *status;
    if (object == kCMIOObjectSystemObject) {
        const auto bytes = systemValue(*address);
        if (!bytes)
            return kCMIOHardwareUnknownPropertyError;
        if (bytes->size() > dataSize)
            return kCMIOHardwareBadPropertySizeError;
        if (!bytes->empty())
            std::memcpy(data, bytes->data(), bytes->size());
        *dataUsed = static_cast<std::uint32_t>(bytes->size());
        return noErr;
    }
    const auto found = find(object, *address);
    if (found.status != noErr)
        return found.status;
    Value value;
    if (const auto status = currentValue(found, value); status != noErr)
        return status;
    const auto size = ExtensionObjects::sizeOf(value);
    if (size > dataSize)
        return kCMIOHardwareBadPropertySizeError;
    if (found.property == &hostClock()) {
        CFType* const clock = Ref<CFType>(CMClockGetHostTimeClock()).leak();
        std::memcpy(data, &clock, size);
    } else {
        found.extension.objects->write(value, { static_cast<std::byte*>(data), size });
    }
    *dataUsed = static_cast<std::uint32_t>(size);
    return noErr;
}

OSStatus CMIOObjectSetPropertyData(CMIOObjectID object, const CMIOObjectPropertyAddress* address,
    std::uint32_t /*qualifierDataSize*/, const void* /*qualifierData*/, std::uint32_t dataSize, const void* data)
{
    if (!address || !data)
        return badParameter;
    if (const auto status = FAIL_POINT("CMIOObjectSetPropertyData"))
        return *status;
    const std::span bytes { static_cast<const std::byte*>(data), dataSize };
    if (object == kCMIOObjectSystemObject) {
        if (!systemValue(*address))
            return kCMIOHardwareUnknownPropertyError;
        if (address->mSelector != kCMIOHardwarePropertyAllowScreenCaptureDevices)
            return kCMIOHardwareIllegalOperationError;
        std::uint32_t value = 0;
        if (bytes.size() != sizeof value)
            return kCMIOHardwareBadPropertySizeError;
        std::memcpy(&value, bytes.data(), sizeof value);
        allowScreenCaptureDevices = value;
        return noErr;
    }
    const auto found = find(object, *address);
    if (found.status != noErr)
        return found.status;
    if (!found.property->isSettable)
        return kCMIOHardwareIllegalOperationError;
    if (bytes.size() != ExtensionObjects::sizeOf(found.property->value))
        return kCMIOHardwareBadPropertySizeError;
    const auto value = ExtensionObjects::read(found.property->value, bytes);
    if (!value)
        return kCMIOHardwareIllegalOperationError;
    return found.extension.connection->ask(
        [&](std::uint32_t serial) {
            return encode(SetProperty { found.object->identifier, found.property->address, *value }, serial);
        },
        nullptr);
}

void CMIOObjectShow(CMIOObjectID object)
{
    const auto characters = [](std::uint32_t code) {
        std::string text;
        for (int shift = 24; shift >= 0; shift -= 8)
            text += static_cast<char>(code >> shift & 0xFF);
        return text;
    };
    std::string text = "CMIOObject " + std::to_string(object);
    const auto extension = CameraClient::shared().extension();
    if (object == kCMIOObjectSystemObject) {
        text += " class 'asys'\n";
    } else if (const auto* const shown = extension ? extension.objects->object(object) : nullptr) {
        text += " class '" + characters(shown->classID) + "'\n";
        for (const auto& property : shown->properties)
            text += "    '" + characters(property.address.selector) + "' '" + characters(property.address.scope) + "' "
                + extension.objects->describe(property.value) + "\n";
    } else {
        text += " is not there\n";
    }
    std::fputs(text.c_str(), stderr);
}

OSStatus CMIODeviceStartStream(CMIODeviceID device, CMIOStreamID stream)
{
    if (const auto status = FAIL_POINT("CMIODeviceStartStream"))
        return *status;
    const auto extension = CameraClient::shared().extension();
    if (!extension || device != extension.objects->device())
        return kCMIOHardwareBadDeviceError;
    return CameraClient::shared().setStreamRunning(stream, true);
}

OSStatus CMIODeviceStopStream(CMIODeviceID device, CMIOStreamID stream)
{
    if (const auto status = FAIL_POINT("CMIODeviceStopStream"))
        return *status;
    const auto extension = CameraClient::shared().extension();
    if (!extension || device != extension.objects->device())
        return kCMIOHardwareBadDeviceError;
    return CameraClient::shared().setStreamRunning(stream, false);
}

OSStatus CMIOStreamCopyBufferQueue(CMIOStreamID stream, CMIODeviceStreamQueueAlteredProc queueAlteredProc,
    CFTypeRef queueAlteredRefCon, Ref<CMSimpleQueue>* queue)
{
    if (!queue)
        return badParameter;
    *queue = nullptr;
    if (const auto status = FAIL_POINT("CMIOStreamCopyBufferQueue"))
        return *status;
    return CameraClient::shared().openQueue(stream, queueAlteredProc, queueAlteredRefCon, queue);
}
