#pragma once

#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSObject.h"

class NSError;
class OSSystemExtensionRequest;

enum OSSystemExtensionReplacementAction : long {
    OSSystemExtensionReplacementActionCancel = 0,
    OSSystemExtensionReplacementActionReplace = 1,
};

enum OSSystemExtensionRequestResult : long {
    /// The extension answers on its socket, or, after a deactivation, is gone with everything that it left.
    OSSystemExtensionRequestCompleted = 0,
    /// It is registered and will start at the next login.
    OSSystemExtensionRequestWillCompleteAfterReboot = 1,
};

/// The codes of errors in OSSystemExtensionErrorDomain.
enum OSSystemExtensionErrorCode : long {
    OSSystemExtensionErrorUnknown = 1,
    OSSystemExtensionErrorExtensionNotFound = 4,
    OSSystemExtensionErrorValidationFailed = 9,
    OSSystemExtensionErrorRequestCanceled = 11,
    OSSystemExtensionErrorRequestSuperseded = 12,
};

inline CFString* const OSSystemExtensionErrorDomain = CFSTR("OSSystemExtensionErrorDomain");

/// An extension that runs or is about to: its identifier and versions.
class OSSystemExtensionProperties : public NSObject {
    NS_OBJECT(OSSystemExtensionProperties)
public:
    OSSystemExtensionProperties(CFString* bundleIdentifier, CFString* bundleVersion);
    CFString* bundleIdentifier() const { return mBundleIdentifier; }
    CFString* bundleVersion() const { return mBundleVersion; }

private:
    const Ref<CFString> mBundleIdentifier;
    const Ref<CFString> mBundleVersion;
};

/// Told, on the request's queue, how a request goes. The last two are the end of a request.
class OSSystemExtensionRequestDelegate {
public:
    virtual ~OSSystemExtensionRequestDelegate() = default;
    /// \return what to do about the extension that runs already
    virtual OSSystemExtensionReplacementAction request_actionForReplacingExtension_withExtension(
        OSSystemExtensionRequest* /*request*/, OSSystemExtensionProperties* /*existing*/,
        OSSystemExtensionProperties* /*replacement*/)
    {
        return OSSystemExtensionReplacementActionReplace;
    }
    virtual void requestNeedsUserApproval(OSSystemExtensionRequest* /*request*/) { }
    virtual void request_didFinishWithResult(
        OSSystemExtensionRequest* /*request*/, OSSystemExtensionRequestResult /*result*/)
    {
    }
    /// \param error  of OSSystemExtensionErrorDomain, with a localized description that says what failed
    virtual void request_didFailWithError(OSSystemExtensionRequest* /*request*/, NSError* /*error*/) { }
};

/// A wish to have an extension run for this user from now on, or not any more. Use one once.
class OSSystemExtensionRequest : public NSObject {
    NS_OBJECT(OSSystemExtensionRequest)
public:
    enum class Kind { Activation, Deactivation };

    OSSystemExtensionRequest(Kind kind, CFString* identifier, dispatch_queue_t queue);
    /// \param identifier  of the extension that stands beside the application
    /// \param queue  where the delegate is called
    static OSSystemExtensionRequest* activationRequestForExtension_queue(CFString* identifier, dispatch_queue_t queue);
    static OSSystemExtensionRequest* deactivationRequestForExtension_queue(
        CFString* identifier, dispatch_queue_t queue);

    /// An object that is an `OSSystemExtensionRequestDelegate`; held weakly. To be set before the request is submitted.
    void setDelegate(NSObject* delegate) { mDelegate = delegate; }
    Ref<NSObject> delegate() const { return mDelegate.strongReference(); }
    CFString* identifier() const { return mIdentifier; }
    Kind kind() const noexcept { return mKind; }
    dispatch_queue_t queue() const { return mQueue; }

private:
    const Kind mKind;
    const Ref<CFString> mIdentifier;
    const Ref<dispatch_queue> mQueue;
    WeakRef<NSObject> mDelegate;
};
