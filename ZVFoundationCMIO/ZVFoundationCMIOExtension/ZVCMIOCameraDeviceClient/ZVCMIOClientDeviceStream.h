#pragma once

#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientObject.h"

/// One stream of a camera device.
class ZVCMIOClientDeviceStream : public ZVCMIOClientObject {
    NS_OBJECT(ZVCMIOClientDeviceStream)
public:
    /// Null when the stream describes no format.
    Ref<CFArray> copyStreamPropertyFormatDescriptions();
    bool isInputStream();
    /// The same test as `isInputStream`, so it answers true for an input stream; that is meant.
    bool isOutputStream();
    NSString* _describeCMIOObject_useShortDescription(std::size_t depth, bool useShortDescription) override;

private:
    std::string longDescription(CFString* indent);
};
