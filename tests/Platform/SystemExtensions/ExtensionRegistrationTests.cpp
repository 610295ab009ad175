#include "Platform/SystemExtensions/ExtensionRegistration.h"

#include "Platform/SystemExtensions/RunningExtension.h"
#include "tests/CameraExtension/ExtensionProcess.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

using testing::ElementsAre;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

constexpr const char* identifier = "org.tovrin.tovrin.09.CMIOExtension";

/// Notes how it was called; starts, links and stops a unit as the service manager does. Fails at the step in
/// FAILING_STEP.
constexpr const char* serviceManager = R"sh(#!/bin/sh
shift # --user
echo "$@" >> "$XDG_RUNTIME_DIR/calls"
if [ "$1" = "$FAILING_STEP" ]; then
    echo "Unit is masked."
    exit 1
fi
units=$XDG_CONFIG_HOME/systemd/user
case $1 in
enable)
    mkdir -p "$units/default.target.wants"
    ln -sf "$units/$2" "$units/default.target.wants/$2" ;;
restart)
    program=$(sed -n 's/^ExecStart="\(.*\)"$/\1/p' "$units/$2")
    "$program" < /dev/null > /dev/null 2>&1 &
    echo $! > "$XDG_RUNTIME_DIR/process" ;;
disable)
    rm -f "$units/default.target.wants/$3"
    if [ -e "$XDG_RUNTIME_DIR/process" ]; then
        kill "$(cat "$XDG_RUNTIME_DIR/process")" || true
        rm "$XDG_RUNTIME_DIR/process"
    fi ;;
esac
)sh";

std::string contents(const fs::path& path)
{
    std::ifstream file(path);
    return { std::istreambuf_iterator<char>(file), {} };
}

/// In folders of its own; with a service manager in the session, or without one.
class ExtensionRegistrationTests : public testing::Test {
protected:
    ExtensionRegistrationTests()
    {
        ::setenv("XDG_CONFIG_HOME", config.c_str(), 1);
        fs::create_directories(runtime / "programs");
        std::ofstream(runtime / "programs/systemctl") << serviceManager;
        fs::permissions(runtime / "programs/systemctl", fs::perms::owner_all);
        ::setenv("PATH", ((runtime / "programs").string() + ":" + searchPath).c_str(), 1);
        EXPECT_FALSE(ExtensionProgram::find(identifier, program));
    }
    ~ExtensionRegistrationTests() override
    {
        ::unsetenv("FAILING_STEP");
        // Also what was started and has not answered yet.
        registration.undoInstall();
        EXPECT_EQ(std::system("systemctl --user disable --now unit"), 0);
        if (auto running = RunningExtension::find())
            running->end(std::chrono::seconds(5));
        ::setenv("PATH", searchPath.c_str(), 1);
        for (const auto* const name : { "programs", "systemd", "calls", "config" })
            fs::remove_all(runtime / name);
    }

    void haveServiceManager(bool has) const
    {
        fs::remove_all(runtime / "systemd");
        if (has)
            fs::create_directories(runtime / "systemd/private");
    }
    std::vector<std::string> calls() const
    {
        std::vector<std::string> lines;
        std::ifstream file(runtime / "calls");
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }
    /// The names of what lies in the folder of settings, folders left out.
    std::vector<std::string> traces() const
    {
        std::vector<std::string> names;
        if (fs::exists(config))
            for (const auto& entry : fs::recursive_directory_iterator(config))
                if (entry.is_symlink() || !entry.is_directory())
                    names.push_back(entry.path().string());
        return names;
    }

    const fs::path runtime = RuntimeFolder::shared().path();
    const fs::path config = runtime / "config";
    const fs::path unit = config / "systemd/user" / (std::string(identifier) + ".service");
    const fs::path loginEntry = config / "autostart" / (std::string(identifier) + ".desktop");
    const std::string searchPath = std::getenv("PATH");
    ExtensionProgram program;
    ExtensionRegistration registration { identifier };
};

const std::string unitName = std::string(identifier) + ".service";

TEST_F(ExtensionRegistrationTests, AServiceManagerGetsAUnitThatIsStartedNowAndAtLogin)
{
    haveServiceManager(true);
    EXPECT_FALSE(registration.install(program));
    EXPECT_EQ(contents(unit),
        "[Unit]\nDescription=Tovrin Camera\nAfter=pipewire.service\n\n[Service]\nExecStart=\"" + program.path
            + "\"\nRestart=on-failure\nRestartSec=1\n\n[Install]\nWantedBy=default.target\n");
    EXPECT_THAT(
        calls(), ElementsAre("show --property=Version", "daemon-reload", "enable " + unitName, "restart " + unitName));
    EXPECT_TRUE(RunningExtension::find(std::chrono::seconds(10)));
    EXPECT_TRUE(registration.exists());
    EXPECT_FALSE(fs::exists(loginEntry));
}

TEST_F(ExtensionRegistrationTests, ARemovedUnitIsStoppedAndLeavesNothing)
{
    haveServiceManager(true);
    EXPECT_FALSE(registration.install(program));
    ASSERT_TRUE(RunningExtension::find(std::chrono::seconds(10)));
    fs::remove(runtime / "calls");
    EXPECT_FALSE(registration.remove());
    EXPECT_THAT(calls(), ElementsAre("show --property=Version", "disable --now " + unitName, "daemon-reload"));
    EXPECT_THAT(traces(), ElementsAre());
    EXPECT_FALSE(registration.exists());
    EXPECT_TRUE(eventually([] { return !RunningExtension::find(); }));
}

TEST_F(ExtensionRegistrationTests, AManagerThatRefusesIsQuoted)
{
    haveServiceManager(true);
    ::setenv("FAILING_STEP", "enable", 1);
    const auto failure = registration.install(program);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->code, OSSystemExtensionErrorUnknown);
    EXPECT_THAT(
        failure->message, StartsWith("The service manager could not start the camera extension: Unit is masked."));
    registration.undoInstall();
    EXPECT_THAT(traces(), ElementsAre());
}

TEST_F(ExtensionRegistrationTests, AManagerThatDoesNotStopTheUnitIsQuoted)
{
    haveServiceManager(true);
    EXPECT_FALSE(registration.install(program));
    ASSERT_TRUE(RunningExtension::find(std::chrono::seconds(10)));
    ::setenv("FAILING_STEP", "disable", 1);
    const auto stop = registration.remove();
    ASSERT_TRUE(stop);
    EXPECT_THAT(stop->message, StartsWith("The service manager could not stop the camera extension: Unit is masked."));
    EXPECT_FALSE(fs::exists(unit)) << "it would come back at the next login";
}

TEST_F(ExtensionRegistrationTests, AManagerThatDoesNotAnswerIsNone)
{
    haveServiceManager(true);
    ::setenv("FAILING_STEP", "show", 1);
    EXPECT_FALSE(registration.install(program));
    EXPECT_TRUE(fs::exists(loginEntry));
    EXPECT_FALSE(fs::exists(unit));
}

TEST_F(ExtensionRegistrationTests, AUnitWhoseManagerHasGoneIsRemovedWithItsLink)
{
    haveServiceManager(true);
    EXPECT_FALSE(registration.install(program));
    ASSERT_TRUE(RunningExtension::find(std::chrono::seconds(10)));
    haveServiceManager(false);
    EXPECT_FALSE(registration.remove());
    EXPECT_THAT(traces(), ElementsAre());
}

TEST_F(ExtensionRegistrationTests, OnlyOneOfTheTwoIsRegistered)
{
    haveServiceManager(false);
    EXPECT_FALSE(registration.install(program));
    ASSERT_TRUE(RunningExtension::find(std::chrono::seconds(10)));
    EXPECT_THAT(traces(), ElementsAre(loginEntry.string()));
    registration.undoInstall();
    EXPECT_TRUE(eventually([] { return !RunningExtension::find(); }));

    fs::create_directories(loginEntry.parent_path());
    std::ofstream(loginEntry) << "[Desktop Entry]\n";
    haveServiceManager(true);
    EXPECT_FALSE(registration.install(program));
    EXPECT_FALSE(fs::exists(loginEntry)) << "a second extension would start at login";

    haveServiceManager(false);
    EXPECT_FALSE(registration.install(program));
    EXPECT_THAT(traces(), ElementsAre(loginEntry.string()));
}

}
