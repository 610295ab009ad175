#pragma once

#include "Platform/CoreMediaIO/WireSocket.h"

#include <chrono>

#include <sys/types.h>

namespace CameraWire {

/// The process at the other end of a connection. To be made while the connection is open; knows the process after it
/// has ended, too, and never takes another for it.
class PeerProcess {
public:
    explicit PeerProcess(const Socket& socket);

    /// Waits until the process has ended and let go of all that it held.
    /// \return false when it has not within \p limit
    bool waitForEnd(std::chrono::milliseconds limit) const;
    /// Kills it; where it was started in a session of its own, all of that session's group, so that no supervisor
    /// starts it again.
    void kill() const;

private:
    pid_t mIdentifier = 0;
    UniqueFD mProcess;
};

}
