#include "Platform/AppKit/NSWindowController.h"

#include "Platform/AppKit/NSNib.h"

NS_IMPLEMENTATION(NSWindowController, NSObject)
{
    type.message("showWindow:", &NSWindowController::showWindow);
    type.message("close", &NSWindowController::close);
    type.outlet("window", &NSWindowController::mWindow);
}

NSWindowController::NSWindowController(NSWindow* window)
    : mWindow(window)
{
}

NSWindow* NSWindowController::window()
{
    if (mLoaded || mWindow)
        return mWindow;
    const auto name = windowNibName();
    if (!name)
        return nullptr;
    // Set first: what the file wakes up may ask for the window.
    mLoaded = true;
    if (NSNib::loadNibNamed_owner(name, this) && mWindow)
        windowDidLoad();
    return mWindow;
}

void NSWindowController::showWindow(NSObject* sender)
{
    if (auto* const shown = window())
        shown->makeKeyAndOrderFront(sender);
}

void NSWindowController::close()
{
    if (mWindow)
        mWindow->close();
}
