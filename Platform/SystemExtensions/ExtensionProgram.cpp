#include "Platform/SystemExtensions/ExtensionProgram.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/SystemExtensions/Subprocess.h"

#include <cstdlib>
#include <filesystem>

namespace {

constexpr const char* programName = "tovrin-camera-extension";
constexpr std::chrono::seconds runLimit { 10 };

}

std::optional<ExtensionFailure> ExtensionProgram::find(const std::string& identifier, ExtensionProgram& program)
{
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const auto& candidate : { folder / programName, folder.parent_path() / "bin" / programName }) {
        if (std::filesystem::exists(candidate, error) && !FAIL_POINT("OSSystemExtensionFind")) {
            program.path = candidate.string();
            break;
        }
    }
    if (program.path.empty())
        return ExtensionFailure { OSSystemExtensionErrorExtensionNotFound,
            std::string("The camera extension is missing: there is no ") + programName + " in " + folder.string()
                + "." };

    const auto answer = runSubprocess({ program.path, "--version" }, runLimit);
    if (!answer.isSuccess())
        return ExtensionFailure { OSSystemExtensionErrorValidationFailed,
            "The camera extension cannot be run: " + answer.output };
    const auto space = answer.output.find(' ');
    program.identifier = answer.output.substr(0, space);
    program.version = space == std::string::npos ? "" : answer.output.substr(space + 1);
    if (program.identifier != identifier)
        return ExtensionFailure { OSSystemExtensionErrorValidationFailed,
            "The camera extension beside the application is " + program.identifier + " and not " + identifier + "." };
    return std::nullopt;
}

std::optional<ExtensionFailure> ExtensionProgram::startDetached(int& supervisor) const
{
    const auto start = runSubprocess({ path, "--detach" }, runLimit);
    supervisor = start.isSuccess() ? std::atoi(start.output.c_str()) : 0;
    if (supervisor <= 1)
        return ExtensionFailure { OSSystemExtensionErrorUnknown,
            "The camera extension could not be started: " + start.output };
    return std::nullopt;
}
