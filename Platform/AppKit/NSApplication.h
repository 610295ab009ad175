#pragma once

#include "Platform/AppKit/NSMenu.h"
#include "Platform/AppKit/NSWindow.h"
#include "Platform/Foundation/NSNotification.h"

#include <functional>

inline CFString* const NSApplicationWillFinishLaunchingNotification
    = CFSTR("NSApplicationWillFinishLaunchingNotification");
inline CFString* const NSApplicationDidFinishLaunchingNotification
    = CFSTR("NSApplicationDidFinishLaunchingNotification");
inline CFString* const NSApplicationWillTerminateNotification = CFSTR("NSApplicationWillTerminateNotification");

/// Each operation is asked for by name before it is called.
class NSApplicationDelegate {
public:
    virtual ~NSApplicationDelegate() = default;
    virtual void applicationWillFinishLaunching(NSNotification* /*notification*/) { }
    virtual void applicationDidFinishLaunching(NSNotification* /*notification*/) { }
    virtual void applicationWillTerminate(NSNotification* /*notification*/) { }
};

/// The running application: its delegate, its menu, its start and its end. One for the process; main thread.
class NSApplication : public NSObject {
    NS_OBJECT(NSApplication)
public:
    static NSApplication* sharedApplication();

    NSObject* delegate() const;
    void setDelegate(NSObject* delegate);
    NSMenu* mainMenu() const { return mMainMenu; }
    void setMainMenu(NSMenu* menu) { mMainMenu = menu; }

    /// Tells delegate and observers that launching is about to finish, then that it has.
    void finishLaunching();
    /// Ends the application after the delegate and the observers were told. A second call does nothing. Returns; the
    /// process ends when the event loop is back in charge.
    void terminate(NSObject* sender);
    bool isTerminating() const { return mTerminating; }

    /// What ends the event loop, given by its owner.
    void setStopEventLoop(std::function<void()> stop) { mStopEventLoop = std::move(stop); }

private:
    void post(CFString* name, SEL selector, void (NSApplicationDelegate::*operation)(NSNotification*));

    WeakRef<NSObject> mDelegate;
    Ref<NSMenu> mMainMenu;
    std::function<void()> mStopEventLoop;
    bool mTerminating = false;
};

/// Runs the application from start to end: makes the event loop, loads the interface file "MainMenu", delivers the
/// launch notifications, and serves events and the main queue until `terminate`. SIGTERM, SIGINT, SIGHUP and the end of
/// the desktop session send `terminate`. Stops Platform's threads at the end.
/// \return the exit status: 0, or 1 when the display or the interface file could not be had, which was logged
int NSApplicationMain(int argc, char** argv);
