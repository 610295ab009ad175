#pragma once

#include "Platform/Foundation/NSObject.h"
#include "Platform/SystemExtensions/OSSystemExtensions.h"

/// Installs and removes the camera extension when the user asks for it. Keeps nothing of a request; each ends in a
/// status or an error for the delegate.
class ZVCMIOSystemExtensionController : public NSObject, public OSSystemExtensionRequestDelegate {
    NS_OBJECT(ZVCMIOSystemExtensionController)
public:
    Ref<NSObject> delegate() const { return _delegate.strongReference(); }
    void setDelegate(NSObject* delegate) { _delegate = delegate; }

    NSString* extensionBundleIdentifier() const { return extensionBundleID(); }
    void setExtensionBundleIdentifier(NSString* identifier) { setExtensionBundleID(identifier); }
    NSString* extensionBundleID() const { return _extensionBundleID; }
    void setExtensionBundleID(NSString* identifier) { _extensionBundleID = identifier; }

    void actionInstallExtension(NSObject* sender);
    void actionRemoveExtension(NSObject* sender);

    OSSystemExtensionReplacementAction request_actionForReplacingExtension_withExtension(
        OSSystemExtensionRequest* request, OSSystemExtensionProperties* existing,
        OSSystemExtensionProperties* replacement) override;
    void requestNeedsUserApproval(OSSystemExtensionRequest* request) override;
    void request_didFinishWithResult(OSSystemExtensionRequest* request, OSSystemExtensionRequestResult result) override;
    void request_didFailWithError(OSSystemExtensionRequest* request, NSError* error) override;

    void delegatedRequestStatus(NSString* status);
    void delegatedRequestError(NSError* error);

private:
    void submit(OSSystemExtensionRequest* request);

    WeakRef<NSObject> _delegate;
    Ref<NSString> _extensionBundleID;
};
