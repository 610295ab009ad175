#include "CoreLattice/LTCCompositionRepository.h"

#include "CoreLattice/CompiledCompositions.h"
#include "CoreLattice/ISFDocument.h"
#include "Platform/Foundation/NSLog.h"

#include <algorithm>

using CoreLattice::CompiledComposition;

namespace {

/// The files of the application begin with this and are offered only after they were registered.
constexpr std::string_view applicationPrefix = "QCImageFilter";

Ref<QCComposition> compositionWithText(const CompiledComposition& text)
{
    CoreLattice::CompositionError error;
    const auto document
        = CoreLattice::ISFDocument::parse(text.fragment, text.vertex, std::string(text.name) + ".fs", &error);
    if (!document) {
        NSLog(CFSTR("A composition cannot be used: %s"), error.text().c_str());
        return nullptr;
    }
    return make<QCComposition>(CFString::create("/" + std::string(text.name)), document);
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

LTCCompositionRepository* LTCCompositionRepository::sharedCompositionRepository()
{
    static const auto shared = make<LTCCompositionRepository>();
    return shared;
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

QCComposition* LTCCompositionRepository::compositionWithName(CFString* name)
{
    if (!isPresent(name))
        return nullptr;
    auto* const repository = sharedCompositionRepository();
    repository->registerOwnCompositions();
    const std::lock_guard lock(repository->mLock);
    for (const auto* const entries : { &repository->mApplicationEntries, &repository->mOwnEntries }) {
        for (const auto& entry : *entries) {
            if (CFEqual(entry.name, name))
                return autorelease(entry.composition);
        }
    }
    return nullptr;
}

Ref<CFArray> LTCCompositionRepository::compositionsWithProtocol_andAttributes(
    CFString* protocol, CFDictionary* attributes)
{
    registerOwnCompositions();
    auto result = make<CFArray>();
    const std::lock_guard lock(mLock);
    for (const auto* const entries : { &mApplicationEntries, &mOwnEntries }) {
        for (const auto& entry : *entries) {
            if (entry.composition->conformsToProtocol(protocol) && hasAttributes(*entry.composition, attributes))
                result->append(entry.composition);
        }
    }
    return result;
}
