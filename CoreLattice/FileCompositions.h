#pragma once

#include "CoreLattice/CompositionFolders.h"
#include "CoreLattice/CompositionImport.h"
#include "CoreLattice/CompositionTrial.h"
#include "CoreLattice/LTCUnusableComposition.h"
#include "CoreLattice/QCComposition.h"
#include "Platform/CoreServices/FSEvents.h"
#include "Platform/dispatch/dispatch.h"

#include <atomic>
#include <deque>

namespace CoreLattice {

/// Where compositions lie in files and how they are tried.
struct CompositionFileSettings {
    std::vector<std::filesystem::path> folders = usualCompositionFolders(); ///< the first one hides the others' files
    std::filesystem::path userFolder = userCompositionFolder(); ///< one of them, for what is added; empty for none
    CompositionTrial::Settings trial;
    double latency = 0.1; ///< seconds for which files must have been left alone before they are read
};

/// What came of one file.
struct FileComposition {
    std::string name;
    Ref<QCComposition> composition; ///< null when there was never one of this file that can be used
    Ref<LTCUnusableComposition> fault; ///< of the file as it is now; null when there is none
};

/// The compositions in files: finds them, reads them, tries them in another process and follows their changes, all on a
/// queue of its own. Any thread may use it; nothing waits but that queue.
class FileCompositions : public std::enable_shared_from_this<FileCompositions> {
public:
    /// \param changed  gets all that is known so far, ordered by file, whenever that has changed, on the queue
    /// \param nameOf  gives the name that a file's composition is to have
    FileCompositions(CompositionFileSettings settings, std::function<void(std::vector<FileComposition>)> changed,
        std::function<std::string(const CompositionFile&)> nameOf);

    /// Begins to look at the files and to watch them.
    void start();
    /// Ends that for good and waits for what is being done, which is cut short. To be called before the last reference
    /// goes, and not on the queue.
    void stop();
    /// What is told of files that are added, on the queue.
    struct AdditionObserver {
        std::function<bool(const QCComposition&)> isWanted;
        /// Gets the first of them, in their order, that can be used and is wanted, as soon as those before it are
        /// known to be none; it is among what is known by then.
        std::function<void(QCComposition*)> first;
        /// Gets what came of each, at the end; without a composition and a fault for a file that another one hides.
        std::function<void(std::vector<FileComposition>)> done;
    };
    /// Copies compositions into the user's folder, as `importCompositions` does, and has them read and tried, ahead of
    /// what else there is to read.
    void add(std::vector<std::filesystem::path> sources, AdditionObserver observer);
    /// Runs \p work on the queue after the files as they are now were all read and tried.
    void whenSettled(std::function<void()> work);

private:
    using Clock = std::chrono::steady_clock;
    struct Known {
        CompositionFile file;
        std::string fragment;
        std::string vertex;
        FileComposition found;
    };
    void look();
    void readNext();
    void read(const CompositionFile& file);
    std::optional<CompositionError> take(Known& known, const std::string& fragment, const std::string& vertex);
    /// Files that were added, and how many of them are known not to be the first that is wanted.
    struct Addition {
        std::vector<ImportedComposition> files;
        AdditionObserver observer;
        std::size_t passed = 0;
        bool hasFirst = false;
    };
    ReadComposition textsSaid(const std::string& file, const std::string& fragment, const std::string& vertex);
    void lookForFirst(Addition& addition);
    bool isUnread(const std::filesystem::path& fragment) const;
    void publish();
    void settle();
    FileComposition outcomeOf(const ImportedComposition& imported) const;

    const CompositionFileSettings mSettings;
    const std::function<void(std::vector<FileComposition>)> mChanged;
    const std::function<std::string(const CompositionFile&)> mNameOf;
    const std::shared_ptr<CompositionTrial> mTrial;
    const Ref<dispatch_queue> mQueue;
    Ref<FSEventStream> mStream;
    std::atomic<bool> mStopped { false };

    // Of the queue.
    std::map<std::string, Known> mKnown; ///< by the names of the files
    std::deque<CompositionFile> mUnread;
    std::vector<std::function<void()>> mWaiting;
    std::vector<Addition> mAdditions;
    /// What was read while files were copied, by their places.
    std::map<std::filesystem::path, std::shared_ptr<const ReadComposition>> mImported;
    Clock::time_point mPublished;
    bool mHasChanged = false;
};

}
