#pragma once

#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <memory>

struct pw_main_loop;
struct pw_loop;

/// The extension's one thread: descriptors, timers and signals, on PipeWire's own loop, so that the camera's node lives
/// on it too. Nothing runs while nothing happens. All operations belong to the thread that calls `run`.
class EventLoop {
public:
    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    void run();
    void quit();
    pw_loop* loop() const noexcept { return mLoop; }

    struct Source;
    struct SourceDeleter {
        void operator()(Source* source) const;
    };
    /// Ends the watch when it goes; may go inside its own callback.
    using Watch = std::unique_ptr<Source, SourceDeleter>;

    /// Calls \p readable whenever \p descriptor, which stays the caller's, has something to read or was hung up.
    Watch watchDescriptor(int descriptor, std::function<void()> readable);
    Watch watchSignal(int number, std::function<void()> arrived);
    /// A timer that is not set.
    Watch makeTimer(std::function<void()> expired);
    /// Lets the timer expire once after \p delay; a negative delay unsets it.
    void setTimer(const Watch& timer, std::chrono::nanoseconds delay);

private:
    std::unique_ptr<pw_main_loop, void (*)(pw_main_loop*)> mMain;
    pw_loop* mLoop;
};
