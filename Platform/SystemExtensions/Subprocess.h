#pragma once

#include <chrono>
#include <string>
#include <vector>

/// A program that is run to its end: its exit status and what it wrote.
struct SubprocessResult {
    /// -1 when it could not be started, was ended by a signal or ran out of time; \p output then says which.
    int status = -1;
    /// Both its outputs, the first 4096 bytes, without the last line end.
    std::string output;
    /// Whether it was killed because its time was over or because it was cancelled.
    bool isKilled = false;

    bool isSuccess() const noexcept { return status == 0; }
};

/// Runs a program and waits for it, no longer than \p limit, after which it is killed. It inherits the environment and
/// no signal settings.
/// \param arguments  the program, found in PATH unless it has a slash, and its arguments
/// \param cancellation  a descriptor that ends the program and the wait when it becomes readable; -1 for none
SubprocessResult runSubprocess(
    std::vector<std::string> arguments, std::chrono::milliseconds limit, int cancellation = -1);
