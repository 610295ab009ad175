#include "CoreLattice/CompositionFolders.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <set>
#include <string_view>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace CoreLattice {

namespace {

constexpr std::string_view ownFolder = "tovrin/compositions";
constexpr std::array<std::string_view, 3> extensions { ".fs", ".isf", ".frag" };
constexpr int deepest = 16;
constexpr std::size_t mostFiles = 10'000;
// A link may lead to all that is on the disk.
constexpr std::size_t mostFolders = 4096;

std::string lowerCase(std::string text)
{
    std::ranges::transform(
        text, text.begin(), [](unsigned char c) { return static_cast<char>(c < 128 ? std::tolower(c) : c); });
    return text;
}

/// 0 for the one that comes first.
std::size_t rankOfExtension(const fs::path& file)
{
    return static_cast<std::size_t>(
        std::ranges::find(extensions, lowerCase(file.extension().string())) - extensions.begin());
}

FileStamp stampOf(const fs::path& file)
{
    struct stat found { };
    if (file.empty() || ::stat(file.c_str(), &found) != 0)
        return {};
    const auto nanoseconds = [](const timespec& time) { return time.tv_sec * 1'000'000'000 + time.tv_nsec; };
    return { static_cast<std::int64_t>(found.st_dev), static_cast<std::int64_t>(found.st_ino), found.st_size,
        nanoseconds(found.st_mtim), nanoseconds(found.st_ctim) };
}

fs::path vertexBeside(const fs::path& fragment)
{
    for (const auto* const extension : { ".vs", ".vert" }) {
        auto vertex = fragment;
        std::error_code error;
        if (fs::is_regular_file(vertex.replace_extension(extension), error))
            return vertex;
    }
    return {};
}

/// Collects the files of one folder; folders that links lead back to are entered once.
class Search {
public:
    explicit Search(fs::path root)
        : mRoot(std::move(root))
    {
        enter(mRoot, 0);
    }
    const std::vector<fs::path>& files() const { return mFiles; }

private:
    void enter(const fs::path& folder, int depth)
    {
        struct stat found { };
        if (mEntered.size() >= mostFolders || ::stat(folder.c_str(), &found) != 0
            || !mEntered.emplace(found.st_dev, found.st_ino).second)
            return;
        std::error_code error;
        std::vector<fs::path> folders;
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
            std::error_code ignored;
            if (mFiles.size() < mostFiles && isCompositionFile(entry->path()) && entry->is_regular_file(ignored))
                mFiles.push_back(entry->path());
            else if (depth < deepest && entry->is_directory(ignored))
                folders.push_back(entry->path());
        }
        for (const auto& next : folders)
            enter(next, depth + 1);
    }

    const fs::path mRoot;
    std::set<std::pair<dev_t, ino_t>> mEntered;
    std::vector<fs::path> mFiles;
};

fs::path dataFolder()
{
    const auto* const data = std::getenv("XDG_DATA_HOME");
    if (data && *data == '/')
        return data;
    const auto* const home = std::getenv("HOME");
    return home && *home == '/' ? fs::path(home) / ".local/share" : fs::path();
}

}

bool isCompositionFile(const fs::path& file)
{
    // What begins with a dot is an editor's own affair.
    return rankOfExtension(file) < extensions.size() && !file.filename().string().starts_with('.');
}

CompositionFile compositionFile(const fs::path& file)
{
    std::error_code error;
    if (!fs::is_regular_file(file, error))
        return {};
    const auto vertex = vertexBeside(file);
    return { file.stem().string(), file, vertex, stampOf(file), stampOf(vertex) };
}

fs::path userCompositionFolder()
{
    const auto data = dataFolder();
    return data.empty() ? data : data / ownFolder;
}

std::vector<fs::path> usualCompositionFolders()
{
    std::vector<fs::path> folders;
    if (auto user = userCompositionFolder(); !user.empty())
        folders.push_back(std::move(user));
    const auto* const listed = std::getenv("XDG_DATA_DIRS");
    std::string_view rest = listed && *listed ? listed : "/usr/local/share/:/usr/share/";
    while (!rest.empty()) {
        const auto end = std::min(rest.find(':'), rest.size());
        if (rest.starts_with('/'))
            folders.push_back(fs::path(rest.substr(0, end)) / ownFolder);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return folders;
}

std::vector<CompositionFile> compositionFilesIn(const std::vector<fs::path>& folders)
{
    std::map<std::string, CompositionFile> found;
    for (const auto& folder : folders) {
        auto files = Search(folder).files();
        std::ranges::sort(files, {}, [](const fs::path& file) {
            return std::tuple(fs::path(file).replace_extension().string(), rankOfExtension(file), file.string());
        });
        std::set<std::string> names;
        for (const auto& file : files) {
            const auto below = file.lexically_relative(folder);
            auto name = fs::path(below).replace_extension().string();
            if (!names.insert(name).second)
                name = below.string();
            if (found.contains(name))
                continue;
            auto& entry = found[name] = compositionFile(file);
            entry.name = name;
        }
    }
    std::vector<CompositionFile> result;
    for (auto& [name, file] : found)
        result.push_back(std::move(file));
    return result;
}

}
