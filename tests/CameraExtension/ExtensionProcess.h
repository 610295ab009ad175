#pragma once

#include "Platform/CoreMediaIO/WireSocket.h"

#include <chrono>
#include <functional>
#include <string>

#include <sys/types.h>

/// A runtime folder of the test program's own, made before the first test and removed after the last; inside a private
/// session that session's.
class RuntimeFolder {
public:
    RuntimeFolder();
    ~RuntimeFolder();
    const std::string& path() const { return mPath; }
    std::string socketPath() const { return mPath + "/tovrin/camera"; }

    static RuntimeFolder& shared();

private:
    std::string mPath;
    bool mIsOwn = true;
};

/// The built extension, running in the runtime folder.
class ExtensionProcess {
public:
    /// Waits until a socket can be connected to, or until one that is connected to answers.
    enum class Wait { ForSocket, ForAnswer };
    explicit ExtensionProcess(Wait wait = Wait::ForSocket);
    /// Ends it as a service manager would.
    ~ExtensionProcess();
    ExtensionProcess(ExtensionProcess&& other) noexcept;
    ExtensionProcess& operator=(ExtensionProcess&& other) noexcept;

    pid_t identifier() const { return mIdentifier; }
    void send(int signal) const;
    /// \return the exit status, or -1 when it was ended by a signal or did not end in time
    int waitForEnd();

    /// A connection that has been greeted.
    static CameraWire::Socket connect();

private:
    pid_t mIdentifier = -1;
};

/// The next message, waited for; its kind is 0 when the other side ended the connection.
CameraWire::Message nextMessage(CameraWire::Socket& socket);
/// Asks again and again, without haste, until \p condition holds; gives up in the end.
bool eventually(const std::function<bool()>& condition);
