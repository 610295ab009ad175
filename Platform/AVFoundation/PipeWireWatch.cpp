#include "Platform/AVFoundation/PipeWireWatch.h"

#include "Platform/AVFoundation/PipeWireSocket.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/utils/json.h>

namespace {

constexpr long firstRetryPause = 250; ///< milliseconds
constexpr long longestRetryPause = 2000;
constexpr int longestStart = 2; ///< seconds

struct ThreadLoopDeleter {
    void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
};
struct ContextDeleter {
    void operator()(pw_context* context) const { pw_context_destroy(context); }
};
struct CoreDeleter {
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
};
template <class Proxy> struct ProxyDeleter {
    void operator()(Proxy* proxy) const { pw_proxy_destroy(reinterpret_cast<pw_proxy*>(proxy)); }
};

/// The text under "name" in a JSON object.
std::string nameIn(const char* json)
{
    if (!json)
        return {};
    spa_json outer;
    spa_json object;
    spa_json_init(&outer, json, std::strlen(json));
    if (spa_json_enter_object(&outer, &object) <= 0)
        return {};
    char key[128];
    while (spa_json_get_string(&object, key, sizeof key) > 0) {
        char value[1024];
        if (std::strcmp(key, "name") == 0)
            return spa_json_get_string(&object, value, sizeof value) > 0 ? value : "";
        const char* skipped = nullptr;
        if (spa_json_next(&object, &skipped) <= 0)
            break;
    }
    return {};
}

}

/// Everything but the beginning and the end happens on the loop's thread.
class PipeWireWatch::Connection {
public:
    explicit Connection(Listener listener)
        : mListener(std::move(listener))
    {
        pw_init(nullptr, nullptr);
        mLoop.reset(pw_thread_loop_new("PipeWireWatch", nullptr));
        if (!mLoop)
            return;
        mTimer = pw_loop_add_timer(
            pw_thread_loop_get_loop(mLoop.get()),
            [](void* self, uint64_t) { static_cast<Connection*>(self)->connect(); }, this);
    }
    ~Connection()
    {
        if (!mLoop)
            return;
        pw_thread_loop_stop(mLoop.get());
        disconnect();
        pw_loop_destroy_source(pw_thread_loop_get_loop(mLoop.get()), mTimer);
        mLoop = nullptr;
        pw_deinit();
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void start()
    {
        if (!mLoop || pw_thread_loop_start(mLoop.get()) != 0)
            return;
        pw_thread_loop_lock(mLoop.get());
        connect();
        timespec deadline {};
        pw_thread_loop_get_time(mLoop.get(), &deadline, longestStart * SPA_NSEC_PER_SEC);
        while (mCore && !mHasAnswered && pw_thread_loop_timed_wait_full(mLoop.get(), &deadline) == 0) { }
        pw_thread_loop_unlock(mLoop.get());
    }

private:
    void connect();
    void disconnect();
    void tryAgainLater();
    void wait(long milliseconds);
    void lost();
    void globalCame(uint32_t id, const char* type, const spa_dict* properties);
    void propertyChanged(const char* key, const char* value);
    void synced(int sequence);

    const Listener mListener;
    std::unique_ptr<pw_thread_loop, ThreadLoopDeleter> mLoop;
    spa_source* mTimer = nullptr;
    std::unique_ptr<pw_context, ContextDeleter> mContext;
    std::unique_ptr<pw_core, CoreDeleter> mCore;
    std::unique_ptr<pw_registry, ProxyDeleter<pw_registry>> mRegistry;
    std::unique_ptr<pw_metadata, ProxyDeleter<pw_metadata>> mMetadata;
    uint32_t mMetadataIdentifier = SPA_ID_INVALID;
    spa_hook mCoreHook {};
    spa_hook mRegistryHook {};
    spa_hook mMetadataHook {};
    int mSequence = 0;
    int mRoundTrips = 0;
    bool mHasAnswered = false;
    long mPause = firstRetryPause;
    std::string mDefault;
};

void PipeWireWatch::Connection::connect()
{
    static const pw_core_events coreEvents = {
        .version = PW_VERSION_CORE_EVENTS,
        .info = nullptr,
        .done = [](void* self, uint32_t, int sequence) { static_cast<Connection*>(self)->synced(sequence); },
        .ping = nullptr,
        .error =
            [](void* self, uint32_t id, int, int result, const char*) {
                if (id == PW_ID_CORE && result == -EPIPE)
                    static_cast<Connection*>(self)->lost();
            },
        .remove_id = nullptr,
        .bound_id = nullptr,
        .add_mem = nullptr,
        .remove_mem = nullptr,
    };
    static const pw_registry_events registryEvents = {
        .version = PW_VERSION_REGISTRY_EVENTS,
        .global = [](void* self, uint32_t id, uint32_t, const char* type, uint32_t,
                      const spa_dict* properties) { static_cast<Connection*>(self)->globalCame(id, type, properties); },
        .global_remove =
            [](void* self, uint32_t id) {
                auto* const watch = static_cast<Connection*>(self);
                if (id == watch->mMetadataIdentifier)
                    watch->mMetadata = nullptr;
            },
    };
    disconnect();
    // Asked first whether anybody listens, because the library writes a line about each attempt that fails.
    auto socket = connectToPipeWire();
    if (!socket) {
        tryAgainLater();
        return;
    }
    mContext.reset(pw_context_new(
        pw_thread_loop_get_loop(mLoop.get()), pw_properties_new(PW_KEY_CONFIG_NAME, "client.conf", nullptr), 0));
    if (mContext)
        mCore.reset(pw_context_connect_fd(
            mContext.get(), socket.leak(), pw_properties_new(PW_KEY_APP_NAME, "Tovrin", nullptr), 0));
    if (!mCore) {
        tryAgainLater();
        return;
    }
    pw_core_add_listener(mCore.get(), &mCoreHook, &coreEvents, this);
    mRegistry.reset(pw_core_get_registry(mCore.get(), PW_VERSION_REGISTRY, 0));
    pw_registry_add_listener(mRegistry.get(), &mRegistryHook, &registryEvents, this);
    mRoundTrips = 0;
    mSequence = pw_core_sync(mCore.get(), PW_ID_CORE, 0);
}

void PipeWireWatch::Connection::disconnect()
{
    mMetadata = nullptr;
    mMetadataIdentifier = SPA_ID_INVALID;
    mRegistry = nullptr;
    mCore = nullptr;
    mContext = nullptr;
}

void PipeWireWatch::Connection::tryAgainLater()
{
    disconnect();
    wait(mPause);
    mPause = std::min(2 * mPause, longestRetryPause);
}

void PipeWireWatch::Connection::wait(long milliseconds)
{
    timespec value { milliseconds / 1000, milliseconds % 1000 * 1'000'000 };
    pw_loop_update_timer(pw_thread_loop_get_loop(mLoop.get()), mTimer, &value, nullptr, false);
}

void PipeWireWatch::Connection::lost()
{
    // Not torn down here, in the middle of its own event; the timer does that before it connects again.
    if (mHasAnswered)
        mListener.connectionChanged(false);
    mHasAnswered = false;
    mDefault.clear();
    mPause = firstRetryPause;
    wait(mPause);
    pw_thread_loop_signal(mLoop.get(), false);
}

void PipeWireWatch::Connection::globalCame(uint32_t id, const char* type, const spa_dict* properties)
{
    static const pw_metadata_events events = {
        .version = PW_VERSION_METADATA_EVENTS,
        .property =
            [](void* self, uint32_t subject, const char* key, const char*, const char* value) {
                if (subject == PW_ID_CORE)
                    static_cast<Connection*>(self)->propertyChanged(key, value);
                return 0;
            },
    };
    const char* const name = properties ? spa_dict_lookup(properties, PW_KEY_METADATA_NAME) : nullptr;
    if (mMetadata || std::strcmp(type, PW_TYPE_INTERFACE_Metadata) != 0 || !name || std::strcmp(name, "default") != 0)
        return;
    mMetadata.reset(static_cast<pw_metadata*>(pw_registry_bind(mRegistry.get(), id, type, PW_VERSION_METADATA, 0)));
    if (!mMetadata)
        return;
    mMetadataIdentifier = id;
    pw_metadata_add_listener(mMetadata.get(), &mMetadataHook, &events, this);
}

void PipeWireWatch::Connection::propertyChanged(const char* key, const char* value)
{
    if (key && std::strcmp(key, "default.audio.source") != 0)
        return;
    auto name = nameIn(key ? value : nullptr);
    if (name == mDefault)
        return;
    mDefault = std::move(name);
    mListener.defaultMicrophoneChanged(mDefault);
}

void PipeWireWatch::Connection::synced(int sequence)
{
    if (sequence != mSequence || mHasAnswered)
        return;
    // The first round trip brings what is there, the second what is asked of it.
    if (++mRoundTrips < 2) {
        mSequence = pw_core_sync(mCore.get(), PW_ID_CORE, 0);
        return;
    }
    mHasAnswered = true;
    mPause = firstRetryPause;
    mListener.connectionChanged(true);
    pw_thread_loop_signal(mLoop.get(), false);
}

PipeWireWatch::PipeWireWatch(Listener listener)
    : mConnection(std::make_unique<Connection>(std::move(listener)))
{
}

PipeWireWatch::~PipeWireWatch() = default;

void PipeWireWatch::start()
{
    mConnection->start();
}
