#include "CameraExtension/Supervisor.h"

#include "Platform/CoreMediaIO/WireSocket.h"
#include "Platform/Foundation/NSLog.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr std::chrono::seconds shortLife { 5 };
constexpr int shortLivesAllowed = 5;

/// What the supervisor waits for; blocked, so that waiting is the only way to hear of it.
sigset_t awaitedSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : { SIGCHLD, SIGTERM, SIGINT })
        sigaddset(&signals, number);
    return signals;
}

void useLog()
{
    const auto folder = CameraWire::SocketPath::folder();
    const auto path = folder + "/" + std::string(CameraWire::SocketPath::kLogName);
    const int nothing = ::open("/dev/null", O_RDWR);
    const int log = folder.empty() ? -1 : ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, 0600);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(log >= 0 ? log : nothing, STDOUT_FILENO);
    ::dup2(log >= 0 ? log : nothing, STDERR_FILENO);
    // Nothing of the program that started this one is held on to.
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
}

/// One life of the child.
/// \return its exit status; -1 when a signal ended it; 0 when the supervisor was told to end, and it with it
int runChild(const std::function<int()>& work)
{
    const auto signals = awaitedSignals();
    const pid_t child = ::fork();
    if (child == 0) {
        ::sigprocmask(SIG_UNBLOCK, &signals, nullptr);
        std::_Exit(work());
    }
    bool isToldToEnd = false;
    for (;;) {
        int status = 0;
        if (child < 0 || ::waitpid(child, &status, WNOHANG) == child) {
            if (isToldToEnd || (child >= 0 && WIFEXITED(status)))
                return isToldToEnd ? 0 : WEXITSTATUS(status);
            return -1;
        }
        int number = 0;
        if (::sigwait(&signals, &number) == 0 && number != SIGCHLD) {
            isToldToEnd = true;
            ::kill(child, SIGTERM);
        }
    }
}

int supervise(const std::function<int()>& work)
{
    const auto signals = awaitedSignals();
    ::sigprocmask(SIG_BLOCK, &signals, nullptr);
    for (int shortLives = 0; shortLives < shortLivesAllowed;) {
        const auto start = std::chrono::steady_clock::now();
        const int status = runChild(work);
        if (status == 0)
            return EXIT_SUCCESS;
        const bool wasShort = std::chrono::steady_clock::now() - start < shortLife;
        shortLives = wasShort ? shortLives + 1 : 0;
        NSLog(CFSTR("The camera extension ended unexpectedly (%d)"), status);
    }
    return EXIT_FAILURE;
}

}

int Supervisor::detach(const std::function<int()>& work)
{
    const pid_t supervisor = ::fork();
    if (supervisor > 0)
        std::printf("%d\n", supervisor);
    if (supervisor != 0)
        return supervisor > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    ::setsid();
    if (::chdir("/") != 0)
        std::_Exit(EXIT_FAILURE);
    useLog();
    std::_Exit(supervise(work));
}
