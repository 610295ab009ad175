#include "CameraExtension/CameraExtension.h"
#include "CameraExtension/Supervisor.h"
#include "Platform/Foundation/NSLog.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <pipewire/pipewire.h>

namespace {

struct PipeWireLibrary {
    PipeWireLibrary() { pw_init(nullptr, nullptr); }
    ~PipeWireLibrary() { pw_deinit(); }
    PipeWireLibrary(const PipeWireLibrary&) = delete;
    PipeWireLibrary& operator=(const PipeWireLibrary&) = delete;
};

/// Ended as a person or a service manager ends programs: without a word, the socket removed.
int runExtension()
{
    const PipeWireLibrary library;
    EventLoop loop;
    const auto onTerminate = loop.watchSignal(SIGTERM, [&loop] { loop.quit(); });
    const auto onInterrupt = loop.watchSignal(SIGINT, [&loop] { loop.quit(); });
    CameraExtension extension(loop);
    if (const auto reason = extension.start(); !reason.empty()) {
        NSLog(CFSTR("The camera extension cannot run: %s"), reason.c_str());
        return EXIT_FAILURE;
    }
    loop.run();
    return EXIT_SUCCESS;
}

}

int main(int count, char** arguments)
{
    const std::string_view option = count == 2 ? arguments[1] : "";
    std::signal(SIGPIPE, SIG_IGN);
    if (option == "--version") {
        std::printf(
            "%s %s\n", CMIOOutputViewController_CMIOExtension_BundleIdentifier->string().c_str(), TOVRIN_VERSION);
        return EXIT_SUCCESS;
    }
    if (option == "--detach")
        return Supervisor::detach(&runExtension);
    if (count > 1) {
        std::fprintf(stderr, "usage: %s [--version | --detach]\n", arguments[0]);
        return EXIT_FAILURE;
    }
    return runExtension();
}
