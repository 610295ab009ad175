#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

typedef struct _GstElement GstElement;

/// An independent watcher of a camera node, which notes when it first got which numbered picture.
class NumberReader {
public:
    using Clock = std::chrono::steady_clock;
    struct Watched {
        std::map<std::uint32_t, Clock::time_point> firstSeen;
        std::size_t pictures = 0; ///< all, repetitions too
        std::size_t unreadable = 0; ///< those without a number, as a filter may leave them
    };

    /// \param node  PipeWire's name of the camera
    /// \throws std::runtime_error when the pipeline cannot be made
    explicit NumberReader(const std::string& node);
    ~NumberReader();
    NumberReader(const NumberReader&) = delete;
    NumberReader& operator=(const NumberReader&) = delete;

    /// What was seen since the last `reset`.
    Watched watched() const;
    void reset();

private:
    void run();

    struct Unref {
        void operator()(GstElement* element) const;
    };
    std::unique_ptr<GstElement, Unref> mPipeline;
    std::unique_ptr<GstElement, Unref> mSink;
    mutable std::mutex mLock;
    Watched mWatched;
    bool mIsEnding = false;
    std::thread mThread;
};
