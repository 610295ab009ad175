#pragma once

#include "Platform/AppKit/NSApplication.h"
#include "Tovrin09/LTCCamWindow/LTCCamWindowControllerDelegate.h"

class LTCCamWindowController;

/// Brings the two windows up and down in their order, and passes each processed frame from the main window to the view
/// of what goes to the virtual camera. Reaches everything through outlets; a step that finds none is skipped.
class AppDelegateObjC : public NSObject, public NSApplicationDelegate, public LTCCamWindowControllerDelegate {
    NS_OBJECT(AppDelegateObjC)
public:
    /// Registers the defaults before any object of the interface reads them.
    static void initialize();

    void applicationWillFinishLaunching(NSNotification* notification) override;
    void applicationDidFinishLaunching(NSNotification* notification) override;
    void applicationWillTerminate(NSNotification* notification) override;
    bool applicationSupportsSecureRestorableState(NSApplication* application);

    void camWindowController_didOutputPixelBuffer(
        LTCCamWindowController* controller, CVPixelBufferRef inputPixelBuffer) override;
    /// Brings the output window back after it was closed.
    void actionFakeWebCamPanel(NSObject* sender) override;

    bool applicationWillFinishLaunchingDone() const { return _applicationWillFinishLaunching; }
    bool applicationDidFinishLaunchingDone() const { return _applicationDidFinishLaunching; }
    NSWindow* window() const { return _window; }
    void setWindow(NSWindow* window) { _window = window; }
    NSWindow* windowOutput() const { return _windowOutput; }
    void setWindowOutput(NSWindow* window) { _windowOutput = window; }

    Ref<NSObject> outletWindowController;
    Ref<NSObject> outletExtensionController;

private:
    bool _applicationWillFinishLaunching = false;
    bool _applicationDidFinishLaunching = false;
    Ref<NSWindow> _window;
    Ref<NSWindow> _windowOutput;
};
