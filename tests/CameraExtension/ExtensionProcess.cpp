#include "tests/CameraExtension/ExtensionProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

using namespace CameraWire;

namespace {

constexpr std::chrono::seconds patience { 20 };

/// Something to look at now and then while a condition has no event of its own.
void lookAgainSoon()
{
    ::poll(nullptr, 0, 5);
}

}

RuntimeFolder::RuntimeFolder()
    : mPath("/tmp/tovrin-test-XXXXXX")
{
    // A session that has PipeWire is one that was made for the test.
    const char* const session = std::getenv("XDG_RUNTIME_DIR");
    if (session && std::string_view(session).starts_with("/tmp/")
        && std::filesystem::exists(std::string(session) + "/pipewire-0")) {
        mPath = session;
        mIsOwn = false;
        return;
    }
    if (!::mkdtemp(mPath.data()))
        std::abort();
    ::setenv("XDG_RUNTIME_DIR", mPath.c_str(), 1);
}

RuntimeFolder::~RuntimeFolder()
{
    if (mIsOwn)
        std::filesystem::remove_all(mPath);
}

RuntimeFolder& RuntimeFolder::shared()
{
    static RuntimeFolder folder;
    return folder;
}

bool eventually(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        lookAgainSoon();
    }
    return true;
}

ExtensionProcess::ExtensionProcess(Wait wait)
{
    RuntimeFolder::shared();
    std::string program = EXTENSION_PROGRAM;
    char* arguments[] = { program.data(), nullptr };
    EXPECT_EQ(::posix_spawn(&mIdentifier, program.c_str(), nullptr, nullptr, arguments, environ), 0);
    EXPECT_TRUE(eventually([wait] {
        auto socket = Socket::connectTo(RuntimeFolder::shared().socketPath());
        if (!socket.isValid() || wait == Wait::ForSocket)
            return socket.isValid();
        return socket.send(encode(Hello {})) && nextMessage(socket).kind == Kind::Welcome;
    }));
}

ExtensionProcess::~ExtensionProcess()
{
    if (mIdentifier < 0)
        return;
    send(SIGCONT);
    send(SIGTERM);
    EXPECT_EQ(waitForEnd(), 0);
}

ExtensionProcess::ExtensionProcess(ExtensionProcess&& other) noexcept
    : mIdentifier(std::exchange(other.mIdentifier, -1))
{
}

ExtensionProcess& ExtensionProcess::operator=(ExtensionProcess&& other) noexcept
{
    std::swap(mIdentifier, other.mIdentifier);
    return *this;
}

void ExtensionProcess::send(int signal) const
{
    ::kill(mIdentifier, signal);
}

int ExtensionProcess::waitForEnd()
{
    int status = 0;
    const bool hasEnded = eventually([&] { return ::waitpid(mIdentifier, &status, WNOHANG) == mIdentifier; });
    if (!hasEnded)
        ::kill(mIdentifier, SIGKILL);
    mIdentifier = -1;
    return hasEnded && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Socket ExtensionProcess::connect()
{
    auto socket = Socket::connectTo(RuntimeFolder::shared().socketPath());
    EXPECT_TRUE(socket.isValid());
    EXPECT_TRUE(socket.send(encode(Hello {})));
    EXPECT_EQ(nextMessage(socket).kind, Kind::Welcome);
    return socket;
}

Message nextMessage(Socket& socket)
{
    for (bool isOpen = true;;) {
        if (auto message = socket.next())
            return std::move(*message);
        pollfd waiting { socket.descriptor(), POLLIN, 0 };
        if (!isOpen || ::poll(&waiting, 1, static_cast<int>(std::chrono::milliseconds(patience).count())) <= 0)
            return {};
        isOpen = socket.receive();
    }
}
