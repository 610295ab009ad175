#include "Platform/SystemExtensions/RunningExtension.h"

#include "Platform/CoreMediaIO/PeerProcess.h"

#include <algorithm>
#include <array>

#include <poll.h>
#include <sys/inotify.h>

using namespace CameraWire;

namespace {

/// What an extension that runs already gets to answer in.
constexpr std::chrono::milliseconds answerLimit { 1000 };
/// What the system gets to take down a process that is killed, on a busy machine.
constexpr std::chrono::milliseconds timeToDie { 5000 };

class Deadline {
public:
    explicit Deadline(std::chrono::milliseconds limit)
        : mEnd(std::chrono::steady_clock::now() + limit)
    {
    }
    std::chrono::milliseconds left() const
    {
        const auto left = mEnd - std::chrono::steady_clock::now();
        return std::max(std::chrono::ceil<std::chrono::milliseconds>(left), std::chrono::milliseconds(0));
    }

private:
    std::chrono::steady_clock::time_point mEnd;
};

/// \return whether there is something to read before the deadline
bool waitFor(int descriptor, const Deadline& deadline)
{
    pollfd waiting { descriptor, POLLIN, 0 };
    return ::poll(&waiting, 1, static_cast<int>(deadline.left().count())) > 0;
}

std::string pathOf(std::string_view name)
{
    const auto folder = SocketPath::folder();
    return folder.empty() ? folder : folder + "/" + std::string(name);
}

}

std::optional<RunningExtension> RunningExtension::greet(std::chrono::milliseconds limit)
{
    const auto path = pathOf(SocketPath::kSocketName);
    auto socket = path.empty() ? Socket() : Socket::connectTo(path);
    if (!socket.isValid() || !socket.send(encode(Hello {})))
        return std::nullopt;
    const Deadline deadline(limit);
    for (bool isOpen = true; isOpen && waitFor(socket.descriptor(), deadline);) {
        isOpen = socket.receive();
        if (const auto message = socket.next()) {
            auto welcome = decode<Welcome>(message->body);
            if (message->kind != Kind::Welcome || !welcome || welcome->magic != kMagic)
                return std::nullopt;
            return RunningExtension(std::move(socket), std::move(*welcome));
        }
    }
    return std::nullopt;
}

std::optional<RunningExtension> RunningExtension::find(std::chrono::milliseconds limit)
{
    // Watched before the first attempt, so that no arrival is missed.
    const UniqueFD changes(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    ::inotify_add_watch(changes.get(), SocketPath::folder().c_str(), IN_MOVED_TO);
    const Deadline deadline(limit);
    for (;;) {
        if (auto found = greet(std::max(answerLimit, deadline.left())))
            return found;
        if (deadline.left().count() == 0 || !waitFor(changes.get(), deadline))
            return std::nullopt;
        std::array<char, 4096> events;
        while (::read(changes.get(), events.data(), events.size()) > 0) { }
    }
}

bool RunningExtension::end(std::chrono::milliseconds limit)
{
    const PeerProcess process(mSocket);
    if (mSocket.send(encode(Quit {})) && process.waitForEnd(limit))
        return true;
    process.kill();
    return process.waitForEnd(std::max(limit, timeToDie));
}

void RunningExtension::removeFiles()
{
    for (const auto name : { SocketPath::kSocketName, SocketPath::kLockName, SocketPath::kLogName }) {
        if (const auto path = pathOf(name); !path.empty())
            ::unlink(path.c_str());
    }
}
