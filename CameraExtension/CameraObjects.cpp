#include "CameraExtension/CameraObjects.h"

#include "Platform/CoreMediaIO/CMIOHardware.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

#include <algorithm>

namespace {

using CameraWire::Address;
using CameraWire::Format;
using CameraWire::FormatList;
using CameraWire::Object;
using CameraWire::ObjectList;
using CameraWire::Property;
using CameraWire::Value;

Property constant(std::uint32_t selector, Value value, std::uint32_t scope = kCMIOObjectPropertyScopeGlobal)
{
    return { { selector, scope, kCMIOObjectPropertyElementMaster }, false, false, std::move(value) };
}

Format cameraFormat()
{
    return { kCVPixelFormatType_32BGRA,
        static_cast<std::int32_t>(CMIOOutputViewController_CMIOExtension_FrameSize.width),
        static_cast<std::int32_t>(CMIOOutputViewController_CMIOExtension_FrameSize.height) };
}

Object device()
{
    using Camera = CameraObjects;
    return { Camera::kDevice, kCMIODeviceClassID,
        {
            constant(kCMIOObjectPropertyClass, kCMIODeviceClassID),
            constant(kCMIOObjectPropertyName, std::string(Camera::kName)),
            constant(kCMIOObjectPropertyOwnedObjects, ObjectList { { Camera::kSourceStream, Camera::kSinkStream } }),
            constant(kCMIODevicePropertyDeviceUID, CMIOOutputViewController_CMIOExtension_DeviceUUID->string()),
            constant(kCMIODevicePropertyModelUID, CMIOOutputViewController_CMIOExtension_BundleIdentifier->string()),
            constant(kCMIODevicePropertyTransportType, kCMIODeviceTransportTypeVirtual),
            constant(
                kCMIODevicePropertyStreams, ObjectList { { Camera::kSourceStream } }, kCMIODevicePropertyScopeInput),
            constant(
                kCMIODevicePropertyStreams, ObjectList { { Camera::kSinkStream } }, kCMIODevicePropertyScopeOutput),
            constant(kCMIODevicePropertyCanProcessAVCCommand, false),
            constant(kCMIODevicePropertyCanProcessRS422Command, false),
        } };
}

Object stream(std::uint32_t identifier, const char* name, std::uint32_t direction)
{
    return { identifier, kCMIOStreamClassID,
        {
            constant(kCMIOObjectPropertyClass, kCMIOStreamClassID),
            constant(kCMIOObjectPropertyName, std::string(name)),
            constant(kCMIOStreamPropertyDirection, direction),
            constant(kCMIOStreamPropertyFormatDescription, cameraFormat()),
            constant(kCMIOStreamPropertyFormatDescriptions, FormatList { { cameraFormat() } }),
            constant(kCMIOStreamPropertyTerminalType, std::uint32_t { 0 }),
            constant(kCMIOStreamPropertyStartingChannel, std::uint32_t { 1 }),
            constant(
                kCMIOStreamPropertyFrameRate, static_cast<double>(CMIOOutputViewController_CMIOExtension_FrameRate)),
        } };
}

/// "sc=" and the number of consumers: "sc=0" tells the application to stop publishing.
Value consumersText(unsigned consumers)
{
    return "sc=" + std::to_string(consumers);
}

}

CameraObjects::CameraObjects()
{
    mWelcome.bundleIdentifier = CMIOOutputViewController_CMIOExtension_BundleIdentifier->string();
    mWelcome.bundleVersion = TOVRIN_VERSION;
    mWelcome.device = kDevice;
    auto source = stream(kSourceStream, "Tovrin Camera Source", 1);
    source.properties.push_back({ { kZVCMIOClientDeviceStreamingPropertyCode, kCMIOObjectPropertyScopeGlobal,
                                      kCMIOObjectPropertyElementMaster },
        true, true, consumersText(0) });
    mWelcome.objects = { device(), std::move(source), stream(kSinkStream, "Tovrin Camera Sink", 0) };
}

const Property* CameraObjects::find(std::uint32_t object, const Address& address) const
{
    const auto found = std::ranges::find(mWelcome.objects, object, &Object::identifier);
    if (found == mWelcome.objects.end())
        return nullptr;
    const auto property = std::ranges::find(found->properties, address, &Property::address);
    return property == found->properties.end() ? nullptr : &*property;
}

CameraWire::Reply CameraObjects::property(const CameraWire::GetProperty& request, unsigned consumers) const
{
    const auto* const property = find(request.object, request.address);
    if (!property)
        return { kCMIOHardwareUnknownPropertyError, {} };
    return { noErr, property->isLive ? consumersText(consumers) : property->value };
}

CameraWire::Reply CameraObjects::setProperty(const CameraWire::SetProperty& request) const
{
    const auto* const property = find(request.object, request.address);
    if (!property)
        return { kCMIOHardwareUnknownPropertyError, {} };
    if (!property->isSettable || property->value.index() != request.value.index())
        return { kCMIOHardwareIllegalOperationError, {} };
    return { noErr, {} };
}
