#pragma once

#include "Platform/CoreMediaIO/WireProtocol.h"

#include <cstring>
#include <type_traits>

namespace CameraWire {

/// Appends fields to a message's body.
class Encoder {
public:
    explicit Encoder(Kind kind, std::uint32_t serial)
    {
        put(std::uint32_t { 0 });
        put(static_cast<std::uint32_t>(kind));
        put(serial);
    }

    template <class T>
    requires std::is_arithmetic_v<T>
    void put(T value)
    {
        if constexpr (std::is_same_v<T, bool>) {
            put(static_cast<std::uint8_t>(value));
        } else {
            const auto start = mBytes.size();
            mBytes.resize(start + sizeof value);
            std::memcpy(mBytes.data() + start, &value, sizeof value);
        }
    }
    void put(std::string_view text);
    void put(const Address& address);
    void put(const Format& format);
    void put(const Value& value);
    void put(const Property& property);
    void put(const Object& object);

    /// The whole message, its length filled in.
    std::vector<std::byte> finish() &&;

private:
    std::vector<std::byte> mBytes;
};

/// Takes fields off a body. After the first one that is missing or breaks a limit every further one is zero and
/// `isWhole` says no.
class Decoder {
public:
    explicit Decoder(std::span<const std::byte> bytes)
        : mBytes(bytes)
    {
    }

    template <class T>
    requires std::is_arithmetic_v<T> T get()
    {
        if constexpr (std::is_same_v<T, bool>) {
            const auto value = get<std::uint8_t>();
            if (value > 1)
                mFailed = true;
            return value == 1;
        } else {
            T value {};
            if (mFailed || mBytes.size() < sizeof value) {
                mFailed = true;
                return value;
            }
            std::memcpy(&value, mBytes.data(), sizeof value);
            mBytes = mBytes.subspan(sizeof value);
            return value;
        }
    }
    std::string getString();
    Address getAddress();
    Format getFormat();
    Value getValue();
    Property getProperty();
    Object getObject();
    /// The number of entries that follow, 0 when it is above \p limit.
    std::size_t getCount(std::size_t limit);

    /// Whether everything was there and nothing is left.
    bool isWhole() const noexcept { return !mFailed && mBytes.empty(); }

private:
    std::span<const std::byte> mBytes;
    bool mFailed = false;
};

}
