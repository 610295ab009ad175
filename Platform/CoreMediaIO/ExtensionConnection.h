#pragma once

#include "Platform/CoreMediaIO/CMIOHardware.h"
#include "Platform/CoreMediaIO/SurfaceAnnouncer.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

/// A client's end of the connection to one camera extension.
///
/// One thread reads; any thread may ask and send. A question waits for its answer up to the time limit; when one was
/// not answered in time, further questions fail at once until anything arrives again, so that a stuck extension costs
/// its clients one wait and not one for each question.
class ExtensionConnection {
public:
    using FrameConsumed = std::function<void(const CameraWire::FrameConsumed&)>;

    explicit ExtensionConnection(CameraWire::Socket socket)
        : mSocket(std::move(socket))
    {
    }

    int descriptor() const noexcept { return mSocket.descriptor(); }
    bool sendHello();
    /// Handles what has arrived. To be called on the reading thread.
    /// \param welcomed  called once, with the extension's description of itself
    /// \return false when the connection is over
    bool read(const std::function<void(CameraWire::Welcome)>& welcomed, const FrameConsumed& consumed);
    /// Ends the connection; questions that wait fail.
    void close();

    /// \param question  makes the message for a serial
    /// \return kCMIOHardwareNotRunningError without an answer, else the answer's status
    OSStatus ask(const std::function<std::vector<std::byte>(std::uint32_t serial)>& question, CameraWire::Reply* reply);
    /// Sends the number of the frame's surface, announcing the surface if need be.
    /// \return false when the connection is over
    bool sendFrame(CameraWire::Frame frame, IOSurface& surface);

private:
    bool handle(const CameraWire::Message& message, const std::function<void(CameraWire::Welcome)>& welcomed,
        const FrameConsumed& consumed);
    bool send(std::vector<std::byte> message);

    CameraWire::Socket mSocket;
    bool mIsWelcomed = false; ///< of the reading thread

    std::mutex mSendLock;
    CameraWire::SurfaceAnnouncer mAnnouncer;

    std::mutex mLock;
    std::condition_variable mAnswered;
    /// Questions that wait, by serial.
    std::map<std::uint32_t, std::optional<CameraWire::Reply>> mWaiting;
    std::uint32_t mLastSerial = 0;
    bool mIsStuck = false;
    bool mIsClosed = false;
};
