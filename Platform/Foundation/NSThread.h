#pragma once

/// What is asked of threads.
class NSThread {
public:
    /// Whether the calling thread is the main one. From any thread.
    static bool isMainThread() noexcept;
};
