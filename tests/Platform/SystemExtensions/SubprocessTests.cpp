#include "Platform/SystemExtensions/Subprocess.h"

#include <gmock/gmock.h>

namespace {

constexpr std::chrono::seconds patience { 20 };

TEST(Subprocess, GivesStatusAndBothOutputs)
{
    const auto result = runSubprocess({ "sh", "-c", "echo one; echo two >&2; exit 3" }, patience);
    EXPECT_EQ(result.status, 3);
    EXPECT_FALSE(result.isSuccess());
    EXPECT_EQ(result.output, "one\ntwo");
}

TEST(Subprocess, ArgumentsArriveAsTheyAre)
{
    EXPECT_EQ(runSubprocess({ "printf", "%s|", "a b", "$HOME", "" }, patience).output, "a b|$HOME||");
}

TEST(Subprocess, WhatIsNotThereIsSaid)
{
    const auto result = runSubprocess({ "/nowhere/program" }, patience);
    EXPECT_EQ(result.status, -1);
    EXPECT_EQ(result.output, "/nowhere/program: No such file or directory");
}

TEST(Subprocess, ASignalIsSaid)
{
    EXPECT_EQ(runSubprocess({ "sh", "-c", "kill -TERM $$" }, patience).output, "sh was ended by a signal (Terminated)");
}

TEST(Subprocess, WhatDoesNotEndIsKilledWhenItsTimeIsUp)
{
    const auto start = std::chrono::steady_clock::now();
    const auto result = runSubprocess({ "sleep", "60" }, std::chrono::milliseconds(50));
    EXPECT_EQ(result.status, -1);
    EXPECT_EQ(result.output, "sleep did not end in time");
    EXPECT_LT(std::chrono::steady_clock::now() - start, patience);
}

TEST(Subprocess, LongOutputIsCutAndNotWaitedFor)
{
    const auto result = runSubprocess({ "sh", "-c", "head -c 1000000 /dev/zero | tr '\\0' x" }, patience);
    EXPECT_TRUE(result.isSuccess());
    EXPECT_EQ(result.output, std::string(4096, 'x'));
}

}
