#pragma once

#include "Platform/SystemExtensions/OSSystemExtensions.h"

/// Carries requests out, one after the other, on a queue of its own.
///
/// An activated extension is the program of the application's own folder. It runs until it is deactivated, whatever
/// becomes of the application: as a unit of the user's service manager where one answers, and otherwise as a process of
/// its own that is started again at the next activation.
class OSSystemExtensionManager : public NSObject {
    NS_OBJECT(OSSystemExtensionManager)
public:
    static OSSystemExtensionManager* sharedManager();

    /// Takes the request over and returns at once. Any thread.
    void submitRequest(OSSystemExtensionRequest* request);

    OSSystemExtensionManager();

private:
    const Ref<dispatch_queue> mQueue;
};
