#pragma once

#include <functional>

/// For hosts where no service manager looks after the extension: a process that outlives the one that started it, and
/// that starts the extension again when it crashes.
namespace Supervisor {

/// Writes the identifier of a new process and returns 0 at once in the calling process. The new one, in a session of
/// its own and with its words going to the log in the runtime folder, runs \p work in a child, again and again until it
/// returns 0, crashes at once too often, or the supervisor is told to end.
int detach(const std::function<int()>& work);

}
