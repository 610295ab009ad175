#pragma once

#include "Platform/CoreMediaIO/ExtensionConnection.h"

#include <deque>

/// The buffers of one opened queue of a sink stream on their way to the extension and back.
///
/// Each buffer is given back exactly once, by the callback and then by dropping the queue's reference: when the
/// extension consumed it, when it cannot be sent, or when the queue is closed. That happens on the platform's thread,
/// through \p post, and never inside the call that caused it.
class SinkQueue : public std::enable_shared_from_this<SinkQueue> {
public:
    using Post = std::function<void(std::function<void()>)>;

    SinkQueue(std::shared_ptr<ExtensionConnection> connection, Post post, CMIOStreamID stream, std::uint32_t wireStream,
        std::uint32_t generation, CMIODeviceStreamQueueAlteredProc altered, CFTypeRef alteredRefCon);

    /// Makes the queue; null where the platform fails.
    Ref<CMSimpleQueue> createQueue();
    std::uint32_t generation() const noexcept { return mGeneration; }
    void start();
    void stop();
    /// On the platform's thread.
    void consumed(std::uint64_t token);
    /// Gives everything back; what is put into the queue later is given back too.
    void close();

private:
    struct InFlight {
        std::uint64_t token;
        bool isSent;
    };

    void added(CMSimpleQueue& queue, CFType* element);
    void sendWaiting();
    bool sendElement(CFType* element, std::uint64_t token);
    void giveBack(CMSimpleQueue& queue);
    void giveBackAll(CMSimpleQueue& queue);

    const std::shared_ptr<ExtensionConnection> mConnection;
    const Post mPost;
    const CMIOStreamID mStream;
    const std::uint32_t mWireStream;
    const std::uint32_t mGeneration;
    const CMIODeviceStreamQueueAlteredProc mAltered;
    const bool mHasRefCon;
    const WeakRef<CFType> mRefCon;

    std::mutex mLock;
    /// Null once closed; the queue holds this object through its handler, so the circle is broken then.
    Ref<CMSimpleQueue> mQueue;
    std::deque<CFType*> mWaiting; ///< in the queue, not sent because the stream is stopped
    std::deque<InFlight> mInFlight; ///< in the queue, in its order, and before those that wait
    std::uint64_t mLastToken = 0;
    bool mIsStarted = false;
};
