#pragma once

#include "CameraExtension/EventLoop.h"
#include "CameraExtension/PixelConversion.h"

#include <map>
#include <optional>
#include <set>
#include <string>

struct pw_buffer;
struct spa_pod;

/// How the camera presents itself to the host's programs.
struct CameraNodeDescription {
    std::string name; ///< stable and unique: programs remember the camera by it
    std::string description; ///< what people read
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t framesPerSecond = 0;
};

/// The camera as a PipeWire node that drives its own graph: a picture that is shown goes to every consumer at once.
///
/// The node comes back by itself when PipeWire was restarted. Without a consumer it does nothing. Belongs to the event
/// loop's thread.
class CameraNode {
public:
    /// \param consumersChanged  called when `consumers` has a new answer
    CameraNode(EventLoop& loop, CameraNodeDescription description, std::function<void()> consumersChanged);
    ~CameraNode();

    /// How many programs take frames now.
    unsigned consumers() const noexcept { return mConsumers; }

    /// Converts \p picture once and hands it to all consumers.
    /// \param presentationNanoseconds  on the host clock
    /// \return false when nobody watches, or no buffer is free because a consumer holds the graph up
    bool show(const BGRAPicture& picture, std::int64_t presentationNanoseconds);
    /// Hands the picture shown last to all consumers again; false when there is none any more.
    bool showAgain(std::int64_t presentationNanoseconds);

private:
    struct Connection;
    struct Memory;
    friend struct Connection;

    void connect();
    void reconnectLater();
    void disconnect();
    bool createStream();
    void streamChanged(int state);
    void formatChanged(const spa_pod* format);
    void addBuffer(pw_buffer* buffer);
    void removeBuffer(pw_buffer* buffer);
    void countConsumers();
    pw_buffer* freeBuffer();
    void push(pw_buffer* buffer, std::int64_t presentationNanoseconds);

    EventLoop& mLoop;
    const CameraNodeDescription mDescription;
    const std::function<void()> mConsumersChanged;
    EventLoop::Watch mReconnectTimer;
    std::chrono::milliseconds mReconnectDelay;
    PixelConversion mConversion;

    std::unique_ptr<Connection> mConnection;
    std::optional<CameraPixelFormat> mFormat;
    std::map<pw_buffer*, Memory> mBuffers;
    pw_buffer* mShownLast = nullptr;
    bool mIsStreaming = false;
    bool mIsAbsenceReported = false;
    std::uint64_t mSequence = 0;
    /// Links that leave the node, by their number in the registry.
    std::set<std::uint32_t> mLinks;
    unsigned mConsumers = 0;
};
