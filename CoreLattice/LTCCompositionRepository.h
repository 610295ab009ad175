#pragma once

#include "CoreLattice/LTCUnusableComposition.h"
#include "CoreLattice/QCComposition.h"

#include <functional>
#include <mutex>
#include <vector>

namespace CoreLattice {
class FileCompositions;
struct CompositionFileSettings;
struct FileComposition;
}

/// The compositions of a repository, or its unusable files, are others now: object, the repository. Posted on the main
/// thread; several changes within a short time are one.
inline CFString* const LTCCompositionRepositoryDidUpdateNotification
    = CFSTR("LTCCompositionRepositoryDidUpdateNotification");

/// Files were added to a repository: object, the repository; `userInfo` has, of all files of one addition, the
/// `QCComposition`s that can be used at the key "compositions" and an `LTCUnusableComposition` for each other one at
/// the key "unusable", both in the order of the files. Posted on the main thread when the repository has them.
inline CFString* const LTCCompositionRepositoryDidAddFilesNotification
    = CFSTR("LTCCompositionRepositoryDidAddFilesNotification");

/// The compositions that the process knows: those that the framework brings along, those that the application
/// registers, and those in files. Any thread may use it, and no call waits for files.
///
/// Files lie in the folders "tovrin/compositions" of the user's data folder and of the system's, as freedesktop defines
/// them, and below those; they end in ".fs", ".isf" or ".frag" and may have a vertex shader of the same name beside
/// them, ".vs" or ".vert". A file's composition has the path below its folder, without the extension, as its name. With
/// equal names, the user's file goes before the system's, and the system's before what the framework brings along; but
/// what the application registers, and the framework's own tools "exposure adjust", "gamma adjust", "image resizer" and
/// "sharpen", stay what they are, and a file with such a name is one more composition, named with its extension.
///
/// A file is read and tried in another process first, which takes a moment; it is there from then on. An edited file
/// gives a new composition with the same identifier. One that cannot be used is listed with the reason, and where
/// it could be used before, the composition stays as it was.
class LTCCompositionRepository : public NSObject {
    NS_OBJECT(LTCCompositionRepository)
public:
    /// The one for the process, which knows the files of the user and of the system; it begins to look for them when it
    /// is first asked for.
    static LTCCompositionRepository* sharedCompositionRepository();

    /// Without files.
    LTCCompositionRepository();
    ~LTCCompositionRepository() override;

    /// Looks for files from now on, and follows their changes. To be called once.
    void followFiles(CoreLattice::CompositionFileSettings settings);
    /// Runs \p work on the main thread after the files as they are now were all read and tried; at once where no files
    /// are looked for.
    void whenFilesAreRead(std::function<void()> work);

    /// Copies files into the user's folder: compositions with the vertex shaders and the pictures that belong to them,
    /// and all compositions of a folder. Nothing is overwritten; a name that is taken gets a number. The files are then
    /// read and tried as others are, ahead of those and in their order;
    /// `LTCCompositionRepositoryDidAddFilesNotification` tells what came of them. What is no composition at all, or
    /// larger than any, is not copied. Without files to follow, nothing happens. \param paths  texts \param first  runs
    /// on the main thread, once at most, as soon as it is settled which is the first of them that can
    ///     be used and has the ports of \p protocol, however many are still to be tried; the repository has it by then
    void addFiles_protocol_first(CFArray* paths, CFString* protocol, std::function<void(QCComposition*)> first);

    /// Adds the composition that was compiled into the program under \p name. A name that is there already, or that no
    /// composition has, changes nothing; the latter is logged, and so is a file that cannot be read, with its message.
    void registerApplicationCompositionWithName(CFString* name);

    /// The composition of the shared repository with this registered name, kept by the innermost pool; null when there
    /// is none.
    static QCComposition* compositionWithName(CFString* name);
    /// The composition with this identifier; null when there is none.
    Ref<QCComposition> compositionWithIdentifier(CFString* identifier);

    /// Those with the ports of \p protocol: the application's first, in the order in which they were registered, then
    /// the framework's, then those in files by their names.
    /// \param attributes  values that the composition's own attributes must equal; null or empty for none
    Ref<CFArray> compositionsWithProtocol_andAttributes(CFString* protocol, CFDictionary* attributes);
    /// An `LTCUnusableComposition` for each file that cannot be used as it is now, by their names.
    Ref<CFArray> unusableCompositions();

private:
    struct Entry {
        Ref<CFString> name;
        Ref<QCComposition> composition;
    };
    void registerOwnCompositions();
    std::vector<Entry> entries();
    void tellOfAddedFiles(const std::vector<CoreLattice::FileComposition>& files);
    void takeFiles(const std::vector<CoreLattice::FileComposition>& files);

    std::once_flag mOwnRegistered;
    std::shared_ptr<CoreLattice::FileCompositions> mFiles;
    std::mutex mLock;
    std::vector<Entry> mApplicationEntries;
    std::vector<Entry> mOwnEntries;
    std::vector<Entry> mFileEntries;
    Ref<CFArray> mUnusable;
};
