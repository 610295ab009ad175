#include "Platform/CoreMediaIO/ExtensionObjects.h"

#include <algorithm>
#include <cstring>

using namespace CameraWire;

namespace {

CameraWire::Address wireAddress(const CMIOObjectPropertyAddress& address)
{
    return { address.mSelector, address.mScope, address.mElement };
}

Ref<CFType> formatObject(const Format& format)
{
    return make<CMFormatDescription>(format.codec, CMVideoDimensions { format.width, format.height });
}

/// The reference goes to whoever reads the bytes.
void writeObject(Ref<CFType> object, std::span<std::byte> data)
{
    CFType* const reference = object.leak();
    std::memcpy(data.data(), &reference, sizeof reference);
}

template <class T> std::optional<Value> readScalar(std::span<const std::byte> data)
{
    T value {};
    if (data.size() != sizeof value)
        return std::nullopt;
    std::memcpy(&value, data.data(), sizeof value);
    return Value(value);
}

}

ExtensionObjects::ExtensionObjects(Welcome welcome, CMIOObjectID firstIdentifier)
    : mWelcome(std::move(welcome))
    , mFirst(firstIdentifier)
{
}

CMIOObjectID ExtensionObjects::identifierOf(std::uint32_t wireIdentifier) const
{
    const auto found = std::ranges::find(mWelcome.objects, wireIdentifier, &Object::identifier);
    if (found == mWelcome.objects.end())
        return kCMIOObjectUnknown;
    return mFirst + static_cast<CMIOObjectID>(found - mWelcome.objects.begin());
}

const Object* ExtensionObjects::object(CMIOObjectID identifier) const
{
    if (identifier < mFirst || identifier - mFirst >= mWelcome.objects.size())
        return nullptr;
    return &mWelcome.objects[identifier - mFirst];
}

const Property* ExtensionObjects::property(CMIOObjectID identifier, const CMIOObjectPropertyAddress& address) const
{
    const auto* const owner = object(identifier);
    if (!owner)
        return nullptr;
    const auto found = std::ranges::find(owner->properties, wireAddress(address), &Property::address);
    return found == owner->properties.end() ? nullptr : &*found;
}

std::string ExtensionObjects::deviceUID() const
{
    const auto* const uid = property(device(), { kCMIODevicePropertyDeviceUID, kCMIOObjectPropertyScopeGlobal, 0 });
    const auto* const text = uid ? std::get_if<std::string>(&uid->value) : nullptr;
    return text ? *text : std::string();
}

bool ExtensionObjects::hasStream(CMIOObjectPropertyScope scope, CMIOStreamID stream) const
{
    const auto* const streams = property(device(), { kCMIODevicePropertyStreams, scope, 0 });
    const auto* const list = streams ? std::get_if<ObjectList>(&streams->value) : nullptr;
    return list && stream != kCMIOObjectUnknown
        && std::ranges::any_of(
            list->identifiers, [&](std::uint32_t identifier) { return identifierOf(identifier) == stream; });
}

std::size_t ExtensionObjects::sizeOf(const Value& value)
{
    if (std::holds_alternative<std::monostate>(value))
        return 0;
    if (std::holds_alternative<std::uint32_t>(value))
        return sizeof(std::uint32_t);
    if (std::holds_alternative<double>(value))
        return sizeof(double);
    if (std::holds_alternative<bool>(value))
        return sizeof(bool);
    if (const auto* const list = std::get_if<ObjectList>(&value))
        return list->identifiers.size() * sizeof(CMIOObjectID);
    return sizeof(CFTypeRef);
}

void ExtensionObjects::write(const Value& value, std::span<std::byte> data) const
{
    if (const auto* const number = std::get_if<std::uint32_t>(&value)) {
        std::memcpy(data.data(), number, sizeof *number);
    } else if (const auto* const real = std::get_if<double>(&value)) {
        std::memcpy(data.data(), real, sizeof *real);
    } else if (const auto* const truth = std::get_if<bool>(&value)) {
        std::memcpy(data.data(), truth, sizeof *truth);
    } else if (const auto* const text = std::get_if<std::string>(&value)) {
        writeObject(CFString::create(*text), data);
    } else if (const auto* const format = std::get_if<Format>(&value)) {
        writeObject(formatObject(*format), data);
    } else if (const auto* const formats = std::get_if<FormatList>(&value)) {
        std::vector<Ref<CFType>> objects;
        std::ranges::transform(formats->formats, std::back_inserter(objects), formatObject);
        writeObject(make<CFArray>(std::move(objects)), data);
    } else if (const auto* const list = std::get_if<ObjectList>(&value)) {
        for (std::size_t index = 0; index < list->identifiers.size(); ++index) {
            const auto identifier = identifierOf(list->identifiers[index]);
            std::memcpy(data.data() + index * sizeof identifier, &identifier, sizeof identifier);
        }
    }
}

std::optional<Value> ExtensionObjects::read(const Value& like, std::span<const std::byte> data)
{
    if (std::holds_alternative<std::uint32_t>(like))
        return readScalar<std::uint32_t>(data);
    if (std::holds_alternative<double>(like))
        return readScalar<double>(data);
    if (std::holds_alternative<bool>(like)) {
        const auto byte = readScalar<bool>(data);
        return byte;
    }
    if (!std::holds_alternative<std::string>(like) || data.size() != sizeof(CFTypeRef))
        return std::nullopt;
    CFTypeRef reference = nullptr;
    std::memcpy(&reference, data.data(), sizeof reference);
    const auto* const text = kindOf<CFString>(reference);
    return text ? std::optional<Value>(text->string()) : std::nullopt;
}

std::string ExtensionObjects::describe(const Value& value) const
{
    if (const auto* const number = std::get_if<std::uint32_t>(&value))
        return CFFormat("0x%08x", { *number });
    if (const auto* const real = std::get_if<double>(&value))
        return CFFormat("%f", { *real });
    if (const auto* const truth = std::get_if<bool>(&value))
        return *truth ? "true" : "false";
    if (const auto* const text = std::get_if<std::string>(&value))
        return '"' + *text + '"';
    if (const auto* const list = std::get_if<ObjectList>(&value)) {
        std::string all;
        for (const auto identifier : list->identifiers)
            all += CFFormat(all.empty() ? "%u" : ", %u", { identifierOf(identifier) });
        return '[' + all + ']';
    }
    if (const auto* const format = std::get_if<Format>(&value))
        return CFFormat("%dx%d", { format->width, format->height });
    if (const auto* const formats = std::get_if<FormatList>(&value))
        return CFFormat("%u formats", { formats->formats.size() });
    return "nothing";
}
