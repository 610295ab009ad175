#include "Platform/Foundation/NSKeyValueObservations.h"

#include <algorithm>

std::vector<NSKeyValueObservations::Observation> NSKeyValueObservations::observing(std::string_view key) const
{
    std::vector<Observation> found;
    std::ranges::copy_if(observations, std::back_inserter(found),
        [key](const Observation& observation) { return observation.keyPath == key; });
    return found;
}

namespace {

CFType* orNull(const Ref<CFType>& value)
{
    return value ? value.get() : kCFNull;
}

}

class NSKeyPathRelay : public NSObject {
    NS_OBJECT(NSKeyPathRelay)
public:
    NSKeyPathRelay() = default;

    void start(NSObject* root, NSObject* observer, std::string keyPath, unsigned options, const void* context)
    {
        mRoot = root;
        mObserver = observer;
        mKeyPath = std::move(keyPath);
        mOptions = options;
        mContext = context;
        const auto dot = mKeyPath.find('.');
        mHead = mKeyPath.substr(0, dot);
        mTail = mKeyPath.substr(dot + 1);
        root->addObserver_forKeyPath_options_context(this, mHead, NSKeyValueObservingOptionPrior, nullptr);
        attach(root);
        if (mOptions & NSKeyValueObservingOptionInitial)
            tell(nullptr, false);
    }
    void stop()
    {
        detach();
        if (const auto root = mRoot.strongReference())
            root->removeObserver_forKeyPath(this, mHead);
    }

    void observeValueForKeyPath_ofObject_change_context(
        CFString* keyPath, NSObject* object, CFDictionary* change, const void* /*context*/) override
    {
        const AutoreleasePool pool;
        const bool isPrior = change->objectForKey(NSKeyValueChangeNotificationIsPriorKey) != nullptr;
        if (keyPath->string() == mHead && object == mRoot.strongReference().get()) {
            if (isPrior)
                detach();
            else
                attach(object);
        }
        if (isPrior && !(mOptions & NSKeyValueObservingOptionPrior))
            return;
        tell(change->objectForKey(NSKeyValueChangeOldKey), isPrior);
    }

private:
    void attach(NSObject* root)
    {
        auto middle = root->valueForKey(mHead);
        auto* const next = kindOf<NSObject>(middle);
        mMiddle = next;
        if (next)
            next->addObserver_forKeyPath_options_context(
                this, mTail, (mOptions & NSKeyValueObservingOptionOld) | NSKeyValueObservingOptionPrior, nullptr);
    }
    void detach()
    {
        if (const auto middle = mMiddle.strongReference())
            middle->removeObserver_forKeyPath(this, mTail);
        mMiddle = nullptr;
    }
    void tell(CFType* old, bool isPrior)
    {
        const auto root = mRoot.strongReference();
        const auto observer = mObserver.strongReference();
        if (!root || !observer)
            return;
        auto change = CFDictionary::create();
        if (isPrior)
            change->set(NSKeyValueChangeNotificationIsPriorKey, kCFBooleanTrue);
        if (old)
            change->set(NSKeyValueChangeOldKey, old);
        if (!isPrior && (mOptions & NSKeyValueObservingOptionNew))
            change->set(NSKeyValueChangeNewKey, orNull(root->valueForKeyPath(mKeyPath)));
        observer->observeValueForKeyPath_ofObject_change_context(
            CFString::create(mKeyPath).get(), root, change, mContext);
    }

    WeakRef<NSObject> mRoot;
    WeakRef<NSObject> mObserver;
    WeakRef<NSObject> mMiddle;
    std::string mKeyPath;
    std::string mHead;
    std::string mTail;
    unsigned mOptions = 0;
    const void* mContext = nullptr;
};

NS_IMPLEMENTATION(NSKeyPathRelay, NSObject) { }

// Here, where all that an object's observations are made of is known.
NSObject::NSObject() = default;
NSObject::~NSObject() = default;

void NSObject::addObserver_forKeyPath_options_context(
    NSObject* observer, std::string_view keyPath, unsigned options, const void* context)
{
    NSKeyValueObservations::Observation observation;
    observation.observer = observer;
    observation.identity = observer;
    observation.keyPath = keyPath;
    observation.options = options;
    observation.context = context;
    const bool isPath = keyPath.find('.') != std::string_view::npos;
    if (isPath)
        observation.relay = make<NSKeyPathRelay>();
    const auto relay = observation.relay;
    {
        const std::lock_guard guard(mObservationsLock);
        if (!mObservations)
            mObservations = std::make_unique<NSKeyValueObservations>();
        // Observers that died without a word are forgotten here.
        std::erase_if(mObservations->observations, [](const auto& other) { return other.observer.isNull(); });
        mObservations->observations.push_back(std::move(observation));
    }
    if (isPath) {
        relay->start(this, observer, std::string(keyPath), options, context);
        return;
    }
    if (!(options & NSKeyValueObservingOptionInitial))
        return;
    auto change = CFDictionary::create();
    if (options & NSKeyValueObservingOptionNew)
        change->set(NSKeyValueChangeNewKey, orNull(valueForKey(keyPath)));
    observer->observeValueForKeyPath_ofObject_change_context(CFString::create(keyPath).get(), this, change, context);
}

void NSObject::removeObserver_forKeyPath(NSObject* observer, std::string_view keyPath)
{
    Ref<NSKeyPathRelay> relay;
    {
        const std::lock_guard guard(mObservationsLock);
        auto* const list = mObservations ? &mObservations->observations : nullptr;
        const auto matches = [&](const auto& entry) { return entry.identity == observer && entry.keyPath == keyPath; };
        const auto found = list ? std::ranges::find_if(*list, matches)
                                : std::vector<NSKeyValueObservations::Observation>::iterator();
        if (!list || found == list->end())
            throw NSException("NSRangeException",
                "cannot remove an observer for the key path \"" + std::string(keyPath) + "\" because it is not one");
        relay = found->relay;
        list->erase(found);
    }
    if (relay)
        relay->stop();
}

void NSObject::removeObserver_forKeyPath_context(NSObject* observer, std::string_view keyPath, const void* context)
{
    Ref<NSKeyPathRelay> relay;
    {
        const std::lock_guard guard(mObservationsLock);
        if (!mObservations)
            return;
        auto& list = mObservations->observations;
        const auto found = std::ranges::find_if(list, [&](const auto& entry) {
            return entry.identity == observer && entry.keyPath == keyPath && entry.context == context;
        });
        if (found == list.end())
            return;
        relay = found->relay;
        list.erase(found);
    }
    if (relay)
        relay->stop();
}

namespace {

/// The key itself and every key that depends on it, at any distance, each once.
std::vector<std::string> affectedKeys(Class type, std::string_view key)
{
    std::vector<std::string> keys { std::string(key) };
    for (std::size_t at = 0; at < keys.size(); ++at) {
        for (auto& dependent : type->keysDependingOn(keys[at])) {
            if (std::ranges::find(keys, dependent) == keys.end())
                keys.push_back(std::move(dependent));
        }
    }
    return keys;
}

}

void NSObject::willChangeValueForKey(std::string_view key)
{
    const AutoreleasePool pool;
    {
        const std::lock_guard guard(mObservationsLock);
        if (!mObservations)
            return;
    }
    for (const auto& affected : affectedKeys(isa(), key)) {
        std::vector<NSKeyValueObservations::Observation> observing;
        {
            const std::lock_guard guard(mObservationsLock);
            observing = mObservations->observing(affected);
        }
        if (observing.empty())
            continue;
        Ref<CFType> old;
        if (std::ranges::any_of(
                observing, [](const auto& entry) { return entry.options & NSKeyValueObservingOptionOld; }))
            old = orNull(valueForKey(affected));
        {
            const std::lock_guard guard(mObservationsLock);
            mObservations->oldValues[affected].push_back(old);
        }
        for (const auto& entry : observing) {
            const auto observer = entry.observer.strongReference();
            if (!observer || !(entry.options & NSKeyValueObservingOptionPrior))
                continue;
            auto change = CFDictionary::create();
            change->set(NSKeyValueChangeNotificationIsPriorKey, kCFBooleanTrue);
            if (old && (entry.options & NSKeyValueObservingOptionOld))
                change->set(NSKeyValueChangeOldKey, old);
            observer->observeValueForKeyPath_ofObject_change_context(
                CFString::create(affected).get(), this, change, entry.context);
        }
    }
}

void NSObject::didChangeValueForKey(std::string_view key)
{
    const AutoreleasePool pool;
    {
        const std::lock_guard guard(mObservationsLock);
        if (!mObservations)
            return;
    }
    for (const auto& affected : affectedKeys(isa(), key)) {
        std::vector<NSKeyValueObservations::Observation> observing;
        Ref<CFType> old;
        {
            const std::lock_guard guard(mObservationsLock);
            observing = mObservations->observing(affected);
            if (const auto found = mObservations->oldValues.find(affected); found != mObservations->oldValues.end()) {
                old = std::move(found->second.back());
                found->second.pop_back();
                if (found->second.empty())
                    mObservations->oldValues.erase(found);
            }
        }
        for (const auto& entry : observing) {
            const auto observer = entry.observer.strongReference();
            if (!observer)
                continue;
            auto change = CFDictionary::create();
            if (old && (entry.options & NSKeyValueObservingOptionOld))
                change->set(NSKeyValueChangeOldKey, old);
            if (entry.options & NSKeyValueObservingOptionNew)
                change->set(NSKeyValueChangeNewKey, orNull(valueForKey(affected)));
            observer->observeValueForKeyPath_ofObject_change_context(
                CFString::create(affected).get(), this, change, entry.context);
        }
    }
}
