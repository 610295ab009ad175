#include "Platform/CoreMediaIO/ExtensionConnection.h"

#include <chrono>

#include <sys/socket.h>

using namespace CameraWire;

bool ExtensionConnection::sendHello()
{
    return send(encode(Hello {}));
}

bool ExtensionConnection::send(std::vector<std::byte> message)
{
    const std::lock_guard guard(mSendLock);
    return mSocket.send(std::move(message));
}

bool ExtensionConnection::read(const std::function<void(Welcome)>& welcomed, const FrameConsumed& consumed)
{
    const bool isOpen = mSocket.receive();
    while (const auto message = mSocket.next()) {
        if (!handle(*message, welcomed, consumed))
            return false;
    }
    return isOpen;
}

bool ExtensionConnection::handle(
    const Message& message, const std::function<void(Welcome)>& welcomed, const FrameConsumed& consumed)
{
    {
        const std::lock_guard guard(mLock);
        mIsStuck = false;
    }
    if (!mIsWelcomed) {
        auto welcome = decode<Welcome>(message.body);
        if (message.kind != Kind::Welcome || !welcome || welcome->magic != kMagic || welcome->version != kVersion)
            return false;
        mIsWelcomed = true;
        welcomed(std::move(*welcome));
        return true;
    }
    if (message.kind == Kind::FrameConsumed) {
        const auto frame = decode<CameraWire::FrameConsumed>(message.body);
        if (frame)
            consumed(*frame);
        return frame.has_value();
    }
    auto reply = decode<Reply>(message.body);
    if (message.kind != Kind::Reply || !reply)
        return false;
    const std::lock_guard guard(mLock);
    // An answer that came too late finds nobody waiting.
    if (const auto waiting = mWaiting.find(message.serial); waiting != mWaiting.end()) {
        waiting->second = std::move(*reply);
        mAnswered.notify_all();
    }
    return true;
}

void ExtensionConnection::close()
{
    const std::lock_guard guard(mLock);
    mIsClosed = true;
    ::shutdown(mSocket.descriptor(), SHUT_RDWR);
    mAnswered.notify_all();
}

OSStatus ExtensionConnection::ask(
    const std::function<std::vector<std::byte>(std::uint32_t serial)>& question, Reply* reply)
{
    std::uint32_t serial = 0;
    {
        const std::lock_guard guard(mLock);
        if (mIsClosed || mIsStuck)
            return kCMIOHardwareNotRunningError;
        serial = ++mLastSerial;
        mWaiting.emplace(serial, std::nullopt);
    }
    const bool isSent = send(question(serial));
    if (!isSent)
        close();

    std::unique_lock guard(mLock);
    const auto waiting = mWaiting.find(serial);
    const bool isAnswered = isSent
        && mAnswered.wait_for(guard, std::chrono::duration<double>(kCMIOExtensionTimeLimitSeconds),
            [&] { return waiting->second.has_value() || mIsClosed; })
        && waiting->second.has_value();
    OSStatus status = kCMIOHardwareNotRunningError;
    if (isAnswered) {
        status = waiting->second->status;
        if (reply)
            *reply = std::move(*waiting->second);
    } else if (isSent && !mIsClosed) {
        mIsStuck = true;
    }
    mWaiting.erase(waiting);
    return status;
}

bool ExtensionConnection::sendFrame(Frame frame, IOSurface& surface)
{
    const std::lock_guard guard(mSendLock);
    frame.surface = mAnnouncer.announce(mSocket, surface);
    return frame.surface != 0 && mSocket.send(encode(frame));
}
