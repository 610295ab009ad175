#include "Platform/CoreMediaIO/WireSocket.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace CameraWire {

namespace {

bool belongsToThisUserAlone(const std::string& path)
{
    struct stat status { };
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::getuid()
        && (status.st_mode & 077) == 0;
}

std::string runtimeFolder()
{
    if (const char* const folder = std::getenv("XDG_RUNTIME_DIR"); folder && *folder == '/')
        return folder;
    const auto usual = "/run/user/" + std::to_string(::getuid());
    return belongsToThisUserAlone(usual) ? usual : std::string();
}

std::uint32_t wordAt(std::span<const std::byte> bytes, std::size_t index)
{
    std::uint32_t word = 0;
    std::memcpy(&word, bytes.data() + index * sizeof word, sizeof word);
    return word;
}

}

std::string SocketPath::folder(std::string* reason)
{
    const auto runtime = runtimeFolder();
    const auto path = runtime.empty() ? "/tmp/tovrin-" + std::to_string(::getuid()) : runtime + "/tovrin";
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        if (reason)
            *reason = path + ": " + std::strerror(errno);
        return {};
    }
    if (!belongsToThisUserAlone(path)) {
        if (reason)
            *reason = path + ": is open to others or belongs to another user";
        return {};
    }
    return path;
}

Socket Socket::connectTo(const std::string& path)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return {};
    }
    path.copy(address.sun_path, path.size());
    UniqueFD descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!descriptor || ::connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return {};
    Socket socket(std::move(descriptor));
    if (!socket.isPeerThisUser()) {
        errno = EPERM;
        return {};
    }
    return socket;
}

bool Socket::receive()
{
    for (;;) {
        std::array<std::byte, 16 * 1024> bytes;
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int) * kMaximumWaitingDescriptors)> control;
        iovec vector { bytes.data(), bytes.size() };
        msghdr header {};
        header.msg_iov = &vector;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
        const auto count = ::recvmsg(mDescriptor.get(), &header, MSG_CMSG_CLOEXEC | MSG_DONTWAIT);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno == EAGAIN || errno == EWOULDBLOCK;

        for (auto* item = CMSG_FIRSTHDR(&header); item; item = CMSG_NXTHDR(&header, item)) {
            if (item->cmsg_level != SOL_SOCKET || item->cmsg_type != SCM_RIGHTS)
                continue;
            const auto descriptors = (item->cmsg_len - CMSG_LEN(0)) / sizeof(int);
            for (std::size_t index = 0; index < descriptors; ++index) {
                int descriptor = -1;
                std::memcpy(&descriptor, CMSG_DATA(item) + index * sizeof descriptor, sizeof descriptor);
                mDescriptors.emplace_back(descriptor);
            }
        }
        if (count == 0 || (header.msg_flags & MSG_CTRUNC) || mDescriptors.size() > kMaximumWaitingDescriptors)
            return false;
        mReceived.insert(mReceived.end(), bytes.begin(), bytes.begin() + count);
        if (!acceptHeader())
            return false;
        // What is buffered is bounded: the caller takes the whole messages before more is read.
        if (mReceived.size() - mConsumed >= kHeaderLength + kMaximumBodyLength)
            return true;
    }
}

/// Refuses an oversized message when its header has come, before its body is waited for.
bool Socket::acceptHeader() const
{
    const auto rest = std::span(mReceived).subspan(mConsumed);
    return rest.size() < kHeaderLength || wordAt(rest, 0) <= kMaximumBodyLength;
}

std::optional<Message> Socket::next()
{
    const auto rest = std::span<const std::byte>(mReceived).subspan(mConsumed);
    if (rest.size() >= kHeaderLength) {
        const std::size_t length = wordAt(rest, 0);
        if (length <= kMaximumBodyLength && rest.size() - kHeaderLength >= length) {
            const auto body = rest.subspan(kHeaderLength, length);
            Message message { static_cast<Kind>(wordAt(rest, 1)), wordAt(rest, 2), { body.begin(), body.end() } };
            mConsumed += kHeaderLength + length;
            return message;
        }
    }
    mReceived.erase(mReceived.begin(), mReceived.begin() + static_cast<std::ptrdiff_t>(mConsumed));
    mConsumed = 0;
    return std::nullopt;
}

UniqueFD Socket::takeDescriptor()
{
    if (mDescriptors.empty())
        return {};
    auto descriptor = std::move(mDescriptors.front());
    mDescriptors.pop_front();
    return descriptor;
}

bool Socket::send(std::vector<std::byte> message, int descriptor) const
{
    iovec vector { message.data(), message.size() };
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof descriptor)> control {};
    msghdr header {};
    header.msg_iov = &vector;
    header.msg_iovlen = 1;
    if (descriptor >= 0) {
        header.msg_control = control.data();
        header.msg_controllen = control.size();
        auto* const item = CMSG_FIRSTHDR(&header);
        item->cmsg_level = SOL_SOCKET;
        item->cmsg_type = SCM_RIGHTS;
        item->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(item), &descriptor, sizeof descriptor);
    }
    ssize_t sent = -1;
    do
        sent = ::sendmsg(mDescriptor.get(), &header, MSG_NOSIGNAL | MSG_DONTWAIT);
    while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(message.size());
}

bool Socket::isPeerThisUser() const
{
    ucred peer {};
    socklen_t length = sizeof peer;
    return ::getsockopt(mDescriptor.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == ::getuid();
}

}
