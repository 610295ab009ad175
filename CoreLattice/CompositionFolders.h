#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace CoreLattice {

/// What tells that a file may have changed: where it lies on its volume, its size and its times.
using FileStamp = std::array<std::int64_t, 5>;

/// A composition's file, unread.
struct CompositionFile {
    /// The path below its folder without the extension, such as "Weather/Rain". Of several files in a folder that
    /// differ by the extension only, ".fs" comes first, then ".isf", then ".frag"; the others keep theirs.
    std::string name;
    std::filesystem::path fragment; ///< the file itself: ".fs", ".isf" or ".frag"
    std::filesystem::path vertex; ///< of the same name beside it, ".vs" or ".vert"; empty when there is none
    FileStamp fragmentStamp {};
    FileStamp vertexStamp {};

    friend bool operator==(const CompositionFile&, const CompositionFile&) = default;
};

/// Whether the file's name says that it is a composition.
bool isCompositionFile(const std::filesystem::path& file);

/// The file with what lies beside it, under the name that it has in its own folder; without a path where there is no
/// file.
CompositionFile compositionFile(const std::filesystem::path& file);

/// Where the user's own compositions lie: "tovrin/compositions" in the data folder of the account; empty for an account
/// without a home. The folder need not exist.
std::filesystem::path userCompositionFolder();

/// All folders with compositions, the user's first, then the system's in the order of freedesktop's data folders.
std::vector<std::filesystem::path> usualCompositionFolders();

/// The compositions in the folders and below them, ordered by name. Of those with one name, that in the first folder is
/// given. Links are followed; what cannot be read is passed over. Any thread.
std::vector<CompositionFile> compositionFilesIn(const std::vector<std::filesystem::path>& folders);

}
