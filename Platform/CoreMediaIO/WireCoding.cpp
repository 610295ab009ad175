#include "Platform/CoreMediaIO/WireCoding.h"

#include <algorithm>

namespace CameraWire {

void Encoder::put(std::string_view text)
{
    const auto length = std::min(text.size(), kMaximumStringLength);
    put(static_cast<std::uint32_t>(length));
    const auto start = mBytes.size();
    mBytes.resize(start + length);
    std::memcpy(mBytes.data() + start, text.data(), length);
}

void Encoder::put(const Address& address)
{
    put(address.selector);
    put(address.scope);
    put(address.element);
}

void Encoder::put(const Format& format)
{
    put(format.codec);
    put(format.width);
    put(format.height);
}

void Encoder::put(const Value& value)
{
    put(static_cast<std::uint8_t>(value.index()));
    std::visit(
        [this](const auto& held) {
            using T = std::remove_cvref_t<decltype(held)>;
            if constexpr (std::is_same_v<T, ObjectList>) {
                put(static_cast<std::uint32_t>(held.identifiers.size()));
                for (const auto identifier : held.identifiers)
                    put(identifier);
            } else if constexpr (std::is_same_v<T, FormatList>) {
                put(static_cast<std::uint32_t>(held.formats.size()));
                for (const auto& format : held.formats)
                    put(format);
            } else if constexpr (std::is_same_v<T, std::string>) {
                put(std::string_view(held));
            } else if constexpr (!std::is_same_v<T, std::monostate>) {
                put(held);
            }
        },
        value);
}

void Encoder::put(const Property& property)
{
    put(property.address);
    put(property.isSettable);
    put(property.isLive);
    put(property.value);
}

void Encoder::put(const Object& object)
{
    put(object.identifier);
    put(object.classID);
    put(static_cast<std::uint32_t>(object.properties.size()));
    for (const auto& property : object.properties)
        put(property);
}

std::vector<std::byte> Encoder::finish() &&
{
    const auto length = static_cast<std::uint32_t>(mBytes.size() - kHeaderLength);
    std::memcpy(mBytes.data(), &length, sizeof length);
    return std::move(mBytes);
}

std::string Decoder::getString()
{
    const std::size_t length = get<std::uint32_t>();
    if (mFailed || length > kMaximumStringLength || length > mBytes.size()) {
        mFailed = true;
        return {};
    }
    std::string text(length, '\0');
    std::memcpy(text.data(), mBytes.data(), length);
    mBytes = mBytes.subspan(length);
    return text;
}

std::size_t Decoder::getCount(std::size_t limit)
{
    const std::size_t count = get<std::uint32_t>();
    if (mFailed || count > limit) {
        mFailed = true;
        return 0;
    }
    return count;
}

Address Decoder::getAddress()
{
    Address address;
    address.selector = get<std::uint32_t>();
    address.scope = get<std::uint32_t>();
    address.element = get<std::uint32_t>();
    return address;
}

Format Decoder::getFormat()
{
    Format format;
    format.codec = get<std::uint32_t>();
    format.width = get<std::int32_t>();
    format.height = get<std::int32_t>();
    return format;
}

Value Decoder::getValue()
{
    switch (get<std::uint8_t>()) {
    case 0:
        return std::monostate();
    case 1:
        return get<std::uint32_t>();
    case 2:
        return get<double>();
    case 3:
        return get<bool>();
    case 4:
        return getString();
    case 5: {
        ObjectList list;
        for (auto count = getCount(kMaximumListLength); count > 0; --count)
            list.identifiers.push_back(get<std::uint32_t>());
        return list;
    }
    case 6:
        return getFormat();
    case 7: {
        FormatList list;
        for (auto count = getCount(kMaximumListLength); count > 0; --count)
            list.formats.push_back(getFormat());
        return list;
    }
    default:
        mFailed = true;
        return std::monostate();
    }
}

Property Decoder::getProperty()
{
    Property property;
    property.address = getAddress();
    property.isSettable = get<bool>();
    property.isLive = get<bool>();
    property.value = getValue();
    return property;
}

Object Decoder::getObject()
{
    Object object;
    object.identifier = get<std::uint32_t>();
    object.classID = get<std::uint32_t>();
    for (auto count = getCount(kMaximumProperties); count > 0 && !mFailed; --count)
        object.properties.push_back(getProperty());
    return object;
}

}
