#include "Platform/CoreFoundation/HostFiles.h"

#include <map>
#include <mutex>
#include <sys/utsname.h>

namespace {

struct Replacements {
    std::mutex lock;
    std::map<std::string, std::optional<std::string>, std::less<>> byPath;
};

Replacements& replacements()
{
    static Replacements all;
    return all;
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
    {
        const std::lock_guard guard(replacements().lock);
        const auto found = replacements().byPath.find(path);
        if (found != replacements().byPath.end())
            return found->second;
    }
    if (path == "/System/Library/CoreServices/SystemVersion.plist")
        return versionFile();
    return std::nullopt;
}

void HostFiles::replace(std::string_view path, std::optional<std::string> contents)
{
    const std::lock_guard guard(replacements().lock);
    replacements().byPath[std::string(path)] = std::move(contents);
}

void HostFiles::restore()
{
    const std::lock_guard guard(replacements().lock);
    replacements().byPath.clear();
}
