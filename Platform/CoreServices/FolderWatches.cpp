#include "Platform/CoreServices/FolderWatches.h"

#include "Platform/Foundation/NSLog.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <sys/inotify.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t namesChange = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr std::uint32_t itselfChanges = IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t contentsChange = namesChange | itselfChanges | IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB;
constexpr int deepest = 16;
constexpr std::size_t mostPlaces = 4096;

}

FolderWatches::FolderWatches(std::vector<fs::path> folders)
    : mFolders(std::move(folders))
    , mDescriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
{
    renew();
}

FolderWatches::~FolderWatches()
{
    if (mDescriptor >= 0)
        ::close(mDescriptor);
}

void FolderWatches::renew()
{
    mFound.clear();
    for (const auto& folder : mFolders) {
        // From the top, so that nothing can slip in between.
        watchWayTo(folder);
        watchContents(folder, 0);
    }
    for (const auto& [place, unused] : mPlaces) {
        if (!mFound.contains(place))
            ::inotify_rm_watch(mDescriptor, place);
    }
    mPlaces.swap(mFound);
}

/// Every folder above hears of the next one on the way, since each of them may be renamed and replaced.
void FolderWatches::watchWayTo(const fs::path& folder)
{
    fs::path above = folder.root_path();
    for (const auto& name : folder.relative_path()) {
        const auto place = watch(above, namesChange | itselfChanges | IN_ONLYDIR);
        if (place < 0)
            return;
        mFound[place].awaited.insert(name.string());
        above /= name;
    }
}

void FolderWatches::watchContents(const fs::path& folder, int depth)
{
    const auto place = watch(folder, contentsChange | IN_ONLYDIR);
    // A folder that was met already is met again by a link; its contents are watched once.
    if (place < 0 || std::exchange(mFound[place].isContent, true) || depth >= deepest)
        return;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_directory(ignored))
            watchContents(entry->path(), depth + 1);
        else if (entry->is_symlink(ignored) && entry->is_regular_file(ignored)) {
            const auto file = watch(entry->path(), itselfChanges | IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB);
            if (file >= 0)
                mFound[file].isContent = true;
        }
    }
}

/// \return what events will call the place; -1 when it is not there or cannot be watched
int FolderWatches::watch(const fs::path& path, std::uint32_t events)
{
    if (mDescriptor < 0 || mFound.size() >= mostPlaces)
        return -1;
    const auto place = ::inotify_add_watch(mDescriptor, path.c_str(), events | IN_MASK_ADD);
    if (place < 0 && errno == ENOSPC && !std::exchange(mToldOfLimit, true))
        NSLog(CFSTR("Changes in \"%s\" are not noticed: %s"), path.c_str(), std::strerror(errno));
    return place;
}

bool FolderWatches::takeChanges()
{
    bool isMeantAny = false;
    bool foldersChanged = false;
    alignas(inotify_event) std::array<char, 16384> bytes;
    for (;;) {
        const auto count = ::read(mDescriptor, bytes.data(), bytes.size());
        if (count <= 0)
            break;
        for (std::size_t at = 0; at < static_cast<std::size_t>(count);) {
            inotify_event event {};
            std::memcpy(&event, bytes.data() + at, sizeof event);
            const char* const name = event.len > 0 ? bytes.data() + at + sizeof event : "";
            isMeantAny = isMeant(event.wd, event.mask, name, &foldersChanged) || isMeantAny;
            at += sizeof event + event.len;
        }
    }
    if (foldersChanged)
        renew();
    return isMeantAny;
}

bool FolderWatches::isMeant(int place, std::uint32_t events, const char* name, bool* foldersChanged) const
{
    if (events & IN_Q_OVERFLOW) {
        *foldersChanged = true;
        return true;
    }
    const auto found = mPlaces.find(place);
    if (found == mPlaces.end())
        return false;
    // A new name may be a link, whose target is watched too.
    const bool mayBeFolder = events & (IN_ISDIR | IN_IGNORED | itselfChanges | IN_CREATE | IN_MOVED_TO);
    const bool isMeant
        = found->second.isContent || (events & (itselfChanges | IN_IGNORED)) || found->second.awaited.contains(name);
    *foldersChanged = *foldersChanged || (isMeant && mayBeFolder);
    return isMeant && !(events & IN_IGNORED);
}
