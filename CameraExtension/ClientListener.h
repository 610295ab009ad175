#pragma once

#include "CameraExtension/ClientConnection.h"

#include <list>

/// The socket of this user's one camera extension.
///
/// A later process takes the place of an earlier one: it asks the earlier to quit and waits until it has let go of the
/// lock beside the socket. The socket appears under its name only when it can be connected to.
class ClientListener {
public:
    ClientListener(EventLoop& loop, CameraService& service);
    /// Removes the socket.
    ~ClientListener();

    /// \return empty, or why the socket could not be had
    std::string open();
    /// Destroys the connection when the loop runs next.
    void discard(ClientConnection& client);

private:
    std::string takeLock(const std::string& folder);
    std::string bindSocket(const std::string& folder);
    void accept();

    EventLoop& mLoop;
    CameraService& mService;
    UniqueFD mLock;
    UniqueFD mListener;
    std::string mPath;
    EventLoop::Watch mWatch;
    EventLoop::Watch mDiscardTimer;
    std::list<std::unique_ptr<ClientConnection>> mClients;
};
