#include "Platform/CoreFoundation/HostFiles.h"

#include <map>
#include <memory>
#include <mutex>
#include <sys/utsname.h>

namespace {

constexpr std::string_view sVersionFile = "/System/Library/CoreServices/SystemVersion.plist";

struct Redirections {
    std::mutex lock;
    std::map<std::string, std::string, std::less<>> byPath;
};

Redirections& redirections()
{
    // Never destroyed: threads may still read files while the process ends.
    static Redirections* const all = std::make_unique<Redirections>().release();
    return *all;
}

std::optional<std::string> redirection(std::string_view path)
{
    const std::lock_guard guard(redirections().lock);
    const auto found = redirections().byPath.find(path);
    return found == redirections().byPath.end() ? std::nullopt : std::optional(found->second);
}

/// The digits and dots at the start of the kernel's release.
std::string kernelVersion()
{
    utsname names {};
    if (uname(&names) != 0)
        return {};
    const std::string_view release(names.release);
    return std::string(release.substr(0, release.find_first_not_of("0123456789.")));
}

std::string versionFile()
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
           "\t<key>ProductName</key>\n\t<string>Linux</string>\n\t<key>ProductVersion</key>\n\t<string>"
        + kernelVersion() + "</string>\n</dict>\n</plist>\n";
}

}

std::optional<std::string> HostFiles::contents(std::string_view path)
{
    return path == sVersionFile && !redirection(path) ? std::optional(versionFile()) : std::nullopt;
}

std::string HostFiles::location(std::string_view path)
{
    return redirection(path).value_or(std::string(path));
}

void HostFiles::redirect(std::string_view path, std::string other)
{
    const std::lock_guard guard(redirections().lock);
    redirections().byPath[std::string(path)] = std::move(other);
}

void HostFiles::restore()
{
    const std::lock_guard guard(redirections().lock);
    redirections().byPath.clear();
}
