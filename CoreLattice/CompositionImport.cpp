#include "CoreLattice/CompositionImport.h"

#include "CoreLattice/CompositionFolders.h"
#include "CoreLattice/ISFDocument.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace CoreLattice {

namespace {

constexpr std::uintmax_t largestPicture = 32 << 20;
constexpr std::size_t mostOfFolder = 1000;

std::string contentsOf(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return { std::istreambuf_iterator<char>(stream), {} };
}

bool haveSameContents(const fs::path& a, const fs::path& b)
{
    std::error_code error;
    if (a.empty() || b.empty())
        return a.empty() && b.empty();
    return fs::file_size(a, error) == fs::file_size(b, error) && !error && contentsOf(a) == contentsOf(b);
}

bool liesIn(const fs::path& file, const fs::path& folder)
{
    std::error_code error;
    const auto whole = fs::weakly_canonical(file, error);
    const auto above = fs::weakly_canonical(folder, error);
    return std::mismatch(above.begin(), above.end(), whole.begin(), whole.end()).first == above.end();
}

/// The first of "name", "name 2", "name 3", … for which \p isFree holds.
template <class IsFree> std::string freeName(const std::string& name, IsFree isFree)
{
    auto result = name;
    for (int number = 2; !isFree(result); ++number)
        result = name + " " + std::to_string(number);
    return result;
}

/// Whether no file of a composition in \p folder has this name.
bool isFreeStem(const fs::path& folder, const std::string& stem)
{
    std::error_code error;
    return std::ranges::none_of(std::array { ".fs", ".isf", ".frag", ".vs", ".vert" },
        [&](const char* extension) { return fs::exists(folder / (stem + extension), error); });
}

/// Copies one source after the other.
class Import {
public:
    explicit Import(fs::path folder)
        : mFolder(std::move(folder))
    {
    }
    void add(const fs::path& source)
    {
        std::error_code error;
        if (liesIn(source, mFolder))
            addWhatIsThere(source);
        else if (fs::is_directory(source, error))
            addFolder(source);
        else
            addFile(source);
    }
    std::vector<ImportedComposition> take() { return std::move(mResult); }

private:
    void refuse(const fs::path& source, std::string message)
    {
        mResult.push_back({ {}, CompositionError { source.string(), 0, std::move(message) }, nullptr });
    }
    /// Refuses what is no composition at all; what is wrong inside is for the repository to tell.
    std::optional<ReadComposition> read(const CompositionFile& source)
    {
        // A file too large is not even read.
        std::error_code error;
        if (fs::file_size(source.fragment, error) > ISFDocument::longestSource
            || (!source.vertex.empty() && fs::file_size(source.vertex, error) > ISFDocument::longestSource)) {
            refuse(source.fragment, "the file is larger than 1 MiB");
            return std::nullopt;
        }
        ReadComposition result;
        result.fragment = contentsOf(source.fragment);
        result.vertex = source.vertex.empty() ? std::string() : contentsOf(source.vertex);
        result.document = ISFDocument::parse(result.fragment, result.vertex, source.fragment.string(), &result.error);
        if (!result.document) {
            if (auto problem = ISFDocument::whyNoComposition(result.fragment)) {
                refuse(source.fragment, std::move(*problem));
                return std::nullopt;
            }
        }
        return result;
    }
    void addWhatIsThere(const fs::path& source)
    {
        if (isCompositionFile(source))
            mResult.push_back({ source, std::nullopt, nullptr });
        else
            refuse(source, "it lies among the compositions already");
    }
    void addFolder(const fs::path& source)
    {
        const auto files = compositionFilesIn({ source });
        if (files.empty() || files.size() > mostOfFolder) {
            refuse(source, files.empty() ? "there is no composition in the folder" : "there are more than 1000 files");
            return;
        }
        const auto base = (source.has_filename() ? source : source.parent_path()).filename().string();
        std::error_code error;
        const auto target
            = mFolder / freeName(base, [&](const std::string& name) { return !fs::exists(mFolder / name, error); });
        for (const auto& file : files) {
            if (auto found = read(file))
                copy(file, std::move(*found), target / file.fragment.lexically_relative(source).parent_path(),
                    file.fragment.stem());
        }
    }
    void addFile(const fs::path& source)
    {
        if (!isCompositionFile(source)) {
            refuse(source, "it is no composition: those end in .fs, .isf or .frag");
            return;
        }
        const auto file = compositionFile(source);
        if (file.fragment.empty()) {
            refuse(source, "there is no such file");
            return;
        }
        auto found = read(file);
        if (!found)
            return;
        const auto stem = source.stem().string();
        if (picturesOf(file, *found).empty()) {
            addSingle(file, std::move(*found), stem);
            return;
        }
        std::error_code error;
        const auto own = freeName(stem, [&](const std::string& name) { return !fs::exists(mFolder / name, error); });
        copy(file, std::move(*found), mFolder / own, stem);
    }
    void addSingle(const CompositionFile& file, ReadComposition found, const std::string& stem)
    {
        const auto same = compositionFile(mFolder / file.fragment.filename());
        if (!same.fragment.empty() && haveSameContents(same.fragment, file.fragment)
            && haveSameContents(same.vertex, file.vertex)) {
            mResult.push_back({ same.fragment, std::nullopt, nullptr });
            return;
        }
        copy(file, std::move(found), mFolder,
            freeName(stem, [&](const std::string& name) { return isFreeStem(mFolder, name); }));
    }
    /// The pictures that the header names and that lie where it may name them.
    static std::vector<fs::path> picturesOf(const CompositionFile& file, const ReadComposition& found)
    {
        std::vector<fs::path> result;
        const auto folder = file.fragment.parent_path();
        for (const auto& import : found.document ? found.document->imports : std::vector<ISFImport>()) {
            for (const auto& path : import.paths) {
                std::error_code error;
                const auto below = (folder / path).lexically_normal().lexically_relative(folder.lexically_normal());
                if (!below.empty() && *below.begin() != ".." && liesIn(folder / below, folder)
                    && fs::is_regular_file(folder / below, error)
                    && fs::file_size(folder / below, error) <= largestPicture)
                    result.push_back(below);
            }
        }
        return result;
    }
    /// The composition itself gets its name last, so that it is whole for whoever watches the folder.
    void copy(const CompositionFile& file, ReadComposition found, const fs::path& folder, const std::string& stem)
    {
        const auto extension = file.fragment.extension().string();
        const auto unfinished = folder / ("." + stem + extension);
        try {
            fs::create_directories(folder);
            fs::copy_file(file.fragment, unfinished, fs::copy_options::overwrite_existing);
            for (const auto& picture : picturesOf(file, found)) {
                fs::create_directories((folder / picture).parent_path());
                fs::copy_file(file.fragment.parent_path() / picture, folder / picture, fs::copy_options::skip_existing);
            }
            if (!file.vertex.empty())
                fs::copy_file(file.vertex, folder / (stem + file.vertex.extension().string()),
                    fs::copy_options::skip_existing); // two files of a folder may share it
            fs::rename(unfinished, folder / (stem + extension));
            add(folder / (stem + extension), std::move(found));
        } catch (const fs::filesystem_error& error) {
            std::error_code ignored;
            fs::remove(unfinished, ignored);
            refuse(file.fragment, "it cannot be copied: " + error.code().message());
        }
    }

    /// What was found in the source, as it stands in the copy.
    void add(const fs::path& copy, ReadComposition found)
    {
        if (found.document)
            found.document = found.document->in(copy.string());
        found.error.file = copy.string();
        mResult.push_back({ copy, std::nullopt, std::make_shared<const ReadComposition>(std::move(found)) });
    }

    const fs::path mFolder;
    std::vector<ImportedComposition> mResult;
};

}

std::vector<ImportedComposition> importCompositions(const std::vector<fs::path>& sources, const fs::path& folder)
{
    Import import(folder);
    for (const auto& source : sources)
        import.add(source);
    return import.take();
}

}
