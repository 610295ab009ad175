#include "Platform/Foundation/NSPathUtilities.h"

#include "Platform/Foundation/NSLog.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <pwd.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

fs::path homeFolder()
{
    if (const char* const home = std::getenv("HOME"); home && *home)
        return home;
    const auto* const account = getpwuid(getuid());
    return account && account->pw_dir ? account->pw_dir : "";
}

fs::path configurationFolder()
{
    if (const char* const folder = std::getenv("XDG_CONFIG_HOME"); folder && *folder == '/')
        return folder;
    return homeFolder() / ".config";
}

/// The text between the quotes of the line `<name>="…"`, with backslashes taken away.
std::optional<std::string> quotedValue(const std::string& line, const std::string& name)
{
    const auto start = line.find_first_not_of(" \t");
    const auto opening = name + "=\"";
    if (start == std::string::npos || line.compare(start, opening.size(), opening) != 0)
        return std::nullopt;
    std::string value;
    for (auto index = start + opening.size(); index < line.size() && line[index] != '"'; ++index) {
        if (line[index] == '\\' && index + 1 < line.size())
            ++index;
        value += line[index];
    }
    return value;
}

/// What the file of user directories (`user-dirs.dirs`) says; nothing when it does not name the folder. The last line
/// of a name counts, and only absolute paths and those that start at the home folder are valid.
std::optional<fs::path> configuredFolder(const std::string& name)
{
    std::ifstream file(configurationFolder() / "user-dirs.dirs");
    std::optional<fs::path> folder;
    for (std::string line; std::getline(file, line);) {
        const auto value = quotedValue(line, name);
        constexpr std::string_view home = "$HOME";
        if (value && value->starts_with(home) && (value->size() == home.size() || (*value)[home.size()] == '/'))
            folder = homeFolder().string() + value->substr(home.size());
        else if (value && value->starts_with('/'))
            folder = *value;
    }
    return folder;
}

}

Ref<CFArray> NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, NSSearchPathDomainMask domains, bool /*expandTilde*/)
{
    auto paths = CFArray::create();
    const bool isKnown = directory == NSMoviesDirectory || directory == NSPicturesDirectory;
    if (!isKnown || (domains & NSUserDomainMask) == 0 || homeFolder().empty())
        return paths;
    const bool movies = directory == NSMoviesDirectory;
    const auto folder = configuredFolder(movies ? "XDG_VIDEOS_DIR" : "XDG_PICTURES_DIR")
                            .value_or(homeFolder() / (movies ? "Videos" : "Pictures"));
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        NSLog(CFSTR("The folder %s could not be made: %s"), folder.c_str(), error.message().c_str());
    paths->append(CFString::create(folder.lexically_normal().string()).get());
    return paths;
}

CFString* lastPathComponent(CFString* path)
{
    if (!path)
        return nullptr;
    std::string_view text(path->string());
    while (text.size() > 1 && text.ends_with('/'))
        text.remove_suffix(1);
    if (text != "/")
        text.remove_prefix(text.rfind('/') + 1);
    return autorelease(CFString::create(text));
}

Ref<CFString> stringByAppendingPathExtension(CFString* path, CFString* extension)
{
    return CFString::create(std::string(textOf(path)) + "." + std::string(textOf(extension)));
}

Ref<CFString> stringByExpandingTildeInPath(CFString* path)
{
    const auto text = textOf(path);
    const char* const home = std::getenv("HOME");
    if (!home || (text != "~" && !text.starts_with("~/")))
        return CFString::create(text);
    return CFString::create(std::string(home) + std::string(text.substr(1)));
}
