#include "CameraExtension/ClientListener.h"

#include "Platform/CoreMediaIO/PeerProcess.h"
#include "Platform/Foundation/NSLog.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

using namespace CameraWire;

namespace {

constexpr std::chrono::milliseconds handOverLimit { 2000 };
constexpr int waitingConnections = 16;

std::string failure(std::string_view action, const std::string& path)
{
    return std::string(action) + " " + path + ": " + std::strerror(errno);
}

/// Asks whoever listens at \p path to quit, and makes one that hangs.
void replaceProcess(const std::string& path)
{
    const auto socket = Socket::connectTo(path);
    if (!socket.isValid())
        return;
    const PeerProcess process(socket);
    if (socket.send(encode(Hello {})) && socket.send(encode(Quit {})) && process.waitForEnd(handOverLimit))
        return;
    process.kill();
    process.waitForEnd(handOverLimit);
}

}

ClientListener::ClientListener(EventLoop& loop, CameraService& service)
    : mLoop(loop)
    , mService(service)
    , mDiscardTimer(
          loop.makeTimer([this] { mClients.remove_if([](const auto& client) { return client->hasEnded(); }); }))
{
}

ClientListener::~ClientListener()
{
    mWatch.reset();
    mClients.clear();
    if (!mPath.empty())
        ::unlink(mPath.c_str());
}

std::string ClientListener::open()
{
    std::string reason;
    const auto folder = SocketPath::folder(&reason);
    if (folder.empty())
        return reason;
    if (reason = takeLock(folder); !reason.empty())
        return reason;
    return bindSocket(folder);
}

std::string ClientListener::takeLock(const std::string& folder)
{
    const auto path = folder + "/" + std::string(SocketPath::kLockName);
    mLock.reset(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!mLock)
        return failure("opening", path);
    if (::flock(mLock.get(), LOCK_EX | LOCK_NB) == 0)
        return {};
    replaceProcess(folder + "/" + std::string(SocketPath::kSocketName));
    if (::flock(mLock.get(), LOCK_EX | LOCK_NB) == 0)
        return {};
    return "another camera extension runs and does not give way";
}

std::string ClientListener::bindSocket(const std::string& folder)
{
    const auto path = folder + "/" + std::string(SocketPath::kSocketName);
    const auto unready = path + ".new";
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (unready.size() >= sizeof address.sun_path)
        return unready + ": the path is too long for a socket";
    unready.copy(address.sun_path, unready.size());
    ::unlink(unready.c_str());
    mListener.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!mListener)
        return failure("making", path);
    ::fchmod(mListener.get(), 0600);
    if (::bind(mListener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || ::chmod(unready.c_str(), 0600) != 0 || ::listen(mListener.get(), waitingConnections) != 0
        || std::rename(unready.c_str(), path.c_str()) != 0)
        return failure("listening at", path);
    mPath = path;
    mWatch = mLoop.watchDescriptor(mListener.get(), [this] { accept(); });
    return {};
}

void ClientListener::accept()
{
    Socket socket(UniqueFD(::accept4(mListener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)));
    if (!socket.isValid())
        return;
    if (!socket.isPeerThisUser() || mClients.size() >= kMaximumConnections) {
        NSLog(CFSTR("A client was turned away"));
        return;
    }
    mClients.push_back(std::make_unique<ClientConnection>(mLoop, mService, std::move(socket)));
}

void ClientListener::discard(ClientConnection& /*client*/)
{
    mLoop.setTimer(mDiscardTimer, std::chrono::nanoseconds(0));
}
