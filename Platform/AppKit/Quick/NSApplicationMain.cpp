#include "Platform/AppKit/NSApplication.h"
#include "Platform/AppKit/NSNib.h"
#include "Platform/AppKit/Quick/QuickApplication.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSLog.h"

namespace {

/// Qt ends the program when it finds no display; this says it in words first and lets the caller end.
bool hasDisplay()
{
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY")
        || qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
}

}

int NSApplicationMain(int argc, char** argv)
{
    if (!hasDisplay()) {
        NSLog(CFSTR("There is no display: neither DISPLAY nor WAYLAND_DISPLAY is set"));
        return 1;
    }
    auto* const application = NSApplication::sharedApplication();
    int status = 0;
    {
        QuickApplication quick(argc, argv);
        // Not `quit`, which asks every window whether it would close.
        application->setStopEventLoop([] { QCoreApplication::exit(0); });
        const AutoreleasePool pool;
        if (NSNib::loadNibNamed_owner(CFSTR("MainMenu"), application)) {
            application->finishLaunching();
            // Asked to end while it started, the event loop would miss it.
            if (!application->isTerminating())
                status = QCoreApplication::exec();
            application->terminate(nullptr);
        } else {
            status = 1;
        }
        DispatchMain::stopThreads();
        application->setStopEventLoop(nullptr);
    }
    return status;
}
