#include "Platform/Foundation/NSBundle.h"

NS_IMPLEMENTATION(NSBundle, NSObject) { }

NSBundle* NSBundle::mainBundle()
{
    static NSBundle* const bundle = [] {
        auto object = make<NSBundle>();
        object->makeImmortal();
        return object.leak();
    }();
    return bundle;
}

std::span<const std::byte> NSBundle::resourceNamed(std::string_view name) const
{
    const std::lock_guard lock(mLock);
    const auto found = mResources.find(name);
    return found == mResources.end() ? std::span<const std::byte>() : found->second;
}

void NSBundle::addResource(std::string_view name, std::span<const std::byte> bytes)
{
    const std::lock_guard lock(mLock);
    mResources.insert_or_assign(std::string(name), bytes);
}

void NSBundle::setInfo(std::string_view key, std::string_view value)
{
    mInfo->set(key, CFString::create(value).get());
}
