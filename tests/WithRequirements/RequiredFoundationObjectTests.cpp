#include "WithRequirements/RequiredFoundationObject.h"

#include <gtest/gtest.h>

#include <future>

namespace {

/// Notes for each notification whether it came before the change, and the value that the object had then.
class RequiredFoundationObjectTestsObserver : public NSObject {
    NS_OBJECT(RequiredFoundationObjectTestsObserver)
public:
    void observeValueForKeyPath_ofObject_change_context(
        CFString*, NSObject* object, CFDictionary* change, const void*) override
    {
        const bool isPrior = change->objectForKey(NSKeyValueChangeNotificationIsPriorKey) != nullptr;
        const auto value = kindOf<RequiredFoundationObject>(object)->stringPropertyCopy();
        seen.emplace_back(isPrior, std::string(textOf(value)));
    }
    std::vector<std::pair<bool, std::string>> seen;
};

NS_IMPLEMENTATION(RequiredFoundationObjectTestsObserver, NSObject) { }

}

TEST(RequiredFoundationObject, SetterNotifiesBeforeAndAfter)
{
    const AutoreleasePool pool;
    const auto object = make<RequiredFoundationObject>();
    const auto observer = make<RequiredFoundationObjectTestsObserver>();
    object->setStringProperty(CFSTR("old"));
    object->addObserver_forKeyPath_options_context(observer, "stringProperty", NSKeyValueObservingOptionPrior, nullptr);
    object->setStringProperty(CFSTR("new"));
    object->removeObserver_forKeyPath(observer, "stringProperty");
    EXPECT_EQ(observer->seen, (std::vector<std::pair<bool, std::string>> { { true, "old" }, { false, "new" } }));
}

namespace {

/// Notes for each notification whether another thread could enter the property's lock.
class RequiredFoundationObjectTestsLockObserver : public NSObject {
    NS_OBJECT(RequiredFoundationObjectTestsLockObserver)
public:
    void observeValueForKeyPath_ofObject_change_context(
        CFString*, NSObject* object, CFDictionary*, const void*) override
    {
        auto& lock = objc_sync_lock(kindOf<RequiredFoundationObject>(object)->stringPropertySync());
        wasFree.push_back(std::async(std::launch::async, [&lock] {
            const bool isFree = lock.try_lock();
            if (isFree)
                lock.unlock();
            return isFree;
        }).get());
    }
    std::vector<bool> wasFree;
};

NS_IMPLEMENTATION(RequiredFoundationObjectTestsLockObserver, NSObject) { }

}

TEST(RequiredFoundationObject, BothNotificationsComeOutsideTheLock)
{
    const AutoreleasePool pool;
    const auto object = make<RequiredFoundationObject>();
    const auto observer = make<RequiredFoundationObjectTestsLockObserver>();
    object->addObserver_forKeyPath_options_context(observer, "stringProperty", NSKeyValueObservingOptionPrior, nullptr);
    object->setStringProperty(CFSTR("new"));
    object->removeObserver_forKeyPath(observer, "stringProperty");
    EXPECT_EQ(observer->wasFree, (std::vector<bool> { true, true }));
}

TEST(RequiredFoundationObject, OperationsDifferInWhoOwnsTheResult)
{
    const auto object = make<RequiredFoundationObject>();
    const auto value = CFString::create("value");
    object->setStringProperty(value);
    {
        const AutoreleasePool pool;
        EXPECT_EQ(object->stringPropertyAutoreleasedCopy(), value.get());
        EXPECT_EQ(value->retainCount(), 3);
    }
    const auto retained = object->stringPropertyRetainedCopy();
    const auto copied = object->stringPropertyCopy();
    EXPECT_EQ(retained.get(), value.get());
    EXPECT_EQ(copied.get(), value.get());
    EXPECT_EQ(value->retainCount(), 4);
    EXPECT_EQ(object->valueForKey("stringProperty").get(), value.get());
}

TEST(RequiredFoundationObject, NullReleasesTheOldValue)
{
    const auto object = make<RequiredFoundationObject>();
    const auto value = CFString::create("value");
    object->setStringProperty(value);
    EXPECT_EQ(object->stringProperty(), value.get());
    EXPECT_EQ(value->retainCount(), 2);
    object->setStringProperty(nullptr);
    EXPECT_EQ(object->stringProperty(), nullptr);
    EXPECT_EQ(value->retainCount(), 1);
    EXPECT_EQ(object->stringPropertySync(), CFSTR("stringProperty"));
}

TEST(RequiredFoundationObject, HoldsServicesAndNotItsDelegate)
{
    const auto object = make<RequiredFoundationObject>();
    auto delegate = make<NSObject>();
    const auto service = make<NSObject>();
    object->setDelegate(delegate);
    object->setServiceQueue(service);
    object->setServiceSource(service);
    EXPECT_EQ(service->retainCount(), 3);
    EXPECT_EQ(object->serviceQueue().get(), service.get());
    EXPECT_EQ(object->delegate(), delegate);
    delegate = nullptr;
    EXPECT_FALSE(object->delegate());
}
