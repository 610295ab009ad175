#include "Platform/CoreMediaIO/WireProtocol.h"

#include "Platform/CoreMediaIO/WireCoding.h"

namespace CameraWire {

namespace {

template <class T> std::optional<T> ifWhole(const Decoder& decoder, T message)
{
    if (!decoder.isWhole())
        return std::nullopt;
    return message;
}

}

std::vector<std::byte> encode(const Hello& message, std::uint32_t serial)
{
    Encoder encoder(Kind::Hello, serial);
    encoder.put(message.magic);
    encoder.put(message.version);
    return std::move(encoder).finish();
}

template <> std::optional<Hello> decode<Hello>(std::span<const std::byte> body)
{
    Decoder decoder(body);
    Hello message;
    message.magic = decoder.get<std::uint32_t>();
    message.version = decoder.get<std::uint32_t>();
    return ifWhole(decoder, message);
}

std::vector<std::byte> encode(const Welcome& message, std::uint32_t serial)
{
    Encoder encoder(Kind::Welcome, serial);
    encoder.put(message.magic);
    encoder.put(message.version);
    encoder.put(std::string_view(message.bundleIdentifier));
    encoder.put(std::string_view(message.bundleVersion));
    encoder.put(message.device);
    encoder.put(static_cast<std::uint32_t>(message.objects.size()));
    for (const auto& object : message.objects)
        encoder.put(object);
    return std::move(encoder).finish();
}

template <> std::optional<Welcome> decode<Welcome>(std::span<const std::byte> body)
{
    Decoder decoder(body);
    Welcome message;
    message.magic = decoder.get<std::uint32_t>();
    message.version = decoder.get<std::uint32_t>();
    message.bundleIdentifier = decoder.getString();
    message.bundleVersion = decoder.getString();
    message.device = decoder.get<std::uint32_t>();
    for (auto count = decoder.getCount(kMaximumObjects); count > 0; --count)
        message.objects.push_back(decoder.getObject());
    return ifWhole(decoder, std::move(message));
}

std::vector<std::byte> encode(const GetProperty& message, std::uint32_t serial)
{
    Encoder encoder(Kind::GetProperty, serial);
    encoder.put(message.object);
    encoder.put(message.address);
    return std::move(encoder).finish();
}

template <> std::optional<GetProperty> decode<GetProperty>(std::span<const std::byte> body)
{
    Decoder decoder(body);
    GetProperty message;
    message.object = decoder.get<std::uint32_t>();
    message.address = decoder.getAddress();
    return ifWhole(decoder, message);
}

std::vector<std::byte> encode(const SetProperty& message, std::uint32_t serial)
{
    Encoder encoder(Kind::SetProperty, serial);
    encoder.put(message.object);
    encoder.put(message.address);
    encoder.put(message.value);
    return std::move(encoder).finish();
}

template <> std::optional<SetProperty> decode<SetProperty>(std::span<const std::byte> body)
{
    Decoder decoder(body);
    SetProperty message;
    message.object = decoder.get<std::uint32_t>();
    message.address = decoder.getAddress();
    message.value = decoder.getValue();
    return ifWhole(decoder, std::move(message));
}

std::vector<std::byte> encode(Kind kind, const StreamRequest& message, std::uint32_t serial)
{
    Encoder encoder(kind, serial);
    encoder.put(message.stream);
    encoder.put(message.generation);
    return std::move(encoder).finish();
}

template <> std::optional<StreamRequest> decode<StreamRequest>(std::span<const std::byte> body)
{
    Decoder decoder(body);
    StreamRequest message;
    message.stream = decoder.get<std::uint32_t>();
    message.generation = decoder.get<std::uint32_t>();
    return ifWhole(decoder, message);
}

std::vector<std::byte> encode(const DefineSurface& message)
{
    Encoder encoder(Kind::DefineSurface, 0);
    encoder.put(message.number);
    encoder.put(message.width);
    encoder.put(message.height);
    encoder.put(message.pixelFormat);
    encoder.put(message.bytesPerRow);
    return std::move(encoder).finish();
}

/// Four bytes a pixel, rows that hold their pixels: no other surface can be shown.
template <> std::optional<DefineSurface> decode<DefineSurface>(std::span<const std::byte> body)
{
    Decoder decoder(body);
    DefineSurface message;
    message.number = decoder.get<std::uint32_t>();
    message.width = decoder.get<std::uint32_t>();
    message.height = decoder.get<std::uint32_t>();
    message.pixelFormat = decoder.get<std::uint32_t>();
    message.bytesPerRow = decoder.get<std::uint32_t>();
    const auto isSide = [](std::uint32_t side) { return side > 0 && side <= kMaximumSurfaceSide; };
    if (!isSide(message.width) || !isSide(message.height))
        return std::nullopt;
    if (message.bytesPerRow < message.width * 4 || message.bytesPerRow > kMaximumSurfaceSide * 8
        || message.bytesPerRow % 4 != 0)
        return std::nullopt;
    return ifWhole(decoder, message);
}

std::vector<std::byte> encode(const ForgetSurface& message)
{
    Encoder encoder(Kind::ForgetSurface, 0);
    encoder.put(message.number);
    return std::move(encoder).finish();
}

template <> std::optional<ForgetSurface> decode<ForgetSurface>(std::span<const std::byte> body)
{
    Decoder decoder(body);
    ForgetSurface message;
    message.number = decoder.get<std::uint32_t>();
    return ifWhole(decoder, message);
}

std::vector<std::byte> encode(const Frame& message)
{
    Encoder encoder(Kind::Frame, 0);
    encoder.put(message.stream);
    encoder.put(message.generation);
    encoder.put(message.token);
    encoder.put(message.surface);
    encoder.put(message.presentationNanoseconds);
    return std::move(encoder).finish();
}

template <> std::optional<Frame> decode<Frame>(std::span<const std::byte> body)
{
    Decoder decoder(body);
    Frame message;
    message.stream = decoder.get<std::uint32_t>();
    message.generation = decoder.get<std::uint32_t>();
    message.token = decoder.get<std::uint64_t>();
    message.surface = decoder.get<std::uint32_t>();
    message.presentationNanoseconds = decoder.get<std::int64_t>();
    return ifWhole(decoder, message);
}

std::vector<std::byte> encode(const Quit&, std::uint32_t serial)
{
    return Encoder(Kind::Quit, serial).finish();
}

template <> std::optional<Quit> decode<Quit>(std::span<const std::byte> body)
{
    return ifWhole(Decoder(body), Quit {});
}

std::vector<std::byte> encode(const Reply& message, std::uint32_t serial)
{
    Encoder encoder(Kind::Reply, serial);
    encoder.put(message.status);
    encoder.put(message.value);
    return std::move(encoder).finish();
}

template <> std::optional<Reply> decode<Reply>(std::span<const std::byte> body)
{
    Decoder decoder(body);
    Reply message;
    message.status = decoder.get<std::int32_t>();
    message.value = decoder.getValue();
    return ifWhole(decoder, std::move(message));
}

std::vector<std::byte> encode(const FrameConsumed& message)
{
    Encoder encoder(Kind::FrameConsumed, 0);
    encoder.put(message.generation);
    encoder.put(message.token);
    return std::move(encoder).finish();
}

template <> std::optional<FrameConsumed> decode<FrameConsumed>(std::span<const std::byte> body)
{
    Decoder decoder(body);
    FrameConsumed message;
    message.generation = decoder.get<std::uint32_t>();
    message.token = decoder.get<std::uint64_t>();
    return ifWhole(decoder, message);
}

}
