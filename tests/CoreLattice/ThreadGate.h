#pragma once

#include "CoreLattice/RenderThread.h"

#include <future>

/// Holds up one of the framework's threads from its next piece of work on until it is opened, or goes.
class ThreadGate {
public:
    explicit ThreadGate(CoreLattice::RenderThread& thread)
    {
        thread.async([opened = std::shared_future<void>(mOpened.get_future())] { opened.wait(); });
    }
    ~ThreadGate() { open(); }
    ThreadGate(const ThreadGate&) = delete;
    ThreadGate& operator=(const ThreadGate&) = delete;

    void open()
    {
        if (!std::exchange(mIsOpen, true))
            mOpened.set_value();
    }

private:
    std::promise<void> mOpened;
    bool mIsOpen = false;
};
