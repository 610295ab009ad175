#include "Platform/SystemExtensions/OSSystemExtensions.h"

NS_IMPLEMENTATION(OSSystemExtensionProperties, NSObject)
{
    type.key("bundleIdentifier", &OSSystemExtensionProperties::bundleIdentifier);
    type.key("bundleVersion", &OSSystemExtensionProperties::bundleVersion);
}

OSSystemExtensionProperties::OSSystemExtensionProperties(CFString* bundleIdentifier, CFString* bundleVersion)
    : mBundleIdentifier(bundleIdentifier)
    , mBundleVersion(bundleVersion)
{
}

NS_IMPLEMENTATION(OSSystemExtensionRequest, NSObject)
{
    type.key("identifier", &OSSystemExtensionRequest::identifier);
}

OSSystemExtensionRequest::OSSystemExtensionRequest(Kind kind, CFString* identifier, dispatch_queue_t queue)
    : mKind(kind)
    , mIdentifier(identifier)
    , mQueue(queue)
{
}

OSSystemExtensionRequest* OSSystemExtensionRequest::activationRequestForExtension_queue(
    CFString* identifier, dispatch_queue_t queue)
{
    return autorelease(make<OSSystemExtensionRequest>(Kind::Activation, identifier, queue));
}

OSSystemExtensionRequest* OSSystemExtensionRequest::deactivationRequestForExtension_queue(
    CFString* identifier, dispatch_queue_t queue)
{
    return autorelease(make<OSSystemExtensionRequest>(Kind::Deactivation, identifier, queue));
}
