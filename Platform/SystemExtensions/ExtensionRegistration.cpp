#include "Platform/SystemExtensions/ExtensionRegistration.h"

#include "Platform/SystemExtensions/Subprocess.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

constexpr std::chrono::seconds managerLimit { 20 };

std::string configurationFolder()
{
    if (const char* const folder = std::getenv("XDG_CONFIG_HOME"); folder && *folder == '/')
        return folder;
    const char* const home = std::getenv("HOME");
    return std::string(home ? home : "/") + "/.config";
}

SubprocessResult manager(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), { "systemctl", "--user" });
    return runSubprocess(std::move(arguments), managerLimit);
}

/// Between double quotes, as units and desktop entries both read it: a percent sign is doubled, since it would start a
/// specifier, and so are quotes, dollars and backslashes escaped.
std::string quoted(const std::string& path)
{
    std::string text = "\"";
    for (const char character : path) {
        if (character == '%')
            text += '%';
        else if (character == '"' || character == '\\' || character == '$' || character == '`')
            text += '\\';
        text += character;
    }
    return text + '"';
}

std::optional<ExtensionFailure> writeFile(const std::string& path, const std::string& text)
{
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    std::ofstream file(path, std::ios::trunc);
    file << text;
    file.close();
    if (error || !file)
        return ExtensionFailure { OSSystemExtensionErrorUnknown,
            "The camera extension could not be registered: " + path + " cannot be written"
                + (error ? ": " + error.message() : std::string()) + "." };
    return std::nullopt;
}

ExtensionFailure managerFailure(const SubprocessResult& result)
{
    return { OSSystemExtensionErrorUnknown,
        "The service manager could not start the camera extension: " + result.output };
}

}

ExtensionRegistration::ExtensionRegistration(std::string identifier)
    : mIdentifier(std::move(identifier))
{
}

std::string ExtensionRegistration::unitPath() const
{
    return configurationFolder() + "/systemd/user/" + mIdentifier + ".service";
}

/// What the manager makes of "WantedBy" when it enables the unit.
std::string ExtensionRegistration::unitLinkPath() const
{
    return configurationFolder() + "/systemd/user/default.target.wants/" + mIdentifier + ".service";
}

std::string ExtensionRegistration::loginEntryPath() const
{
    return configurationFolder() + "/autostart/" + mIdentifier + ".desktop";
}

bool ExtensionRegistration::exists() const
{
    std::error_code error;
    return std::filesystem::exists(unitPath(), error) || std::filesystem::exists(loginEntryPath(), error);
}

/// The manager of this very session: one with another runtime folder would start the extension where nobody looks.
bool ExtensionRegistration::hasServiceManager()
{
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    std::error_code error;
    return runtime && std::filesystem::exists(std::string(runtime) + "/systemd/private", error)
        && manager({ "show", "--property=Version" }).isSuccess();
}

std::optional<ExtensionFailure> ExtensionRegistration::install(const ExtensionProgram& program)
{
    // What an earlier session without a manager, or with one, has left would start a second extension at login.
    std::error_code error;
    if (hasServiceManager()) {
        std::filesystem::remove(loginEntryPath(), error);
        return installUnit(program);
    }
    std::filesystem::remove(unitLinkPath(), error);
    std::filesystem::remove(unitPath(), error);
    return installLoginEntry(program);
}

std::optional<ExtensionFailure> ExtensionRegistration::installUnit(const ExtensionProgram& program)
{
    const auto failure = writeFile(unitPath(),
        "[Unit]\nDescription=Tovrin Camera\nAfter=pipewire.service\n\n"
        "[Service]\nExecStart="
            + quoted(program.path) + "\nRestart=on-failure\nRestartSec=1\n\n[Install]\nWantedBy=default.target\n");
    if (failure)
        return failure;
    const auto unit = mIdentifier + ".service";
    for (const auto& step : { std::vector<std::string> { "daemon-reload" }, { "enable", unit }, { "restart", unit } }) {
        if (const auto result = manager(step); !result.isSuccess())
            return managerFailure(result);
    }
    return std::nullopt;
}

std::optional<ExtensionFailure> ExtensionRegistration::installLoginEntry(const ExtensionProgram& program)
{
    const auto failure = writeFile(loginEntryPath(),
        "[Desktop Entry]\nType=Application\nName=Tovrin Camera\nNoDisplay=true\nExec=" + quoted(program.path)
            + " --detach\n");
    return failure ? failure : program.startDetached(mSupervisor);
}

void ExtensionRegistration::undoInstall()
{
    remove();
    if (mSupervisor <= 1)
        return;
    // Also by itself: it may not have made its group yet.
    ::kill(-mSupervisor, SIGKILL);
    ::kill(mSupervisor, SIGKILL);
}

std::optional<ExtensionFailure> ExtensionRegistration::remove()
{
    std::error_code error;
    std::filesystem::remove(loginEntryPath(), error);
    if (!std::filesystem::exists(unitPath(), error))
        return std::nullopt;
    const bool isManaged = hasServiceManager();
    SubprocessResult stopped { 0, {} };
    if (isManaged)
        stopped = manager({ "disable", "--now", mIdentifier + ".service" });
    // Still there when no manager, or a failing one, was asked.
    std::filesystem::remove(unitLinkPath(), error);
    if (!std::filesystem::remove(unitPath(), error))
        return ExtensionFailure { OSSystemExtensionErrorUnknown,
            "The camera extension could not be removed: " + unitPath() + ": " + error.message() + "." };
    if (isManaged)
        manager({ "daemon-reload" });
    if (!stopped.isSuccess())
        return ExtensionFailure { OSSystemExtensionErrorUnknown,
            "The service manager could not stop the camera extension: " + stopped.output };
    return std::nullopt;
}
