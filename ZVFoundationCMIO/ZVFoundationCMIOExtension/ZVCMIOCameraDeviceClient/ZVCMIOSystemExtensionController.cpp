#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOSystemExtensionController.h"

#include "Platform/Foundation/NSError.h"
#include "Platform/SystemExtensions/OSSystemExtensionManager.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOSystemExtensionControllerDelegate.h"

NS_IMPLEMENTATION(ZVCMIOSystemExtensionController, NSObject)
{
    type.outlet("delegate", &ZVCMIOSystemExtensionController::delegate, &ZVCMIOSystemExtensionController::setDelegate);
    type.key("extensionBundleIdentifier", &ZVCMIOSystemExtensionController::extensionBundleIdentifier,
        &ZVCMIOSystemExtensionController::setExtensionBundleIdentifier);
    type.message("delegate", &ZVCMIOSystemExtensionController::delegate);
    type.message("actionInstallExtension:", &ZVCMIOSystemExtensionController::actionInstallExtension);
    type.message("actionRemoveExtension:", &ZVCMIOSystemExtensionController::actionRemoveExtension);
    type.message("request:actionForReplacingExtension:withExtension:",
        &ZVCMIOSystemExtensionController::request_actionForReplacingExtension_withExtension);
    type.message("requestNeedsUserApproval:", &ZVCMIOSystemExtensionController::requestNeedsUserApproval);
    type.message("request:didFinishWithResult:", &ZVCMIOSystemExtensionController::request_didFinishWithResult);
    type.message("request:didFailWithError:", &ZVCMIOSystemExtensionController::request_didFailWithError);
}

void ZVCMIOSystemExtensionController::actionInstallExtension(NSObject* /*sender*/)
{
    if (auto* const identifier = extensionBundleIdentifier())
        submit(OSSystemExtensionRequest::activationRequestForExtension_queue(identifier, dispatch_get_main_queue()));
}

void ZVCMIOSystemExtensionController::actionRemoveExtension(NSObject* /*sender*/)
{
    if (auto* const identifier = extensionBundleIdentifier())
        submit(OSSystemExtensionRequest::deactivationRequestForExtension_queue(identifier, dispatch_get_main_queue()));
}

void ZVCMIOSystemExtensionController::submit(OSSystemExtensionRequest* request)
{
    request->setDelegate(this);
    OSSystemExtensionManager::sharedManager()->submitRequest(request);
}

OSSystemExtensionReplacementAction ZVCMIOSystemExtensionController::request_actionForReplacingExtension_withExtension(
    OSSystemExtensionRequest* /*request*/, OSSystemExtensionProperties* /*existing*/,
    OSSystemExtensionProperties* /*replacement*/)
{
    // Whatever the versions are, up or down.
    return OSSystemExtensionReplacementActionReplace;
}

void ZVCMIOSystemExtensionController::requestNeedsUserApproval(OSSystemExtensionRequest* /*request*/) { }

void ZVCMIOSystemExtensionController::request_didFinishWithResult(
    OSSystemExtensionRequest* /*request*/, OSSystemExtensionRequestResult result)
{
    delegatedRequestStatus(
        autorelease(CFStringCreateWithFormat(CFSTR("Extension %@"), CFNumber::create(static_cast<long>(result)))));
}

void ZVCMIOSystemExtensionController::request_didFailWithError(OSSystemExtensionRequest* /*request*/, NSError* error)
{
    delegatedRequestError(error);
}

void ZVCMIOSystemExtensionController::delegatedRequestStatus(NSString* status)
{
    const auto listener = delegate();
    auto* const told = kindOf<ZVCMIOSystemExtensionControllerDelegate>(listener);
    if (told && listener->respondsToSelector("systemExtension:requestStatus:"))
        told->systemExtension_requestStatus(this, status);
}

void ZVCMIOSystemExtensionController::delegatedRequestError(NSError* error)
{
    const auto listener = delegate();
    auto* const told = kindOf<ZVCMIOSystemExtensionControllerDelegate>(listener);
    if (told && listener->respondsToSelector("systemExtension:requestError:"))
        told->systemExtension_requestError(this, error);
}
