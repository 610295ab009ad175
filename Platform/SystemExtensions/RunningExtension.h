#pragma once

#include "Platform/CoreMediaIO/WireSocket.h"

#include <chrono>
#include <optional>

/// The extension that answers at this user's socket: who it is, and how to end it. Waits, so never on the main thread.
class RunningExtension {
public:
    /// The extension that answers within \p limit. With a limit it is waited for; without one it must run already.
    static std::optional<RunningExtension> find(std::chrono::milliseconds limit = {});

    const std::string& identifier() const { return mWelcome.bundleIdentifier; }
    const std::string& version() const { return mWelcome.bundleVersion; }

    /// Asks it to end, and makes it when it has not within \p limit.
    /// \return whether it has ended
    bool end(std::chrono::milliseconds limit);

    /// Removes what an extension leaves in the runtime folder.
    static void removeFiles();

private:
    RunningExtension(CameraWire::Socket socket, CameraWire::Welcome welcome)
        : mSocket(std::move(socket))
        , mWelcome(std::move(welcome))
    {
    }
    static std::optional<RunningExtension> greet(std::chrono::milliseconds limit);

    CameraWire::Socket mSocket;
    CameraWire::Welcome mWelcome;
};
