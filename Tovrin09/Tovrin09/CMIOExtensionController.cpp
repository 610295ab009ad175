#include "Tovrin09/Tovrin09/CMIOExtensionController.h"

#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

NS_IMPLEMENTATION(CMIOExtensionController, NSWindowController)
{
    type.outlet("outletViewController", &CMIOExtensionController::outletViewController);
    type.outlet("outletExtensionController", &CMIOExtensionController::outletExtensionController);
    type.outlet("outletSurfaceRenderer", &CMIOExtensionController::outletSurfaceRenderer);
    type.key("outputSurfaceRenderer", &CMIOExtensionController::outputSurfaceRenderer);
    type.key("outputViewController", &CMIOExtensionController::outputViewController);
    type.message("applicationWillFinishLaunching:", &CMIOExtensionController::applicationWillFinishLaunching);
    type.message("applicationDidFinishLaunching:", &CMIOExtensionController::applicationDidFinishLaunching);
    type.message("applicationWillTerminate:", &CMIOExtensionController::applicationWillTerminate);
}

Ref<CFString> CMIOExtensionController::windowNibName()
{
    return NSStringFromClass(isa());
}

void CMIOExtensionController::windowDidLoad()
{
    NSWindowController::windowDidLoad();
    if (const auto content = outputViewController())
        window()->setContentView(content->view());
}

void CMIOExtensionController::applicationWillFinishLaunching(NSNotification* notification)
{
    if (const auto extension = outletExtensionController.strongReference())
        extension->setExtensionBundleIdentifier(CMIOOutputViewController_CMIOExtension_BundleIdentifier);
    if (const auto content = outputViewController())
        content->applicationWillFinishLaunching(notification);
}

void CMIOExtensionController::applicationDidFinishLaunching(NSNotification* notification)
{
    if (const auto content = outputViewController())
        content->applicationDidFinishLaunching(notification);
}

void CMIOExtensionController::applicationWillTerminate(NSNotification* /*notification*/) { }
