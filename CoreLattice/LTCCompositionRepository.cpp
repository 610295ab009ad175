#include "CoreLattice/LTCCompositionRepository.h"

#include "CoreLattice/CompiledCompositions.h"
#include "CoreLattice/FileCompositions.h"
#include "CoreLattice/ISFDocument.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSNotification.h"

#include <algorithm>
#include <array>

using CoreLattice::CompiledComposition;

namespace {

/// The files of the application begin with this and are offered only after they were registered.
constexpr std::string_view applicationPrefix = "QCImageFilter";
/// Tools for applications, which keep them from the user.
constexpr std::array<std::string_view, 4> tools { "exposure adjust", "gamma adjust", "image resizer", "sharpen" };

Ref<CFString> identifierOf(std::string_view name)
{
    return CFString::create("/" + std::string(name));
}

Ref<QCComposition> compositionWithText(const CompiledComposition& text)
{
    CoreLattice::CompositionError error;
    const auto document
        = CoreLattice::ISFDocument::parse(text.fragment, text.vertex, std::string(text.name) + ".fs", &error);
    if (!document) {
        NSLog(CFSTR("A composition cannot be used: %s"), error.text().c_str());
        return nullptr;
    }
    return make<QCComposition>(identifierOf(text.name), document);
}

/// The name that a file's composition goes by.
std::string nameOfFile(const CoreLattice::CompositionFile& file)
{
    const bool isTaken = file.name.starts_with(applicationPrefix) || std::ranges::find(tools, file.name) != tools.end();
    return isTaken ? file.name + file.fragment.extension().string() : file.name;
}

bool hasAttributes(const QCComposition& composition, CFDictionary* attributes)
{
    if (!attributes)
        return true;
    return std::ranges::all_of(attributes->entries(), [&](const auto& entry) {
        auto* const value = composition.attributes()->objectForKey(entry.first.get());
        return value && CFEqual(value, entry.second.get());
    });
}

}

NS_IMPLEMENTATION(LTCCompositionRepository, NSObject)
{
    type.message(
        "registerApplicationCompositionWithName:", &LTCCompositionRepository::registerApplicationCompositionWithName);
}

LTCCompositionRepository::LTCCompositionRepository()
    : mUnusable(make<CFArray>())
{
}

LTCCompositionRepository::~LTCCompositionRepository()
{
    if (mFiles)
        mFiles->stop();
}

LTCCompositionRepository* LTCCompositionRepository::sharedCompositionRepository()
{
    // Never destroyed: files are followed until the process ends.
    static LTCCompositionRepository* const shared = [] {
        auto repository = make<LTCCompositionRepository>();
        repository->followFiles({});
        return repository.leak();
    }();
    return shared;
}

void LTCCompositionRepository::followFiles(CoreLattice::CompositionFileSettings settings)
{
    // Taken over on the main thread, so that a repository never ends on the queue that it would wait for.
    const auto changed = [weakSelf = WeakRef { this }](std::vector<CoreLattice::FileComposition> files) {
        dispatch_async(dispatch_get_main_queue(), [weakSelf, files = std::move(files)] {
            if (const auto self = weakSelf.strongReference())
                self->takeFiles(files);
        });
    };
    mFiles = std::make_shared<CoreLattice::FileCompositions>(std::move(settings), changed, nameOfFile);
    mFiles->start();
}

void LTCCompositionRepository::takeFiles(const std::vector<CoreLattice::FileComposition>& files)
{
    std::vector<Entry> entries;
    auto unusable = make<CFArray>();
    for (const auto& file : files) {
        if (file.composition)
            entries.push_back({ CFString::create(file.name), file.composition });
        if (file.fault)
            unusable->append(file.fault);
    }
    {
        const std::lock_guard lock(mLock);
        mFileEntries.swap(entries);
        std::swap(mUnusable, unusable);
    }
    NSNotificationCenter::defaultCenter()->postNotificationName_object(
        LTCCompositionRepositoryDidUpdateNotification, this);
}

void LTCCompositionRepository::whenFilesAreRead(std::function<void()> work)
{
    if (!mFiles) {
        work();
        return;
    }
    mFiles->whenSettled([work = std::move(work)] { dispatch_async(dispatch_get_main_queue(), work); });
}

void LTCCompositionRepository::addFiles_protocol_first(
    CFArray* paths, CFString* protocol, std::function<void(QCComposition*)> first)
{
    if (!mFiles || !paths)
        return;
    std::vector<std::filesystem::path> sources;
    for (const auto& path : paths->values()) {
        if (const auto* const text = kindOf<CFString>(path))
            sources.emplace_back(text->string());
    }
    CoreLattice::FileCompositions::AdditionObserver observer;
    observer.isWanted = [protocol = Ref(protocol)](
                            const QCComposition& composition) { return composition.conformsToProtocol(protocol); };
    // Both behind the closure that takes over the files, which was posted before.
    observer.first = [first = std::move(first)](QCComposition* composition) {
        dispatch_async(dispatch_get_main_queue(), [first, composition = Ref(composition)] { first(composition); });
    };
    observer.done = [weakSelf = WeakRef { this }](std::vector<CoreLattice::FileComposition> files) {
        dispatch_async(dispatch_get_main_queue(), [weakSelf, files = std::move(files)] {
            if (const auto self = weakSelf.strongReference())
                self->tellOfAddedFiles(files);
        });
    };
    mFiles->add(std::move(sources), std::move(observer));
}

void LTCCompositionRepository::tellOfAddedFiles(const std::vector<CoreLattice::FileComposition>& files)
{
    const auto compositions = make<CFArray>();
    const auto unusable = make<CFArray>();
    for (const auto& file : files) {
        if (file.fault)
            unusable->append(file.fault);
        else if (file.composition)
            compositions->append(file.composition);
    }
    const auto userInfo = CFDictionary::create(
        { { CFSTR("compositions"), compositions.get() }, { CFSTR("unusable"), unusable.get() } });
    NSNotificationCenter::defaultCenter()->postNotificationName_object_userInfo(
        LTCCompositionRepositoryDidAddFilesNotification, this, userInfo);
}

void LTCCompositionRepository::registerOwnCompositions()
{
    std::call_once(mOwnRegistered, [this] {
        for (const auto& text : CoreLattice::compiledCompositions()) {
            if (text.name.starts_with(applicationPrefix))
                continue;
            if (auto composition = compositionWithText(text))
                mOwnEntries.push_back({ CFString::create(text.name), std::move(composition) });
        }
    });
}

void LTCCompositionRepository::registerApplicationCompositionWithName(CFString* name)
{
    if (!isPresent(name))
        return;
    const std::lock_guard lock(mLock);
    if (std::ranges::any_of(mApplicationEntries, [&](const Entry& entry) { return CFEqual(entry.name, name); }))
        return;
    for (const auto& text : CoreLattice::compiledCompositions()) {
        if (text.name != textOf(name))
            continue;
        if (auto composition = compositionWithText(text))
            mApplicationEntries.push_back({ name, std::move(composition) });
        return;
    }
    NSLog(CFSTR("No composition has the name \"%@\""), name);
}

/// All of them in their order; a file's composition stands where the one of its name did that it goes before.
std::vector<LTCCompositionRepository::Entry> LTCCompositionRepository::entries()
{
    registerOwnCompositions();
    const std::lock_guard lock(mLock);
    auto result = mApplicationEntries;
    result.insert(result.end(), mOwnEntries.begin(), mOwnEntries.end());
    const auto firstOwn = result.begin() + static_cast<std::ptrdiff_t>(mApplicationEntries.size());
    std::vector<Entry> more;
    for (const auto& entry : mFileEntries) {
        const auto hidden
            = std::find_if(firstOwn, result.end(), [&](const Entry& own) { return CFEqual(own.name, entry.name); });
        if (hidden == result.end())
            more.push_back(entry);
        else
            *hidden = entry;
    }
    result.insert(result.end(), more.begin(), more.end());
    return result;
}

QCComposition* LTCCompositionRepository::compositionWithName(CFString* name)
{
    if (!isPresent(name))
        return nullptr;
    return autorelease(sharedCompositionRepository()->compositionWithIdentifier(identifierOf(textOf(name)).get()));
}

Ref<QCComposition> LTCCompositionRepository::compositionWithIdentifier(CFString* identifier)
{
    const auto all = entries();
    const auto found = std::ranges::find_if(
        all, [&](const Entry& entry) { return CFEqual(entry.composition->identifier(), identifier); });
    return found == all.end() ? nullptr : found->composition;
}

Ref<CFArray> LTCCompositionRepository::compositionsWithProtocol_andAttributes(
    CFString* protocol, CFDictionary* attributes)
{
    auto result = make<CFArray>();
    for (const auto& entry : entries()) {
        if (entry.composition->conformsToProtocol(protocol) && hasAttributes(*entry.composition, attributes))
            result->append(entry.composition);
    }
    return result;
}

Ref<CFArray> LTCCompositionRepository::unusableCompositions()
{
    const std::lock_guard lock(mLock);
    return mUnusable;
}
