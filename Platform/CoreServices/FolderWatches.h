#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

/// The kernel's watches on folders with all that lies below them, and on the folders above them, where the folders may
/// yet be made or come back. One thread.
class FolderWatches {
public:
    explicit FolderWatches(std::vector<std::filesystem::path> folders);
    ~FolderWatches();
    FolderWatches(const FolderWatches&) = delete;
    FolderWatches& operator=(const FolderWatches&) = delete;

    /// Readable when there is something to take; -1 where the system gives none.
    int descriptor() const noexcept { return mDescriptor; }
    /// Brings the watches in line with what is there now.
    void renew();
    /// Takes what the kernel has to tell, and renews the watches when folders came or went.
    /// \return whether it is about what is watched
    bool takeChanges();

private:
    /// What an event at a watched place is about.
    struct Place {
        bool isContent = false; ///< a folder or file that is watched itself
        std::set<std::string> awaited; ///< of a folder above: the entries that lead to a watched one
    };
    void watchWayTo(const std::filesystem::path& folder);
    void watchContents(const std::filesystem::path& folder, int depth);
    int watch(const std::filesystem::path& path, std::uint32_t events);
    bool isMeant(int place, std::uint32_t events, const char* name, bool* foldersChanged) const;

    const std::vector<std::filesystem::path> mFolders;
    int mDescriptor = -1;
    std::map<int, Place> mPlaces;
    std::map<int, Place> mFound; ///< while they are renewed
    bool mToldOfLimit = false;
};
