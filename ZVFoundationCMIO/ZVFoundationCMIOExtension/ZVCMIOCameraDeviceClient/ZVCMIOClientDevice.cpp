#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDevice.h"

#include "WithRequirements/Requirements.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/CMIOObjectProperty.h"

namespace {

/// Only its presence counts.
constexpr CMIOObjectPropertySelector mysteriousProperty = 0x646F7264; // 'dord'

const char* pluralOf(std::size_t count)
{
    return count == 1 ? "" : "s";
}

}

NS_IMPLEMENTATION(ZVCMIOClientDevice, ZVCMIOClientObject)
{
    type.key("deviceUID", &ZVCMIOClientDevice::deviceUID);
    type.key("propertyInputStreams", &ZVCMIOClientDevice::propertyInputStreams);
    type.key("propertyOutputStreams", &ZVCMIOClientDevice::propertyOutputStreams);
    type.key("propertyTransportType", &ZVCMIOClientDevice::propertyTransportType);
}

ZVCMIOClientObject* ZVCMIOClientDevice::objectWithObjectID(CMIOObjectID objectID)
{
    return wrapperWithObjectID(objectID, classObject());
}

ZVCMIOClientObject* ZVCMIOClientDevice::deviceWithID(CMIODeviceID deviceID)
{
    return objectWithObjectID(deviceID);
}

NSString* ZVCMIOClientDevice::deviceUID()
{
    return kindOf<NSString>(
        autorelease(CMIOObjectNormalizedUID(propertyCFStringRefWithSelector(kCMIODevicePropertyDeviceUID))));
}

NSArray* ZVCMIOClientDevice::propertyInputStreams()
{
    const CMIOObjectPropertyAddress opa { kCMIODevicePropertyStreams, kCMIODevicePropertyScopeInput,
        kCMIOObjectPropertyElementMaster };
    return propertyUInt32ArrayWithAddress(&opa);
}

NSArray* ZVCMIOClientDevice::propertyOutputStreams()
{
    const CMIOObjectPropertyAddress opa { kCMIODevicePropertyStreams, kCMIODevicePropertyScopeOutput,
        kCMIOObjectPropertyElementMaster };
    return propertyUInt32ArrayWithAddress(&opa);
}

CMIOStreamID ZVCMIOClientDevice::inputStreamIDWithIndex(std::size_t index)
{
    return NSKeyValueCoding::unbox<CMIOStreamID>(propertyInputStreams()->objectAtIndex(index));
}

std::uint32_t ZVCMIOClientDevice::propertyTransportType()
{
    return propertyUInt32WithSelector(kCMIODevicePropertyTransportType);
}

std::size_t ZVCMIOClientDevice::enumerateStreams_withBlock(
    CMIOObjectPropertyScope scope, const ZVCMIOClientObjectBlock& block)
{
    const CMIOObjectPropertyAddress opa { kCMIODevicePropertyStreams, scope, kCMIOObjectPropertyElementMaster };
    if (!CFRequired(propertyHasAddress(&opa), "[self propertyHasAddress:&opa]"))
        return 0;
    const auto streams = propertyUInt32ArrayWithAddress(&opa)->values();
    for (std::size_t index = 0; index < streams.size(); ++index)
        block(index, NSKeyValueCoding::unbox<CMIOStreamID>(streams[index]));
    return streams.size();
}

std::size_t ZVCMIOClientDevice::enumerateInputStreamsWithBlock(const ZVCMIOClientObjectBlock& block)
{
    return enumerateStreams_withBlock(kCMIODevicePropertyScopeInput, block);
}

std::size_t ZVCMIOClientDevice::enumerateOutputStreamsWithBlock(const ZVCMIOClientObjectBlock& block)
{
    return enumerateStreams_withBlock(kCMIODevicePropertyScopeOutput, block);
}

bool ZVCMIOClientDevice::deviceCanProcessCommandsOfTypeAVC()
{
    return propertyBooleanWithSelector(kCMIODevicePropertyCanProcessAVCCommand);
}

bool ZVCMIOClientDevice::deviceCanProcessCommandsOfTypeRS422()
{
    return propertyBooleanWithSelector(kCMIODevicePropertyCanProcessRS422Command);
}

bool ZVCMIOClientDevice::deviceHas_dord_Property()
{
    return propertyHasSelector(mysteriousProperty);
}

std::size_t ZVCMIOClientDevice::deviceInputStreamCount()
{
    return enumerateInputStreamsWithBlock([](std::size_t, CMIOStreamID) {});
}

std::size_t ZVCMIOClientDevice::deviceOutputStreamCount()
{
    return enumerateOutputStreamsWithBlock([](std::size_t, CMIOStreamID) {});
}

std::string ZVCMIOClientDevice::longDescription(CFString* indent)
{
    std::string text;
    const auto append = [&]<class... A>(const char* format, const A&... arguments) {
        text += CFStringCreateWithFormat(CFSTR(format), indent, arguments...)->string();
    };
    const auto classID = propertyClassID();
    append("%@object ID:%llu class:%@ (%u) \"%@\"\r", object(), propertyClassName(), classID, propertyName());
    if (!CFRequiredIn(
            "_describeCMIOObject_useShortDescription", classID == kCMIODeviceClassID, "classID == kCMIODeviceClassID"))
        return text;
    if (propertyHasSelector(kCMIODevicePropertyTransportType))
        append("%@Device transport type 0x%x\r", propertyTransportType());
    else
        append("%@Device has no transport type property\r");
    append("%@Device %s process AVC commands\r", deviceCanProcessCommandsOfTypeAVC() ? "CAN" : "can't");
    append("%@Device %s process RS422 commands\r", deviceCanProcessCommandsOfTypeRS422() ? "CAN" : "can't");
    if (propertyHasSelector(kCMIODevicePropertyDeviceMaster))
        append("%@Device property %s settable for kCMIODevicePropertyDeviceMaster\r",
            propertyIsSettable(kCMIODevicePropertyDeviceMaster) ? "IS" : "isn't");
    else // the text names another property and has always done so
        append("%@Device has no kCMIODevicePropertyCanProcessRS422Command property\r");
    append("%@Device %s mysterious 'dord' property\r", deviceHas_dord_Property() ? "HAS" : "hasn't");
    const auto inputs = deviceInputStreamCount();
    append("%@Device has %u input stream%s:\r", static_cast<unsigned>(inputs), pluralOf(inputs));
    const auto outputs = deviceOutputStreamCount();
    append("%@Device has %u output stream%s:\r", static_cast<unsigned>(outputs), pluralOf(outputs));
    return text;
}

NSString* ZVCMIOClientDevice::_describeCMIOObject_useShortDescription(std::size_t depth, bool useShortDescription)
{
    std::string text;
    if (!useShortDescription)
        text = longDescription(indentStringDepth(depth));
    text += textOf(ZVCMIOClientObject::_describeCMIOObject_useShortDescription(depth, useShortDescription));
    return autorelease(CFString::create(text));
}

NSString* ZVCMIOClientDevice::describeCMIOObject(bool useShortDescription)
{
    return _describeCMIOObject_useShortDescription(0, useShortDescription);
}

bool ZVCMIOClientDevice::startStreamWithID(CMIOStreamID streamID)
{
    return OSStatusRequired(CMIODeviceStartStream(object(), streamID), "CMIODeviceStartStream(self.object, streamID)");
}

bool ZVCMIOClientDevice::stopStreamWithID(CMIOStreamID streamID)
{
    return OSStatusRequired(CMIODeviceStopStream(object(), streamID), "CMIODeviceStopStream(self.object, streamID)");
}

Ref<CFType> CMIODeviceGetDeviceUID(CMIODeviceID device)
{
    return CMIOObjectGetCFStringRefPropertyGlobalMaster(device, kCMIODevicePropertyDeviceUID);
}
