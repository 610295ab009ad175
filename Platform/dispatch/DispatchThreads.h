#pragma once

#include <functional>

namespace DispatchMain {

/// Has \p stop called by `stopThreads`, before it stops the queues' own threads: for threads that somebody else keeps
/// and that must not run while the process destroys its static objects and unloads its libraries. Any thread.
void whenThreadsStop(std::function<void()> stop);

}
