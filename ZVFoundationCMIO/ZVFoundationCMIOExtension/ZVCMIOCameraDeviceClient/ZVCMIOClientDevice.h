#pragma once

#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientObject.h"

/// One camera device of the list.
class ZVCMIOClientDevice : public ZVCMIOClientObject {
    NS_OBJECT(ZVCMIOClientDevice)
public:
    static ZVCMIOClientObject* objectWithObjectID(CMIOObjectID objectID);
    static ZVCMIOClientObject* deviceWithID(CMIODeviceID deviceID);

    /// Without hyphens.
    NSString* deviceUID();
    NSArray* propertyInputStreams();
    NSArray* propertyOutputStreams();
    CMIOStreamID inputStreamIDWithIndex(std::size_t index);
    std::uint32_t propertyTransportType();
    std::size_t enumerateStreams_withBlock(CMIOObjectPropertyScope scope, const ZVCMIOClientObjectBlock& block);
    std::size_t enumerateInputStreamsWithBlock(const ZVCMIOClientObjectBlock& block);
    std::size_t enumerateOutputStreamsWithBlock(const ZVCMIOClientObjectBlock& block);
    bool deviceCanProcessCommandsOfTypeAVC();
    bool deviceCanProcessCommandsOfTypeRS422();
    bool deviceHas_dord_Property();
    std::size_t deviceInputStreamCount();
    std::size_t deviceOutputStreamCount();
    NSString* _describeCMIOObject_useShortDescription(std::size_t depth, bool useShortDescription) override;
    NSString* describeCMIOObject(bool useShortDescription) override;
    bool startStreamWithID(CMIOStreamID streamID);
    bool stopStreamWithID(CMIOStreamID streamID);

private:
    std::string longDescription(CFString* indent);
};

/// The device's UID as it stands.
Ref<CFType> CMIODeviceGetDeviceUID(CMIODeviceID device);
