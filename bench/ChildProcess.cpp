#include "ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// The process and everything below it that runs now.
std::vector<pid_t> familyOf(pid_t parent)
{
    std::vector<pid_t> family { parent };
    for (std::size_t index = 0; index < family.size(); ++index) {
        const std::string name = std::to_string(family[index]);
        std::ifstream children("/proc/" + name + "/task/" + name + "/children");
        for (pid_t child = 0; children >> child;)
            family.push_back(child);
    }
    return family;
}

/// Clock ticks that a process and the children that it has waited for took.
double ticksOf(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    std::getline(file, line);
    const auto end = line.rfind(')'); // the name before it may hold anything
    if (end == std::string::npos)
        return 0;
    std::istringstream fields(line.substr(end + 2));
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        fields >> skipped;
    double ticks = 0;
    for (double part = 0; const int index : { 14, 15, 16, 17 }) {
        static_cast<void>(index);
        fields >> part;
        ticks += part;
    }
    return ticks;
}

}

ChildProcess::ChildProcess(const std::vector<std::string>& command, const std::string& log, int standardInput)
{
    std::vector<char*> arguments;
    for (const auto& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    if (standardInput >= 0)
        ::posix_spawn_file_actions_adddup2(&actions, standardInput, STDIN_FILENO);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0644);
    ::posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    const int reason = ::posix_spawnp(&mIdentifier, arguments[0], &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (reason != 0)
        throw std::runtime_error("cannot start " + command[0] + ": " + std::strerror(reason));
}

ChildProcess::~ChildProcess()
{
    using std::chrono::seconds;
    if (!isRunning())
        return;
    send(SIGTERM);
    if (waitForEnd(seconds(10)))
        return;
    send(SIGKILL);
    waitForEnd(seconds(10));
}

bool ChildProcess::isRunning()
{
    if (!mHasEnded && ::waitpid(mIdentifier, nullptr, WNOHANG) != 0)
        mHasEnded = true;
    return !mHasEnded;
}

double ChildProcess::processorSeconds() const
{
    double ticks = 0;
    for (const pid_t process : familyOf(mIdentifier))
        ticks += ticksOf(process);
    return ticks / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

double ChildProcess::residentMebibytes() const
{
    double kibibytes = 0;
    for (const pid_t process : familyOf(mIdentifier)) {
        std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
        for (std::string line; std::getline(file, line);)
            if (line.starts_with("Pss:"))
                kibibytes += std::stod(line.substr(4));
    }
    return kibibytes / 1024;
}

void ChildProcess::send(int signal) const
{
    if (!mHasEnded)
        ::kill(mIdentifier, signal);
}

bool ChildProcess::waitForEnd(std::chrono::seconds deadline)
{
    return waitUntil([this] { return !isRunning(); }, deadline);
}

bool waitUntil(const std::function<bool()>& question, std::chrono::milliseconds deadline)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!question()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}
