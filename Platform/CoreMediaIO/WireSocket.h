#pragma once

#include "Platform/CoreMediaIO/UniqueFD.h"
#include "Platform/CoreMediaIO/WireProtocol.h"

#include <deque>

namespace CameraWire {

/// Where the camera extension of this user listens, and how its folder is made.
namespace SocketPath {

/// The folder "tovrin" under the user's runtime folder (XDG_RUNTIME_DIR, else the usual place of this user's, else one
/// in the temporary folder), made with mode 0700 when it is missing.
/// \return empty when there is none that belongs to this user alone; \p reason then says why
std::string folder(std::string* reason = nullptr);
inline constexpr std::string_view kSocketName = "camera";
inline constexpr std::string_view kLockName = "camera.lock";
/// What an extension without a service manager says.
inline constexpr std::string_view kLogName = "camera.log";

}

/// One end of a connection: cuts the stream into messages and carries descriptors beside them. Nothing waits.
///
/// Sending and receiving may happen on two threads; each of the two on one at a time.
class Socket {
public:
    Socket() = default;
    explicit Socket(UniqueFD descriptor)
        : mDescriptor(std::move(descriptor))
    {
    }
    /// Connects to the listener at \p path, whose process must belong to this user.
    /// \return invalid, with errno set, when nobody listens there
    static Socket connectTo(const std::string& path);

    bool isValid() const noexcept { return mDescriptor.isValid(); }
    int descriptor() const noexcept { return mDescriptor.get(); }

    /// Reads all that has arrived.
    /// \return false when the other side is gone or broke a limit; whole messages may have come before that
    bool receive();
    /// The next whole message, if there is one. To be called until there is none after each `receive`.
    std::optional<Message> next();
    /// The descriptor that arrived first and was not taken yet; invalid when there is none.
    UniqueFD takeDescriptor();

    /// Sends a whole message, and \p descriptor (not taken over) beside it unless it is negative.
    /// \return false when it could not be sent at once; the connection is of no use then
    bool send(std::vector<std::byte> message, int descriptor = -1) const;

    /// Whether the process at the other end belongs to this user.
    bool isPeerThisUser() const;

private:
    bool acceptHeader() const;

    UniqueFD mDescriptor;
    std::vector<std::byte> mReceived;
    std::size_t mConsumed = 0;
    std::deque<UniqueFD> mDescriptors;
};

}
