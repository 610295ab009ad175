#include "Tovrin09/Tovrin09/AppDelegateObjC.h"

#include "Tovrin09/LTCCamWindow/LTCCamWindowController.h"
#include "Tovrin09/Tovrin09/CMIOExtensionController.h"
#include "Tovrin09/Tovrin09/CMIOOutputViewController.h"
#include "Tovrin09/Tovrin09/TovrinPreferencesController.h"
#include "WithRequirements/Requirements.h"

NS_IMPLEMENTATION(AppDelegateObjC, NSObject)
{
    type.initialize(&AppDelegateObjC::initialize);
    type.outlet("outletWindowController", &AppDelegateObjC::outletWindowController);
    type.outlet("outletExtensionController", &AppDelegateObjC::outletExtensionController);
    type.message("applicationWillFinishLaunching:", &AppDelegateObjC::applicationWillFinishLaunching);
    type.message("applicationDidFinishLaunching:", &AppDelegateObjC::applicationDidFinishLaunching);
    type.message("applicationWillTerminate:", &AppDelegateObjC::applicationWillTerminate);
    type.message(
        "applicationSupportsSecureRestorableState:", &AppDelegateObjC::applicationSupportsSecureRestorableState);
    type.message(
        "camWindowController:didOutputPixelBuffer:", &AppDelegateObjC::camWindowController_didOutputPixelBuffer);
    type.message("actionFakeWebCamPanel:", &AppDelegateObjC::actionFakeWebCamPanel);
}

void AppDelegateObjC::initialize()
{
    TovrinPreferencesController::preferencesStartup();
}

void AppDelegateObjC::applicationWillFinishLaunching(NSNotification* notification)
{
    if (_applicationWillFinishLaunching)
        return;
    _applicationWillFinishLaunching = true;
    if (auto* const controller = kindOf<LTCCamWindowController>(outletWindowController)) {
        setWindow(controller->window());
        controller->applicationWillFinishLaunching(notification);
    }
    auto* const extension = kindOf<CMIOExtensionController>(outletExtensionController);
    if (!extension)
        return;
    setWindowOutput(extension->window());
    extension->applicationWillFinishLaunching(notification);
    if (_windowOutput)
        _windowOutput->orderFront(this);
}

void AppDelegateObjC::applicationDidFinishLaunching(NSNotification* notification)
{
    if (_applicationDidFinishLaunching)
        return;
    _applicationDidFinishLaunching = true;
    // The other way round than before: the main window comes last, in front.
    if (auto* const extension = kindOf<CMIOExtensionController>(outletExtensionController))
        extension->applicationDidFinishLaunching(notification);
    auto* const controller = kindOf<LTCCamWindowController>(outletWindowController);
    if (!controller)
        return;
    controller->applicationDidFinishLaunching(notification);
    if (_window)
        _window->makeKeyAndOrderFront(this);
}

void AppDelegateObjC::applicationWillTerminate(NSNotification* notification)
{
    if (auto* const extension = kindOf<CMIOExtensionController>(outletExtensionController))
        extension->applicationWillTerminate(notification);
    if (auto* const controller = kindOf<LTCCamWindowController>(outletWindowController))
        controller->applicationWillTerminate(notification);
}

bool AppDelegateObjC::applicationSupportsSecureRestorableState(NSApplication* /*application*/)
{
    return false;
}

void AppDelegateObjC::camWindowController_didOutputPixelBuffer(
    LTCCamWindowController* /*controller*/, CVPixelBufferRef inputPixelBuffer)
{
    if (!CFRequiredTypeOf(inputPixelBuffer, CVPixelBufferGetTypeID()))
        return;
    auto* const extension = kindOf<CMIOExtensionController>(outletExtensionController);
    if (!extension)
        return;
    if (const auto output = extension->outputViewController())
        output->setOutputPixelBuffer(inputPixelBuffer);
}

void AppDelegateObjC::actionFakeWebCamPanel(NSObject* sender)
{
    if (_windowOutput)
        _windowOutput->makeKeyAndOrderFront(sender);
}
