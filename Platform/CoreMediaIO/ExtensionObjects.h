#pragma once

#include "Platform/CoreMediaIO/CMIOHardware.h"
#include "Platform/CoreMediaIO/WireProtocol.h"

#include <span>
#include <vector>

/// The objects of one extension under the identifiers that this process gives them. Unchanging.
class ExtensionObjects {
public:
    /// \param firstIdentifier  of the objects; as many follow as \p welcome has objects
    ExtensionObjects(CameraWire::Welcome welcome, CMIOObjectID firstIdentifier);

    CMIODeviceID device() const { return identifierOf(mWelcome.device); }
    std::size_t count() const noexcept { return mWelcome.objects.size(); }
    /// The device's UID; empty when it has none.
    std::string deviceUID() const;

    /// Null when the object is none of these.
    const CameraWire::Object* object(CMIOObjectID identifier) const;
    const CameraWire::Property* property(CMIOObjectID identifier, const CMIOObjectPropertyAddress& address) const;
    /// Whether \p stream is listed among the device's streams of that scope.
    bool hasStream(CMIOObjectPropertyScope scope, CMIOStreamID stream) const;

    /// A value as clients get it: its size, and its bytes, written to \p data, which must be as long. Strings and other
    /// objects are references that the reader owns.
    static std::size_t sizeOf(const CameraWire::Value& value);
    void write(const CameraWire::Value& value, std::span<std::byte> data) const;
    /// \return a value of the same kind as \p like; nothing when the bytes are not one
    static std::optional<CameraWire::Value> read(const CameraWire::Value& like, std::span<const std::byte> data);
    /// What people read in a dump.
    std::string describe(const CameraWire::Value& value) const;

private:
    CMIOObjectID identifierOf(std::uint32_t wireIdentifier) const;

    const CameraWire::Welcome mWelcome;
    const CMIOObjectID mFirst;
};
