#include "WithRequirements/LoadTimeInitialisers.h"

#include "tests/WithRequirements/StandardErrorCapture.h"
#include "tests/WithRequirements/UnreadPipe.h"
#include "WithRequirements/RequiredFoundation.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

namespace {

/// The program in `mode`, with standard error going to \p standardError; holds the writing end of \p alive as long as
/// it lives.
pid_t start(const char* mode, int standardError, int alive)
{
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, standardError, STDERR_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, alive, STDOUT_FILENO);
    std::string program = LOAD_TIME_PROGRAM;
    std::string argument = mode;
    char* const arguments[] = { program.data(), argument.data(), nullptr };
    pid_t child = -1;
    EXPECT_EQ(::posix_spawn(&child, LOAD_TIME_PROGRAM, &actions, nullptr, arguments, environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    return child;
}

struct Ending {
    int status = -1;
    std::string standardError;
};

/// Runs the program; nobody reads what it writes before it has ended. One that does not end is ended.
Ending run(const char* mode)
{
    UnreadPipe output;
    UnreadPipe alive;
    const auto child = start(mode, output.writingEnd(), alive.writingEnd());
    output.closeWritingEnd();
    alive.closeWritingEnd();
    if (child < 0)
        return {};
    pollfd ended { alive.readingEnd(), POLLIN, 0 };
    const int answer = ::poll(&ended, 1, 60'000);
    EXPECT_EQ(answer, 1) << "still running";
    if (answer != 1)
        ::kill(child, SIGKILL);
    Ending ending;
    ::waitpid(child, &ending.status, 0);
    ending.standardError = output.readToEnd();
    return ending;
}

}

TEST(LoadTimeInitialisers, RunByThemselvesBeforeMainAndTheirEndDropsLaterLines)
{
    const auto [status, text] = run("line");
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(withoutLineNumbers(text), "REQUIREMENT - SRC>>a line in main in LoadTimeProgram.cpp:N (main)\n");
}

TEST(LoadTimeInitialisers, LinesThatStillWaitAtTheEndAreNotWaitedFor)
{
    const auto [status, text] = run("unread");
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    // What fitted into the pipe before it was full, in order, is all that can have come.
    int lines = 0;
    std::size_t at = 0;
    for (std::size_t end; (end = text.find('\n', at)) != std::string::npos; at = end + 1, ++lines)
        ASSERT_EQ(text.substr(at, end - at), "line " + std::to_string(lines));
    EXPECT_LT(lines, 20000);
}

TEST(LoadTimeInitialisers, RunOnlyOnce)
{
    NSRequiredNotNSNullCachedValue = nullptr;
    WithRequirementsRunLoadTimeInitialisers();
    EXPECT_EQ(NSRequiredNotNSNullCachedValue, nullptr);
    NSRequiredNotNSNullCachedValueConstructor();
    EXPECT_EQ(NSRequiredNotNSNullCachedValue, kCFNull);
}
