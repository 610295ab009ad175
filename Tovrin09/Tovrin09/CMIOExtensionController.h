#pragma once

#include "Platform/AppKit/NSWindowController.h"
#include "Platform/Foundation/NSNotification.h"
#include "Tovrin09/Tovrin09/CMIOOutputViewController.h"
#include "Tovrin09/Tovrin09/ZVCMIOOutputSurfaceRenderer.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOSystemExtensionController.h"

/// Owns the output window, which shows what goes to the virtual camera, and hands the steps of the launch on to it.
class CMIOExtensionController : public NSWindowController {
    NS_OBJECT(CMIOExtensionController)
public:
    CMIOExtensionController() = default;
    using NSWindowController::NSWindowController;

    Ref<CMIOOutputViewController> outputViewController() const { return outletViewController.strongReference(); }
    Ref<ZVCMIOOutputSurfaceRenderer> outputSurfaceRenderer() const { return outletSurfaceRenderer.strongReference(); }

    Ref<CFString> windowNibName() override;
    void windowDidLoad() override;
    void applicationWillFinishLaunching(NSNotification* notification);
    void applicationDidFinishLaunching(NSNotification* notification);
    void applicationWillTerminate(NSNotification* notification);

    WeakRef<CMIOOutputViewController> outletViewController;
    WeakRef<ZVCMIOSystemExtensionController> outletExtensionController;
    /// Nothing uses it but who asks for it.
    WeakRef<ZVCMIOOutputSurfaceRenderer> outletSurfaceRenderer;
};
