#pragma once

#include "CameraExtension/EventLoop.h"
#include "Platform/CoreMediaIO/WireSocket.h"
#include "Platform/IOSurface/IOSurface.h"

#include <map>

class ClientConnection;

/// What a client's messages reach.
class CameraService {
public:
    virtual ~CameraService() = default;
    virtual const CameraWire::Welcome& welcome() const = 0;
    virtual CameraWire::Reply property(const CameraWire::GetProperty& request) = 0;
    virtual CameraWire::Reply setProperty(const CameraWire::SetProperty& request) = 0;
    virtual std::uint32_t sinkStream() const = 0;
    /// The client that started the sink last is the one whose frames are shown.
    virtual void sinkStarted(ClientConnection& client) = 0;
    virtual void sinkStopped(ClientConnection& client) = 0;
    virtual void frameArrived(ClientConnection& client, IOSurface& surface, std::int64_t presentationNanoseconds) = 0;
    /// A client asks the extension to end.
    virtual void quitAsked() = 0;
    /// The connection is over; it may be destroyed once the call that led here has returned.
    virtual void ended(ClientConnection& client) = 0;
};

/// One client at the socket. Believes nothing: the first message that is not as it should be ends the connection, and
/// with it everything that the client held.
class ClientConnection {
public:
    /// How long a client may take to introduce itself.
    static constexpr std::chrono::seconds kGreetingLimit { 2 };

    ClientConnection(EventLoop& loop, CameraService& service, CameraWire::Socket socket);
    ~ClientConnection();

    bool hasEnded() const noexcept { return mHasEnded; }

private:
    void readable();
    bool handle(const CameraWire::Message& message);
    bool greet(const CameraWire::Message& message);
    bool startStream(const CameraWire::Message& message);
    bool stopStream(const CameraWire::Message& message);
    bool openQueue(const CameraWire::Message& message);
    bool defineSurface(const CameraWire::Message& message);
    bool forgetSurface(const CameraWire::Message& message);
    bool showFrame(const CameraWire::Message& message);
    bool reply(const CameraWire::Reply& reply, std::uint32_t serial);
    bool send(std::vector<std::byte> message);
    void end();

    CameraService& mService;
    CameraWire::Socket mSocket;
    EventLoop::Watch mWatch;
    EventLoop::Watch mGreetingTimer;
    std::map<std::uint32_t, Ref<IOSurface>> mSurfaces;
    bool mIsGreeted = false;
    bool mIsStarted = false;
    bool mHasEnded = false;
};
