#include "Platform/Foundation/Trash.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int mostNames = 10000;

/// A folder with "files" and "info", and the folder that the paths noted in it are relative to, if any.
struct Trash {
    fs::path folder;
    fs::path base;
};

fs::path homeTrash()
{
    const char* const data = std::getenv("XDG_DATA_HOME");
    if (data && *data == '/')
        return fs::path(data) / "Trash";
    const char* const home = std::getenv("HOME");
    return home && *home ? fs::path(home) / ".local/share/Trash" : fs::path();
}

/// The top of the volume that holds \p file.
fs::path volumeOf(const fs::path& file)
{
    fs::path top = file.parent_path();
    struct stat here { };
    struct stat above { };
    while (top.has_relative_path() && stat(top.c_str(), &here) == 0 && stat(top.parent_path().c_str(), &above) == 0
        && here.st_dev == above.st_dev)
        top = top.parent_path();
    return top;
}

std::string percentEncoded(const std::string& path)
{
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char c : path) {
        if (plain.find(c) != std::string_view::npos) {
            result += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        result += { '%', digits[byte >> 4], digits[byte & 15] };
    }
    return result;
}

std::string deletionDate()
{
    const std::time_t now = std::time(nullptr);
    std::tm local {};
    localtime_r(&now, &local);
    std::array<char, 32> text {};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &local);
    return text.data();
}

/// Writes the note of a file under a name that nobody has. The note is what reserves the name.
/// \return 0 or the error's number
int writeNote(const Trash& trash, const fs::path& file, fs::path& name)
{
    const std::string path = trash.base.empty() ? file.string() : file.lexically_relative(trash.base).string();
    const std::string text = "[Trash Info]\nPath=" + percentEncoded(path) + "\nDeletionDate=" + deletionDate() + "\n";
    for (int number = 1; number < mostNames; ++number) {
        name = file.filename();
        if (number > 1)
            name = file.stem().string() + "." + std::to_string(number) + file.extension().string();
        const fs::path note = trash.folder / "info" / (name.string() + ".trashinfo");
        const int descriptor = open(note.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (descriptor < 0 && errno == EEXIST)
            continue;
        if (descriptor < 0)
            return errno;
        const bool isWritten = write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
        const int failure = isWritten ? 0 : errno;
        close(descriptor);
        if (!isWritten)
            unlink(note.c_str());
        return failure;
    }
    return EEXIST;
}

/// The two kinds of trash that a volume can have: the user's part of the one that its administrator made for all, and
/// one of the user's own.
std::vector<Trash> trashesOf(const fs::path& volume)
{
    const std::string user = std::to_string(getuid());
    std::vector<Trash> trashes;
    struct stat common { };
    const fs::path shared = volume / ".Trash";
    // It must be one in which nobody can meddle with the others' folders.
    if (lstat(shared.c_str(), &common) == 0 && S_ISDIR(common.st_mode) && (common.st_mode & S_ISVTX) != 0)
        trashes.push_back({ shared / user, volume });
    trashes.push_back({ volume / (".Trash-" + user), volume });
    return trashes;
}

/// \return 0 or the error's number
int moveTo(const Trash& trash, const fs::path& file)
{
    std::error_code failure;
    for (const auto* const part : { "files", "info" }) {
        fs::create_directories(trash.folder / part, failure);
        if (failure)
            return failure.value();
    }
    chmod(trash.folder.c_str(), 0700);
    fs::path name;
    if (const int number = writeNote(trash, file, name))
        return number;
    if (rename(file.c_str(), (trash.folder / "files" / name).c_str()) == 0)
        return 0;
    const int number = errno;
    unlink((trash.folder / "info" / (name.string() + ".trashinfo")).c_str());
    return number;
}

}

Ref<NSError> moveToTrash(const std::filesystem::path& file)
{
    std::error_code failure;
    const fs::path absolute = fs::absolute(file, failure);
    if (failure)
        return NSError::errorWithErrno(failure.value(), file.string());
    struct stat there { };
    int number = lstat(absolute.c_str(), &there) == 0 ? 0 : errno;
    if (number == 0) {
        std::vector<Trash> trashes;
        if (const auto home = homeTrash(); !home.empty())
            trashes.push_back({ home, {} });
        const auto others = trashesOf(volumeOf(absolute));
        trashes.insert(trashes.end(), others.begin(), others.end());
        for (const auto& trash : trashes) {
            number = moveTo(trash, absolute);
            if (number == 0)
                break;
        }
    }
    return number == 0 ? nullptr
                       : NSError::errorWithErrno(number, "\"" + absolute.string() + "\" cannot be moved to the trash");
}
