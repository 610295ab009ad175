#pragma once

#include "Platform/CoreFoundation/CFString.h"

class NSError;
class ZVCMIOSystemExtensionController;

/// Hears how requests to install or remove the camera extension end. On the main queue.
class ZVCMIOSystemExtensionControllerDelegate {
public:
    virtual ~ZVCMIOSystemExtensionControllerDelegate() = default;
    virtual void systemExtension_requestStatus(ZVCMIOSystemExtensionController* /*extension*/, NSString* /*status*/) { }
    virtual void systemExtension_requestError(ZVCMIOSystemExtensionController* /*extension*/, NSError* /*error*/) { }
};
