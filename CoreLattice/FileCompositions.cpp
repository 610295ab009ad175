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

void FileCompositions::add(std::vector<std::filesystem::path> sources, AdditionObserver observer)
{
    dispatch_async(mQueue, [weakSelf = weak_from_this(), sources = std::move(sources), observer = std::move(observer)] {
        const auto self = weakSelf.lock();
        if (!self || self->mStopped)
            return;
        auto files = importCompositions(sources, self->mSettings.userFolder);
        for (const auto& file : files) {
            if (file.read)
                self->mImported[file.file] = file.read;
        }
        self->mAdditions.push_back({ std::move(files), observer });
        self->look();
    });
}

bool FileCompositions::isUnread(const std::filesystem::path& fragment) const
{
    return std::ranges::find(mUnread, fragment, &CompositionFile::fragment) != mUnread.end();
}

void FileCompositions::lookForFirst(Addition& addition)
{
    for (; !addition.hasFirst && addition.passed < addition.files.size(); ++addition.passed) {
        const auto& file = addition.files[addition.passed];
        if (!file.refusal && isUnread(file.file))
            return;
        const auto outcome = outcomeOf(file);
        if (outcome.fault || !outcome.composition || !addition.observer.isWanted(*outcome.composition))
            continue;
        addition.hasFirst = true;
        publish();
        addition.observer.first(outcome.composition);
    }
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
    // The latest first: somebody may be waiting for what was just saved. Before them, in its order, what was added.
    std::ranges::stable_sort(mUnread, std::greater(),
        [](const CompositionFile& file) { return std::max(file.fragmentStamp.back(), file.vertexStamp.back()); });
    std::map<std::filesystem::path, std::size_t> added;
    for (const auto& addition : mAdditions) {
        for (const auto& file : addition.files)
            added.emplace(file.file, added.size());
    }
    std::ranges::stable_sort(mUnread, std::less(), [&](const CompositionFile& file) {
        const auto found = added.find(file.fragment);
        return found == added.end() ? added.size() : found->second;
    });
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
    for (auto& addition : mAdditions)
        lookForFirst(addition);
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

/// What was found while the file was copied, or else what is found now.
ReadComposition FileCompositions::textsSaid(
    const std::string& file, const std::string& fragment, const std::string& vertex)
{
    const auto imported = mImported.extract(file);
    if (!imported.empty() && imported.mapped()->fragment == fragment && imported.mapped()->vertex == vertex)
        return *imported.mapped();
    ReadComposition result;
    result.document = ISFDocument::parse(fragment, vertex, file, &result.error);
    return result;
}

/// \return why the composition stays as it was
std::optional<CompositionError> FileCompositions::take(
    Known& known, const std::string& fragment, const std::string& vertex)
{
    const auto path = known.file.fragment.string();
    auto said = textsSaid(path, fragment, vertex);
    if (!said.document)
        return said.error;
    if (auto fault = mTrial->run(fragment, vertex, path))
        return fault;
    known.found.composition = make<QCComposition>(CFString::create("/" + known.found.name), std::move(said.document));
    return std::nullopt;
}

void FileCompositions::settle()
{
    publish();
    mImported.clear();
    for (auto& addition : std::exchange(mAdditions, {})) {
        lookForFirst(addition);
        std::vector<FileComposition> outcomes;
        for (const auto& file : addition.files)
            outcomes.push_back(outcomeOf(file));
        addition.observer.done(std::move(outcomes));
    }
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
