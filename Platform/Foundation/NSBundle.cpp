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

std::vector<std::string> NSBundle::resourceNames() const
{
    const std::lock_guard lock(mLock);
    std::vector<std::string> names;
    for (const auto& [name, bytes] : mResources)
        names.push_back(name);
    return names;
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

CFString* NSBundle::localizedStringForKey_value_table(CFString* key, CFString* value, CFString* /*table*/) const
{
    const std::lock_guard guard(mLock);
    const auto found = mTranslations.find(textOf(key));
    if (found != mTranslations.end())
        return autorelease(CFString::create(found->second));
    return textOf(value).empty() ? key : value;
}

void NSBundle::setTranslation(std::string_view key, std::string_view text)
{
    const std::lock_guard guard(mLock);
    mTranslations.insert_or_assign(std::string(key), std::string(text));
}
