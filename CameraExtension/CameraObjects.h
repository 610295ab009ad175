#pragma once

#include "Platform/CoreMediaIO/WireProtocol.h"

#include <string>

/// What the camera looks like to its clients: the objects that a Welcome carries and the answers to questions about
/// them. One device with a source stream, from which consumers are fed, and a sink stream, which clients feed.
class CameraObjects {
public:
    static constexpr std::uint32_t kDevice = 1;
    static constexpr std::uint32_t kSourceStream = 2;
    static constexpr std::uint32_t kSinkStream = 3;
    /// What people read in lists of cameras.
    static constexpr const char* kName = "Tovrin Camera";

    CameraObjects();

    const CameraWire::Welcome& welcome() const noexcept { return mWelcome; }
    /// \param consumers  programs that take frames now
    CameraWire::Reply property(const CameraWire::GetProperty& request, unsigned consumers) const;
    /// Clients may write 'just', and nothing comes of what they write.
    CameraWire::Reply setProperty(const CameraWire::SetProperty& request) const;

private:
    const CameraWire::Property* find(std::uint32_t object, const CameraWire::Address& address) const;

    CameraWire::Welcome mWelcome;
};
