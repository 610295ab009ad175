#include "Platform/CoreMediaIO/PeerProcess.h"

#include <cerrno>
#include <csignal>

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>

namespace CameraWire {

PeerProcess::PeerProcess(const Socket& socket)
{
    ucred peer {};
    socklen_t length = sizeof peer;
    if (::getsockopt(socket.descriptor(), SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0 || peer.pid <= 1)
        return;
    mIdentifier = peer.pid;
    mProcess.reset(static_cast<int>(::syscall(SYS_pidfd_open, peer.pid, 0)));
}

bool PeerProcess::waitForEnd(std::chrono::milliseconds limit) const
{
    if (!mProcess)
        return false;
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd waiting { mProcess.get(), POLLIN, 0 };
        const int ready = ::poll(&waiting, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
        if (ready >= 0 || errno != EINTR)
            return ready > 0;
    }
}

void PeerProcess::kill() const
{
    if (!mProcess || waitForEnd(std::chrono::milliseconds(0)))
        return;
    const pid_t group = ::getpgid(mIdentifier);
    const bool isOwnSession = group > 1 && group != ::getpgrp() && ::getsid(mIdentifier) == group;
    ::kill(isOwnSession ? -group : mIdentifier, SIGKILL);
}

}
