#pragma once

#include <functional>
#include <memory>
#include <string>

/// Follows the PipeWire that serves the user: whether it runs, and which microphone is the default one.
///
/// A PipeWire that ends, or does not run yet, is looked for again after pauses of a quarter of a second at first and
/// two seconds at the most, for as long as the watch lives. While it is connected, nothing here wakes up by itself.
class PipeWireWatch {
public:
    struct Listener {
        /// The connection is there, or lost. Not told about a first attempt that fails.
        std::function<void(bool isConnected)> connectionChanged;
        /// The name of the default microphone's node; empty when there is none.
        std::function<void(const std::string& nodeName)> defaultMicrophoneChanged;
    };
    /// \param listener  called on the watch's own thread
    explicit PipeWireWatch(Listener listener);
    /// Nothing is told once it has returned.
    ~PipeWireWatch();
    PipeWireWatch(const PipeWireWatch&) = delete;
    PipeWireWatch& operator=(const PipeWireWatch&) = delete;

    /// Begins; returns when a PipeWire that runs has told what it knows, or none does, or after two seconds.
    void start();

private:
    class Connection;
    const std::unique_ptr<Connection> mConnection;
};
