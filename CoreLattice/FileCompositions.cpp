#include "CoreLattice/FileCompositions.h"

#include "CoreLattice/ISFDocument.h"
#include "Platform/dispatch/DispatchThreads.h"
#include "Platform/Foundation/NSLog.h"

#include <algorithm>

#include <fcntl.h>

namespace CoreLattice {

namespace {

/// One byte more than a composition may have, so that the reader sees that it is too much.
constexpr std::size_t longestRead = ISFDocument::longestSource + 1;
// While many files are tried for the first time, they appear in groups.
constexpr std::chrono::milliseconds publishingInterval { 250 };

/// The beginning of a file; nothing when it cannot be read.
std::optional<std::string> textOf(const std::filesystem::path& file)
{
    if (file.empty())
        return std::string();
    // Something that is no file any more shall not hold up the queue.
    const UniqueFD descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    std::string text(longestRead, '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        const auto count = ::read(descriptor.get(), text.data() + size, text.size() - size);
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        size += static_cast<std::size_t>(count);
    }
    text.resize(size);
    return text;
}

Ref<LTCUnusableComposition> faultOf(const std::string& name, const CompositionError& error)
{
    return make<LTCUnusableComposition>(
        CFString::create(name), CFString::create(error.file), error.line, CFString::create(error.message));
}

}

FileCompositions::FileCompositions(CompositionFileSettings settings,
    std::function<void(std::vector<FileComposition>)> changed,
    std::function<std::string(const CompositionFile&)> nameOf)
    : mSettings(std::move(settings))
    , mChanged(std::move(changed))
    , mNameOf(std::move(nameOf))
    , mTrial(std::make_shared<CompositionTrial>(mSettings.trial))
    , mQueue(dispatch_queue_create("CoreLattice.files"))
{
}

void FileCompositions::stop()
{
    mStopped = true;
    mTrial->cancel();
    if (mStream)
        FSEventStreamStop(mStream);
    // Posted closures hold this only while they run, and shall not be the last to do so.
    dispatch_sync(mQueue, [] {});
}

void FileCompositions::start()
{
    // A process that ends shall not wait for a trial.
    DispatchMain::whenThreadsStop([weakTrial = std::weak_ptr(mTrial)] {
        if (const auto trial = weakTrial.lock())
            trial->cancel();
    });
    auto paths = make<CFArray>();
    for (const auto& folder : mSettings.folders)
        paths->append(CFString::create(folder.string()).get());
    mStream = FSEventStreamCreate(
        [weakSelf = weak_from_this()] {
            if (const auto self = weakSelf.lock())
                self->look();
        },
        paths.get(), mSettings.latency);
    FSEventStreamSetDispatchQueue(mStream, mQueue);
    dispatch_async(mQueue, [weakSelf = weak_from_this()] {
        const auto self = weakSelf.lock();
        if (!self || self->mStopped)
            return;
        // Watched first, so that nothing changes unseen.
        if (!FSEventStreamStart(self->mStream))
            NSLog(CFSTR("Changes of compositions' files are not noticed."));
        self->look();
    });
}

void FileCompositions::whenSettled(std::function<void()> work)
{
    dispatch_async(mQueue, [weakSelf = weak_from_this(), work = std::move(work)]() mutable {
        const auto self = weakSelf.lock();
        if (!self)
            return;
        self->mWaiting.push_back(std::move(work));
        self->look();
    });
}

void FileCompositions::add(
    std::vector<std::filesystem::path> sources, std::function<void(std::vector<FileComposition>)> done)
{
    dispatch_async(mQueue, [weakSelf = weak_from_this(), sources = std::move(sources), done = std::move(done)] {
        const auto self = weakSelf.lock();
        if (!self || self->mStopped)
            return;
        self->mWaiting.push_back(
            [self = self.get(), imported = importCompositions(sources, self->mSettings.userFolder), done] {
                std::vector<FileComposition> outcomes;
                for (const auto& file : imported)
                    outcomes.push_back(self->outcomeOf(file));
                done(std::move(outcomes));
            });
        self->look();
    });
}

FileComposition FileCompositions::outcomeOf(const ImportedComposition& imported) const
{
    if (imported.refusal)
        return { {}, nullptr, faultOf(imported.file.stem().string(), *imported.refusal) };
    const auto found
        = std::ranges::find_if(mKnown, [&](const auto& entry) { return entry.second.file.fragment == imported.file; });
    return found == mKnown.end() ? FileComposition { imported.file.stem().string(), nullptr, nullptr }
                                 : found->second.found;
}

/// Compares the folders with what is known.
void FileCompositions::look()
{
    if (mStopped)
        return;
    const auto files = compositionFilesIn(mSettings.folders);
    const auto gone = std::erase_if(mKnown,
        [&](const auto& entry) { return !std::ranges::binary_search(files, entry.first, {}, &CompositionFile::name); });
    mHasChanged = mHasChanged || gone > 0;
    const bool wasReading = !mUnread.empty();
    mUnread.clear();
    for (const auto& file : files) {
        const auto known = mKnown.find(file.name);
        if (known == mKnown.end() || known->second.file != file)
            mUnread.push_back(file);
    }
    // The latest first: somebody may be waiting for what was just saved.
    std::ranges::stable_sort(mUnread, std::greater(),
        [](const CompositionFile& file) { return std::max(file.fragmentStamp.back(), file.vertexStamp.back()); });
    if (mUnread.empty())
        settle();
    else if (!wasReading)
        readNext();
}

/// One file at a time, so that changes are seen in between.
void FileCompositions::readNext()
{
    if (mStopped)
        return;
    if (!mUnread.empty()) {
        const auto file = std::move(mUnread.front());
        mUnread.pop_front();
        read(file);
    }
    if (mUnread.empty()) {
        settle();
        return;
    }
    if (mHasChanged && Clock::now() - mPublished >= publishingInterval)
        publish();
    dispatch_async(mQueue, [weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock())
            self->readNext();
    });
}

void FileCompositions::read(const CompositionFile& file)
{
    auto fragment = textOf(file.fragment);
    auto vertex = textOf(file.vertex);
    auto& known = mKnown[file.name];
    const bool isMoved = known.file.fragment != file.fragment;
    known.file = file;
    known.found.name = mNameOf(file);
    const bool isSame = !isMoved && known.fragment == fragment && known.vertex == vertex;
    if (isSame && (known.found.composition || known.found.fault))
        return;
    mHasChanged = true;
    const auto error = fragment && vertex
        ? take(known, *fragment, *vertex)
        : std::optional(CompositionError { file.fragment.string(), 0, "the file cannot be read" });
    known.fragment = std::move(fragment).value_or("");
    known.vertex = std::move(vertex).value_or("");
    known.found.fault = nullptr;
    if (!error)
        return;
    NSLog(CFSTR("A composition cannot be used: %s"), error->text().c_str());
    known.found.fault = faultOf(known.found.name, *error);
    // One of another file with this name is nothing to keep.
    if (isMoved)
        known.found.composition = nullptr;
}

/// \return why the composition stays as it was
std::optional<CompositionError> FileCompositions::take(
    Known& known, const std::string& fragment, const std::string& vertex)
{
    const auto path = known.file.fragment.string();
    CompositionError error;
    auto document = ISFDocument::parse(fragment, vertex, path, &error);
    if (!document)
        return error;
    if (auto fault = mTrial->run(fragment, vertex, path))
        return fault;
    known.found.composition = make<QCComposition>(CFString::create("/" + known.found.name), std::move(document));
    return std::nullopt;
}

void FileCompositions::settle()
{
    publish();
    for (const auto& work : std::exchange(mWaiting, {}))
        work();
}

void FileCompositions::publish()
{
    if (!std::exchange(mHasChanged, false))
        return;
    mPublished = Clock::now();
    std::vector<FileComposition> found;
    for (const auto& [name, known] : mKnown)
        found.push_back(known.found);
    mChanged(std::move(found));
}

}
