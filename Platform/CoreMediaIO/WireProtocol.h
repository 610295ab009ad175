#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// What a camera extension and its clients say to one another over the extension's socket.
///
/// Each message is a header of three 32-bit words in the machine's byte order (bytes that follow, kind, serial) and a
/// body. A client speaks first, with a Hello; the extension answers with its object tree. Requests carry a serial that
/// the reply repeats. Frames lie in surfaces: a surface is announced once, its memfd travelling beside the message,
/// and is named by its number from then on.
///
/// A reader trusts nothing: whatever does not decode to the last byte within the limits below ends the connection.
namespace CameraWire {

inline constexpr std::uint32_t kMagic = 0x544F5643;
/// Raised when a message changes; two sides with different versions part after the Hello.
inline constexpr std::uint32_t kVersion = 1;
inline constexpr std::size_t kHeaderLength = 12;
inline constexpr std::size_t kMaximumBodyLength = 64 * 1024;
inline constexpr std::size_t kMaximumStringLength = 1024;
inline constexpr std::size_t kMaximumObjects = 64;
inline constexpr std::size_t kMaximumProperties = 64;
inline constexpr std::size_t kMaximumListLength = 64;
/// Surfaces that one client may have announced at a time. Clients forget the one unused for longest before the last.
inline constexpr std::size_t kMaximumSurfaces = 64;
inline constexpr std::uint32_t kMaximumSurfaceSide = 16384;
inline constexpr std::size_t kMaximumConnections = 16;
/// Descriptors that may have arrived without their message.
inline constexpr std::size_t kMaximumWaitingDescriptors = 4;

enum class Kind : std::uint32_t {
    // From a client.
    Hello = 1,
    GetProperty = 2,
    SetProperty = 3,
    StartStream = 4,
    StopStream = 5,
    OpenQueue = 6,
    DefineSurface = 7, ///< with one descriptor
    ForgetSurface = 8,
    Frame = 9,
    Quit = 10,
    // From the extension.
    Welcome = 100,
    Reply = 101,
    FrameConsumed = 102,
};

/// A picture format as a stream describes it.
struct Format {
    std::uint32_t codec = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    friend bool operator==(const Format&, const Format&) = default;
};

/// Identifiers of objects in the extension's tree.
struct ObjectList {
    std::vector<std::uint32_t> identifiers;
    friend bool operator==(const ObjectList&, const ObjectList&) = default;
};

struct FormatList {
    std::vector<Format> formats;
    friend bool operator==(const FormatList&, const FormatList&) = default;
};

/// A property's value; nothing, a 32-bit value, a double, a boolean, a string, identifiers, one format or several.
using Value = std::variant<std::monostate, std::uint32_t, double, bool, std::string, ObjectList, Format, FormatList>;

struct Address {
    std::uint32_t selector = 0;
    std::uint32_t scope = 0;
    std::uint32_t element = 0;
    friend bool operator==(const Address&, const Address&) = default;
};

struct Property {
    Address address;
    bool isSettable = false;
    /// The value may change: readers ask for it each time.
    bool isLive = false;
    Value value;
    friend bool operator==(const Property&, const Property&) = default;
};

struct Object {
    std::uint32_t identifier = 0;
    std::uint32_t classID = 0;
    std::vector<Property> properties;
    friend bool operator==(const Object&, const Object&) = default;
};

struct Hello {
    std::uint32_t magic = kMagic;
    std::uint32_t version = kVersion;
};

struct Welcome {
    std::uint32_t magic = kMagic;
    std::uint32_t version = kVersion;
    std::string bundleIdentifier;
    std::string bundleVersion;
    std::uint32_t device = 0;
    std::vector<Object> objects;
};

struct GetProperty {
    std::uint32_t object = 0;
    Address address;
};

struct SetProperty {
    std::uint32_t object = 0;
    Address address;
    Value value;
};

/// Start, stop and open name a stream of the tree.
struct StreamRequest {
    std::uint32_t stream = 0;
    /// For an opened queue: frames carry it, so that those of an earlier queue are told apart.
    std::uint32_t generation = 0;
};

struct DefineSurface {
    std::uint32_t number = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t pixelFormat = 0;
    std::uint32_t bytesPerRow = 0;
};

struct ForgetSurface {
    std::uint32_t number = 0;
};

struct Frame {
    std::uint32_t stream = 0;
    std::uint32_t generation = 0;
    std::uint64_t token = 0;
    std::uint32_t surface = 0;
    std::int64_t presentationNanoseconds = 0;
};

struct Quit { };

struct Reply {
    std::int32_t status = 0;
    Value value;
};

struct FrameConsumed {
    std::uint32_t generation = 0;
    std::uint64_t token = 0;
};

/// A whole message as it came.
struct Message {
    Kind kind {};
    std::uint32_t serial = 0;
    std::vector<std::byte> body;
};

/// The bytes of a message, header included.
std::vector<std::byte> encode(const Hello& message, std::uint32_t serial = 0);
std::vector<std::byte> encode(const Welcome& message, std::uint32_t serial = 0);
std::vector<std::byte> encode(const GetProperty& message, std::uint32_t serial);
std::vector<std::byte> encode(const SetProperty& message, std::uint32_t serial);
/// \param kind  StartStream, StopStream or OpenQueue
std::vector<std::byte> encode(Kind kind, const StreamRequest& message, std::uint32_t serial);
std::vector<std::byte> encode(const DefineSurface& message);
std::vector<std::byte> encode(const ForgetSurface& message);
std::vector<std::byte> encode(const Frame& message);
std::vector<std::byte> encode(const Quit& message, std::uint32_t serial = 0);
std::vector<std::byte> encode(const Reply& message, std::uint32_t serial);
std::vector<std::byte> encode(const FrameConsumed& message);

/// The body as a \p T; nothing unless it is one, to the last byte and within the limits.
template <class T> std::optional<T> decode(std::span<const std::byte> body);
template <> std::optional<Hello> decode<Hello>(std::span<const std::byte> body);
template <> std::optional<Welcome> decode<Welcome>(std::span<const std::byte> body);
template <> std::optional<GetProperty> decode<GetProperty>(std::span<const std::byte> body);
template <> std::optional<SetProperty> decode<SetProperty>(std::span<const std::byte> body);
template <> std::optional<StreamRequest> decode<StreamRequest>(std::span<const std::byte> body);
template <> std::optional<DefineSurface> decode<DefineSurface>(std::span<const std::byte> body);
template <> std::optional<ForgetSurface> decode<ForgetSurface>(std::span<const std::byte> body);
template <> std::optional<Frame> decode<Frame>(std::span<const std::byte> body);
template <> std::optional<Quit> decode<Quit>(std::span<const std::byte> body);
template <> std::optional<Reply> decode<Reply>(std::span<const std::byte> body);
template <> std::optional<FrameConsumed> decode<FrameConsumed>(std::span<const std::byte> body);

}
