#include "CameraExtension/CameraNode.h"

#include "CameraExtension/CameraFormats.h"
#include "CameraExtension/MappedMemory.h"
#include "Platform/Foundation/NSLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>

namespace {

constexpr std::chrono::milliseconds firstReconnectDelay { 100 };
constexpr std::chrono::milliseconds longestReconnectDelay { 2000 };

}

struct CameraNode::Memory : MappedMemory {
    using MappedMemory::MappedMemory;
};

/// All that belongs to one connection to PipeWire, destroyed in the opposite order of its making.
struct CameraNode::Connection {
    explicit Connection(CameraNode& owner)
        : node(owner)
    {
    }
    ~Connection()
    {
        if (stream) {
            spa_hook_remove(&streamListener);
            pw_stream_destroy(stream);
        }
        if (registry) {
            spa_hook_remove(&registryListener);
            pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
        }
        if (core) {
            spa_hook_remove(&coreListener);
            pw_core_disconnect(core);
        }
        if (context)
            pw_context_destroy(context);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    static CameraNode& nodeOf(void* data) { return static_cast<Connection*>(data)->node; }
    static void coreError(void* data, std::uint32_t id, int sequence, int result, const char* message);
    static void linkAppeared(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
        std::uint32_t version, const spa_dict* properties);
    static void objectWent(void* data, std::uint32_t id);

    CameraNode& node;
    pw_context* context = nullptr;
    pw_core* core = nullptr;
    pw_registry* registry = nullptr;
    pw_stream* stream = nullptr;
    spa_hook coreListener {};
    spa_hook registryListener {};
    spa_hook streamListener {};
    pw_core_events coreEvents {};
    pw_registry_events registryEvents {};
    pw_stream_events streamEvents {};
};

void CameraNode::Connection::coreError(void* data, std::uint32_t id, int /*sequence*/, int result, const char* message)
{
    // Errors of single objects pass; one of the core itself by EPIPE is the end of the connection.
    if (id != PW_ID_CORE || result != -EPIPE)
        return;
    NSLog(CFSTR("PipeWire has gone (%s); the camera comes back with it"), message);
    nodeOf(data).reconnectLater();
}

void CameraNode::Connection::linkAppeared(void* data, std::uint32_t id, std::uint32_t /*permissions*/, const char* type,
    std::uint32_t /*version*/, const spa_dict* properties)
{
    auto& self = *static_cast<Connection*>(data);
    if (!properties || !self.stream || std::string_view(type) != PW_TYPE_INTERFACE_Link)
        return;
    const char* const output = spa_dict_lookup(properties, PW_KEY_LINK_OUTPUT_NODE);
    if (!output || std::strtoul(output, nullptr, 10) != pw_stream_get_node_id(self.stream))
        return;
    self.node.mLinks.insert(id);
    self.node.countConsumers();
}

void CameraNode::Connection::objectWent(void* data, std::uint32_t id)
{
    auto& node = nodeOf(data);
    if (node.mLinks.erase(id) != 0)
        node.countConsumers();
}

CameraNode::CameraNode(EventLoop& loop, CameraNodeDescription description, std::function<void()> consumersChanged)
    : mLoop(loop)
    , mDescription(std::move(description))
    , mConsumersChanged(std::move(consumersChanged))
    , mReconnectTimer(loop.makeTimer([this] { connect(); }))
    , mReconnectDelay(firstReconnectDelay)
    , mConversion(mDescription.width, mDescription.height)
{
    mLoop.setTimer(mReconnectTimer, std::chrono::nanoseconds(0));
}

CameraNode::~CameraNode()
{
    mConnection.reset();
}

void CameraNode::connect()
{
    disconnect();
    mConnection = std::make_unique<Connection>(*this);
    auto& connection = *mConnection;
    connection.context = pw_context_new(mLoop.loop(), nullptr, 0);
    connection.core = connection.context ? pw_context_connect(connection.context, nullptr, 0) : nullptr;
    if (!connection.core) {
        if (!mIsAbsenceReported)
            NSLog(CFSTR("PipeWire does not answer (%s); the camera waits for it"), std::strerror(errno));
        mIsAbsenceReported = true;
        reconnectLater();
        return;
    }
    connection.coreEvents.version = PW_VERSION_CORE_EVENTS;
    connection.coreEvents.error = &Connection::coreError;
    pw_core_add_listener(connection.core, &connection.coreListener, &connection.coreEvents, &connection);

    connection.registry = pw_core_get_registry(connection.core, PW_VERSION_REGISTRY, 0);
    if (connection.registry) {
        connection.registryEvents.version = PW_VERSION_REGISTRY_EVENTS;
        connection.registryEvents.global = &Connection::linkAppeared;
        connection.registryEvents.global_remove = &Connection::objectWent;
        pw_registry_add_listener(
            connection.registry, &connection.registryListener, &connection.registryEvents, &connection);
    }
    if (!connection.registry || !createStream()) {
        NSLog(CFSTR("The camera's node could not be made (%s)"), std::strerror(errno));
        reconnectLater();
        return;
    }
    mIsAbsenceReported = false;
    mReconnectDelay = firstReconnectDelay;
}

/// Not at once: the caller may be one of the connection's own callbacks.
void CameraNode::reconnectLater()
{
    mLoop.setTimer(mReconnectTimer, mReconnectDelay);
    mReconnectDelay = std::min(mReconnectDelay * 2, longestReconnectDelay);
    mIsStreaming = false;
    mLinks.clear();
    countConsumers();
}

void CameraNode::disconnect()
{
    mConnection.reset();
    mBuffers.clear();
    mShownLast = nullptr;
    mFormat.reset();
    mIsStreaming = false;
    mLinks.clear();
    countConsumers();
}

bool CameraNode::createStream()
{
    auto& connection = *mConnection;
    auto* const properties = pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture",
        PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_MEDIA_ROLE, "Camera", PW_KEY_NODE_NAME, mDescription.name.c_str(),
        PW_KEY_NODE_NICK, mDescription.description.c_str(), PW_KEY_NODE_DESCRIPTION, mDescription.description.c_str(),
        PW_KEY_NODE_VIRTUAL, "true", nullptr);
    connection.stream = pw_stream_new(connection.core, mDescription.description.c_str(), properties);
    if (!connection.stream)
        return false;

    auto& events = connection.streamEvents;
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char* error) {
        if (error)
            NSLog(CFSTR("The camera's node: %s"), error);
        Connection::nodeOf(data).streamChanged(state);
    };
    events.param_changed = [](void* data, std::uint32_t id, const spa_pod* parameter) {
        if (id == SPA_PARAM_Format)
            Connection::nodeOf(data).formatChanged(parameter);
    };
    events.add_buffer = [](void* data, pw_buffer* buffer) { Connection::nodeOf(data).addBuffer(buffer); };
    events.remove_buffer = [](void* data, pw_buffer* buffer) { Connection::nodeOf(data).removeBuffer(buffer); };
    pw_stream_add_listener(connection.stream, &connection.streamListener, &events, &connection);

    std::array<std::uint8_t, 4096> memory;
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), static_cast<std::uint32_t>(memory.size()));
    std::vector<const spa_pod*> formats;
    for (const auto format : CameraFormats::kOffered)
        formats.push_back(CameraFormats::build(builder, SPA_PARAM_EnumFormat, format, mDescription.width,
            mDescription.height, mDescription.framesPerSecond));
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_ALLOC_BUFFERS);
    return pw_stream_connect(connection.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, formats.data(),
               static_cast<std::uint32_t>(formats.size()))
        >= 0;
}

void CameraNode::streamChanged(int state)
{
    mIsStreaming = state == PW_STREAM_STATE_STREAMING;
    if (state == PW_STREAM_STATE_ERROR)
        reconnectLater();
    countConsumers();
}

void CameraNode::formatChanged(const spa_pod* format)
{
    mFormat = format ? CameraFormats::parse(format) : std::nullopt;
    if (!mFormat)
        return;
    std::array<std::uint8_t, 1024> memory;
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory.data(), static_cast<std::uint32_t>(memory.size()));
    auto parameters = CameraFormats::buildBufferParameters(builder, *mFormat, mDescription.width, mDescription.height);
    pw_stream_update_params(mConnection->stream, parameters.data(), static_cast<std::uint32_t>(parameters.size()));
}

void CameraNode::addBuffer(pw_buffer* buffer)
{
    if (!mFormat)
        return;
    const auto layout = layoutOf(*mFormat, mDescription.width, mDescription.height);
    Memory memory("tovrin-camera", layout.bytes);
    if (!memory) {
        pw_stream_set_error(mConnection->stream, -ENOMEM, "no memory for a picture: %s", std::strerror(errno));
        return;
    }
    auto& data = buffer->buffer->datas[0];
    data.type = SPA_DATA_MemFd;
    data.flags = SPA_DATA_FLAG_READABLE | SPA_DATA_FLAG_WRITABLE;
    data.fd = memory.descriptor();
    data.mapoffset = 0;
    data.maxsize = static_cast<std::uint32_t>(layout.bytes);
    data.data = memory.bytes().data();
    data.chunk->offset = 0;
    data.chunk->size = data.maxsize;
    data.chunk->stride = static_cast<std::int32_t>(layout.stride);
    mBuffers.emplace(buffer, std::move(memory));
}

void CameraNode::removeBuffer(pw_buffer* buffer)
{
    mBuffers.erase(buffer);
    if (mShownLast == buffer)
        mShownLast = nullptr;
}

void CameraNode::countConsumers()
{
    // A link that is not running yet, or paused at its other end, needs no frames.
    const auto links = static_cast<unsigned>(mLinks.size());
    const auto consumers = mIsStreaming ? std::max(links, 1u) : 0u;
    if (consumers == mConsumers)
        return;
    mConsumers = consumers;
    mConsumersChanged();
}

pw_buffer* CameraNode::freeBuffer()
{
    if (!mIsStreaming || !mFormat || !mConnection)
        return nullptr;
    auto* const stream = mConnection->stream;
    // While the graph is held up one picture waits in the stream and no more: each would delay all later ones.
    // (Flushing the stream is no way to have the newest instead, since that also pauses it.)
    pw_time time {};
    if (pw_stream_get_time_n(stream, &time, sizeof time) >= 0 && time.queued_buffers > 0) {
        pw_stream_trigger_process(stream);
        return nullptr;
    }
    return pw_stream_dequeue_buffer(stream);
}

bool CameraNode::show(const BGRAPicture& picture, std::int64_t presentationNanoseconds)
{
    auto* const buffer = freeBuffer();
    const auto memory = mBuffers.find(buffer);
    if (memory == mBuffers.end())
        return false;
    mConversion.convert(picture, *mFormat, memory->second.bytes());
    push(buffer, presentationNanoseconds);
    return true;
}

bool CameraNode::showAgain(std::int64_t presentationNanoseconds)
{
    const auto last = mBuffers.find(mShownLast);
    if (last == mBuffers.end())
        return false;
    auto* const buffer = freeBuffer();
    const auto memory = mBuffers.find(buffer);
    if (memory == mBuffers.end())
        return false;
    if (memory != last)
        std::ranges::copy(last->second.bytes(), memory->second.bytes().begin());
    push(buffer, presentationNanoseconds);
    return true;
}

void CameraNode::push(pw_buffer* buffer, std::int64_t presentationNanoseconds)
{
    const auto layout = layoutOf(*mFormat, mDescription.width, mDescription.height);
    auto* const chunk = buffer->buffer->datas[0].chunk;
    chunk->offset = 0;
    chunk->size = static_cast<std::uint32_t>(layout.bytes);
    chunk->stride = static_cast<std::int32_t>(layout.stride);
    chunk->flags = 0;
    if (auto* const header = static_cast<spa_meta_header*>(
            spa_buffer_find_meta_data(buffer->buffer, SPA_META_Header, sizeof(spa_meta_header)))) {
        header->flags = 0;
        header->offset = 0;
        header->pts = presentationNanoseconds;
        header->dts_offset = 0;
        header->seq = mSequence++;
    }
    mShownLast = buffer;
    pw_stream_queue_buffer(mConnection->stream, buffer);
    pw_stream_trigger_process(mConnection->stream);
}
