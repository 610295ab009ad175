#pragma once

#include "Platform/AppKit/NSWindow.h"

/// Owns one window and loads it from its interface file when it is first asked for. Main thread.
class NSWindowController : public NSObject {
    NS_OBJECT(NSWindowController)
public:
    NSWindowController() = default;
    explicit NSWindowController(NSWindow* window);

    /// The name of the interface file; null for a controller that is given its window.
    virtual Ref<CFString> windowNibName() { return nullptr; }
    /// Loads the file at the first call, if there is one; null when there is no window then.
    NSWindow* window();
    void setWindow(NSWindow* window) { mWindow = window; }
    bool isWindowLoaded() const { return mLoaded; }
    /// Called once, when the window has come from its file and all outlets are set.
    virtual void windowDidLoad() { }
    void showWindow(NSObject* sender);
    void close();

private:
    Ref<NSWindow> mWindow;
    bool mLoaded = false;
};
