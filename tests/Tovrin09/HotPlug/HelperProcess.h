#pragma once

#include <csignal>
#include <optional>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

extern char** environ;

/// A shell command that runs for the length of a scope, with everything that it starts.
class HelperProcess {
public:
    HelperProcess() = default;
    explicit HelperProcess(const std::string& shellCommand)
    {
        std::string program = "/bin/sh";
        std::string option = "-c";
        std::string command = shellCommand;
        char* arguments[] { program.data(), option.data(), command.data(), nullptr };
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
        pid_t identifier = 0;
        if (posix_spawn(&identifier, program.c_str(), nullptr, &attributes, arguments, environ) == 0)
            mIdentifier = identifier;
        posix_spawnattr_destroy(&attributes);
    }
    ~HelperProcess() { end(SIGKILL); }
    HelperProcess(HelperProcess&& other) noexcept
        : mIdentifier(std::exchange(other.mIdentifier, 0))
    {
    }
    HelperProcess& operator=(HelperProcess&& other) noexcept
    {
        end(SIGKILL);
        mIdentifier = std::exchange(other.mIdentifier, 0);
        return *this;
    }

    void send(int signal) const
    {
        if (mIdentifier)
            kill(-mIdentifier, signal);
    }
    void end(int signal)
    {
        if (const auto identifier = std::exchange(mIdentifier, 0)) {
            kill(-identifier, signal);
            waitpid(identifier, nullptr, 0);
        }
    }
    /// Runs a command to its end; its status, or -1 where it could not be run.
    static int run(const std::string& shellCommand)
    {
        HelperProcess process(shellCommand);
        int status = -1;
        if (!process.mIdentifier || waitpid(std::exchange(process.mIdentifier, 0), &status, 0) < 0)
            return -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t mIdentifier = 0;
};
