#include "CameraExtension/ClientConnection.h"

#include "Platform/CoreMediaIO/CMIOHardware.h"
#include "Platform/Foundation/NSLog.h"

using namespace CameraWire;

ClientConnection::ClientConnection(EventLoop& loop, CameraService& service, Socket socket)
    : mService(service)
    , mSocket(std::move(socket))
    , mWatch(loop.watchDescriptor(mSocket.descriptor(), [this] { readable(); }))
    , mGreetingTimer(loop.makeTimer([this] { end(); }))
{
    loop.setTimer(mGreetingTimer, kGreetingLimit);
}

ClientConnection::~ClientConnection() = default;

void ClientConnection::readable()
{
    const bool isOpen = mSocket.receive();
    while (const auto message = mSocket.next()) {
        if (!handle(*message)) {
            NSLog(CFSTR("A client sent what is not understood (kind %u, %u bytes); its connection ends"),
                static_cast<std::uint32_t>(message->kind), message->body.size());
            end();
            return;
        }
        if (mHasEnded)
            return;
    }
    if (!isOpen)
        end();
}

void ClientConnection::end()
{
    if (mHasEnded)
        return;
    mHasEnded = true;
    mWatch.reset();
    mGreetingTimer.reset();
    if (mIsStarted)
        mService.sinkStopped(*this);
    mService.ended(*this);
}

bool ClientConnection::handle(const Message& message)
{
    if (!mIsGreeted)
        return message.kind == Kind::Hello && greet(message);
    switch (message.kind) {
    case Kind::GetProperty: {
        const auto request = decode<GetProperty>(message.body);
        return request && reply(mService.property(*request), message.serial);
    }
    case Kind::SetProperty: {
        const auto request = decode<SetProperty>(message.body);
        return request && reply(mService.setProperty(*request), message.serial);
    }
    case Kind::StartStream:
        return startStream(message);
    case Kind::StopStream:
        return stopStream(message);
    case Kind::OpenQueue:
        return openQueue(message);
    case Kind::DefineSurface:
        return defineSurface(message);
    case Kind::ForgetSurface:
        return forgetSurface(message);
    case Kind::Frame:
        return showFrame(message);
    case Kind::Quit:
        if (!decode<Quit>(message.body))
            return false;
        mService.quitAsked();
        return true;
    default:
        return false;
    }
}

/// A client of another version still learns which one this is, and that it can ask this one to quit.
bool ClientConnection::greet(const Message& message)
{
    const auto hello = decode<Hello>(message.body);
    if (!hello || hello->magic != kMagic)
        return false;
    mGreetingTimer.reset();
    mIsGreeted = true;
    return send(encode(mService.welcome(), message.serial));
}

bool ClientConnection::startStream(const Message& message)
{
    const auto request = decode<StreamRequest>(message.body);
    if (!request)
        return false;
    if (request->stream == mService.sinkStream()) {
        mIsStarted = true;
        mService.sinkStarted(*this);
    }
    return reply({ noErr, {} }, message.serial);
}

bool ClientConnection::stopStream(const Message& message)
{
    const auto request = decode<StreamRequest>(message.body);
    if (!request)
        return false;
    if (request->stream == mService.sinkStream() && mIsStarted) {
        mIsStarted = false;
        mService.sinkStopped(*this);
    }
    return reply({ noErr, {} }, message.serial);
}

/// Nothing is kept of a queue here, since a frame is consumed as soon as it comes.
bool ClientConnection::openQueue(const Message& message)
{
    const auto request = decode<StreamRequest>(message.body);
    if (!request)
        return false;
    const bool isSink = request->stream == mService.sinkStream();
    return reply({ isSink ? noErr : kCMIOHardwareBadStreamError, {} }, message.serial);
}

bool ClientConnection::defineSurface(const Message& message)
{
    auto descriptor = mSocket.takeDescriptor();
    const auto definition = decode<DefineSurface>(message.body);
    if (!definition || !descriptor || definition->pixelFormat != kCVPixelFormatType_32BGRA
        || mSurfaces.size() >= kMaximumSurfaces || mSurfaces.contains(definition->number))
        return false;
    auto surface = IOSurface::adopt(descriptor.leak(), definition->number, definition->width, definition->height,
        definition->pixelFormat, definition->bytesPerRow);
    if (!surface)
        return false;
    mSurfaces.emplace(definition->number, std::move(surface));
    return true;
}

bool ClientConnection::forgetSurface(const Message& message)
{
    const auto request = decode<ForgetSurface>(message.body);
    return request && mSurfaces.erase(request->number) == 1;
}

bool ClientConnection::showFrame(const Message& message)
{
    const auto frame = decode<Frame>(message.body);
    if (!frame || frame->stream != mService.sinkStream())
        return false;
    const auto surface = mSurfaces.find(frame->surface);
    if (surface == mSurfaces.end())
        return false;
    if (mIsStarted)
        mService.frameArrived(*this, *surface->second, frame->presentationNanoseconds);
    return send(encode(FrameConsumed { frame->generation, frame->token }));
}

bool ClientConnection::reply(const Reply& reply, std::uint32_t serial)
{
    return send(encode(reply, serial));
}

/// A client that has gone, or does not read, did nothing that is not understood: its connection ends without a word.
bool ClientConnection::send(std::vector<std::byte> message)
{
    if (!mSocket.send(std::move(message)))
        end();
    return true;
}
