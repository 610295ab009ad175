#include "Platform/SystemExtensions/Subprocess.h"

#include "Platform/CoreMediaIO/UniqueFD.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace {

constexpr std::size_t longestOutput = 4096;

/// What posix_spawn wants to know: outputs into the pipe, no input, signals as a new login has them.
class SpawnSettings {
public:
    explicit SpawnSettings(int output)
    {
        ::posix_spawn_file_actions_init(&mActions);
        ::posix_spawn_file_actions_addopen(&mActions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&mActions, output, STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&mActions, output, STDERR_FILENO);
        ::posix_spawnattr_init(&mAttributes);
        sigset_t signals;
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&mAttributes, &signals);
        sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&mAttributes, &signals);
        ::posix_spawnattr_setflags(&mAttributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnSettings()
    {
        ::posix_spawnattr_destroy(&mAttributes);
        ::posix_spawn_file_actions_destroy(&mActions);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    const posix_spawn_file_actions_t* actions() const { return &mActions; }
    const posix_spawnattr_t* attributes() const { return &mAttributes; }

private:
    posix_spawn_file_actions_t mActions {};
    posix_spawnattr_t mAttributes {};
};

/// Reads until the program has closed its outputs.
/// \return false when that took too long or was cancelled
bool readOutput(int descriptor, std::chrono::milliseconds limit, int cancellation, std::string& output)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    std::array<char, 1024> bytes;
    for (;;) {
        const auto left
            = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        std::array<pollfd, 2> waiting { pollfd { descriptor, POLLIN, 0 }, pollfd { cancellation, POLLIN, 0 } };
        const int ready = left.count() > 0 ? ::poll(waiting.data(), waiting.size(), static_cast<int>(left.count())) : 0;
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0 || waiting[1].revents != 0)
            return false;
        const auto count = ::read(descriptor, bytes.data(), bytes.size());
        if (count <= 0)
            return true;
        output.append(bytes.data(), static_cast<std::size_t>(count));
        if (output.size() > longestOutput)
            output.resize(longestOutput);
    }
}

int waitForEnd(pid_t identifier)
{
    int status = 0;
    while (::waitpid(identifier, &status, 0) < 0 && errno == EINTR) { }
    return status;
}

}

SubprocessResult runSubprocess(std::vector<std::string> arguments, std::chrono::milliseconds limit, int cancellation)
{
    SubprocessResult result;
    std::array<int, 2> ends { -1, -1 };
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        result.output = std::strerror(errno);
        return result;
    }
    const UniqueFD readEnd(ends[0]);
    UniqueFD writeEnd(ends[1]);
    std::vector<char*> pointers;
    for (auto& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);

    const SpawnSettings settings(writeEnd.get());
    pid_t identifier = -1;
    const int error = ::posix_spawnp(
        &identifier, pointers.front(), settings.actions(), settings.attributes(), pointers.data(), environ);
    writeEnd.reset();
    if (error != 0) {
        result.output = arguments.front() + ": " + std::strerror(error);
        return result;
    }
    if (!readOutput(readEnd.get(), limit, cancellation, result.output)) {
        ::kill(identifier, SIGKILL);
        waitForEnd(identifier);
        result.output = arguments.front() + " did not end in time";
        result.isKilled = true;
        return result;
    }
    const int status = waitForEnd(identifier);
    while (!result.output.empty() && result.output.back() == '\n')
        result.output.pop_back();
    if (WIFEXITED(status))
        result.status = WEXITSTATUS(status);
    else
        result.output = arguments.front() + " was ended by a signal (" + ::strsignal(WTERMSIG(status)) + ")";
    return result;
}
