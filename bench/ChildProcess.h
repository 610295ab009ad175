#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

/// A program that the benchmark started, with what it starts itself. Ends with this object: politely, then by force.
class ChildProcess {
public:
    /// \param command  program and arguments, found in PATH
    /// \param log  file for its output
    /// \param standardInput  a descriptor for it, or -1 for none; stays the caller's
    /// \throws std::runtime_error when it cannot be started
    ChildProcess(const std::vector<std::string>& command, const std::string& log, int standardInput = -1);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t identifier() const noexcept { return mIdentifier; }
    bool isRunning();
    /// Processor seconds, user and system, of the program and of all that it started and still runs or has waited for.
    double processorSeconds() const;
    /// Memory that only this program and its children keep resident, in MiB (proportional set size).
    double residentMebibytes() const;
    void send(int signal) const;
    /// Waits for its end. \return whether it came in time
    bool waitForEnd(std::chrono::seconds deadline);

private:
    pid_t mIdentifier = -1;
    bool mHasEnded = false;
};

/// Asks until the answer is yes. \return whether it came in time
bool waitUntil(const std::function<bool()>& question, std::chrono::milliseconds deadline);
