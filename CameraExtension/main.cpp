#include "CameraExtension/CameraExtension.h"
#include "Platform/Foundation/NSLog.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <pipewire/pipewire.h>

namespace {

/// Ended as a person or a service manager ends programs: without a word, the socket removed.
int runExtension()
{
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
    if (option == "--version") {
        std::printf(
            "%s %s\n", CMIOOutputViewController_CMIOExtension_BundleIdentifier->string().c_str(), TOVRIN_VERSION);
        return EXIT_SUCCESS;
    }
    if (count > 1) {
        std::fprintf(stderr, "usage: %s [--version]\n", arguments[0]);
        return EXIT_FAILURE;
    }
    std::signal(SIGPIPE, SIG_IGN);
    pw_init(nullptr, nullptr);
    const int status = runExtension();
    pw_deinit();
    return status;
}
