#include "Platform/Foundation/NSNotification.h"

#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSOperationQueue.h"

#include <algorithm>
#include <iterator>

NSNotification::NSNotification(CFString* name, CFType* object, CFDictionary* userInfo)
    : mName(name)
    , mObject(object)
    , mUserInfo(userInfo)
{
}

NS_IMPLEMENTATION(NSNotification, NSObject)
{
    type.key("name", &NSNotification::name);
    type.key("object", &NSNotification::object);
    type.key("userInfo", &NSNotification::userInfo);
}

NS_IMPLEMENTATION(NSNotificationCenter, NSObject)
{
    type.message("removeObserver:", &NSNotificationCenter::removeObserver);
}

NSNotificationCenter* NSNotificationCenter::defaultCenter()
{
    static NSNotificationCenter* const center = [] {
        auto made = make<NSNotificationCenter>();
        made->makeImmortal();
        return made.leak();
    }();
    return center;
}

void NSNotificationCenter::addObserver_selector_name_object(
    NSObject* observer, SEL selector, CFString* name, CFType* object)
{
    if (!observer)
        return;
    const std::lock_guard guard(mLock);
    std::erase_if(mEntries, [](const Entry& entry) { return entry.observer.isNull(); });
    mEntries.push_back({ observer, observer, std::string(selector), name, object, nullptr });
}

namespace {

/// Stands as the observer for a block.
class NSNotificationBlock : public NSObject {
    NS_OBJECT(NSNotificationBlock)
public:
    NSNotificationBlock(bool onMainQueue, std::function<void(NSNotification*)> block)
        : mOnMainQueue(onMainQueue)
        , mBlock(std::move(block))
    {
    }
    void run(NSNotification* notification)
    {
        if (!mOnMainQueue || DispatchMain::isMainThread()) {
            mBlock(notification);
            return;
        }
        dispatch_async(dispatch_get_main_queue(),
            [self = Ref(this), notification = Ref(notification)] { self->mBlock(notification); });
    }

private:
    const bool mOnMainQueue;
    const std::function<void(NSNotification*)> mBlock;
};

NS_IMPLEMENTATION(NSNotificationBlock, NSObject)
{
    type.message("run:", &NSNotificationBlock::run);
}

}

Ref<NSObject> NSNotificationCenter::addObserverForName_object_queue_usingBlock(
    CFString* name, CFType* object, NSOperationQueue* queue, std::function<void(NSNotification*)> block)
{
    Ref<NSObject> token = make<NSNotificationBlock>(queue == NSOperationQueue::mainQueue(), std::move(block));
    const std::lock_guard guard(mLock);
    mEntries.push_back({ token, token.get(), "run:", name, object, token });
    return token;
}

void NSNotificationCenter::removeObserver(NSObject* observer)
{
    removeObserver_name_object(observer, nullptr, nullptr);
}

void NSNotificationCenter::removeObserver_name_object(NSObject* observer, CFString* name, CFType* object)
{
    // What goes with the entries goes after the lock: the end of a block's closure may come back here.
    std::vector<Entry> removed;
    const std::lock_guard guard(mLock);
    const auto leaving = std::stable_partition(mEntries.begin(), mEntries.end(), [&](const Entry& entry) {
        return entry.identity != observer || (name && !CFEqual(entry.name.get(), name))
            || (object && entry.object != object);
    });
    removed.assign(std::make_move_iterator(leaving), std::make_move_iterator(mEntries.end()));
    mEntries.erase(leaving, mEntries.end());
}

void NSNotificationCenter::postNotificationName_object(CFString* name, CFType* object)
{
    postNotificationName_object_userInfo(name, object, nullptr);
}

void NSNotificationCenter::postNotificationName_object_userInfo(CFString* name, CFType* object, CFDictionary* userInfo)
{
    std::vector<Entry> interested;
    {
        const std::lock_guard guard(mLock);
        std::ranges::copy_if(mEntries, std::back_inserter(interested), [&](const Entry& entry) {
            return (!entry.name || CFEqual(entry.name.get(), name)) && (!entry.object || entry.object == object);
        });
    }
    const AutoreleasePool pool;
    const auto notification = make<NSNotification>(name, object, userInfo);
    for (const auto& entry : interested) {
        if (const auto observer = entry.observer.strongReference())
            observer->performSelector(entry.selector, notification);
    }
}
