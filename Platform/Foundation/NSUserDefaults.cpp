#include "Platform/Foundation/NSUserDefaults.h"

#include "Platform/Foundation/NSLog.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

namespace {

using nlohmann::json;

constexpr std::size_t deepestValue = 32;

std::filesystem::path settingsFile()
{
    const char* const configured = std::getenv("XDG_CONFIG_HOME");
    const char* const home = std::getenv("HOME");
    const std::filesystem::path folder = configured && *configured == '/'
        ? std::filesystem::path(configured)
        : std::filesystem::path(home ? home : "/") / ".config";
    return folder / "tovrin" / "defaults.json";
}

Ref<CFType> objectFrom(const json& value, std::size_t depth = 0)
{
    if (depth > deepestValue)
        return nullptr;
    if (value.is_boolean())
        return Ref<CFType>(CFBoolean::of(value.get<bool>()));
    if (value.is_number_integer())
        return CFNumber::create(value.get<std::int64_t>());
    if (value.is_number())
        return CFNumber::create(value.get<double>());
    if (value.is_string())
        return CFString::create(value.get<std::string>());
    if (value.is_array()) {
        auto array = CFArray::create();
        for (const auto& element : value) {
            if (const auto object = objectFrom(element, depth + 1))
                array->append(object);
        }
        return array;
    }
    if (value.is_object()) {
        auto dictionary = CFDictionary::create();
        for (const auto& [key, element] : value.items())
            dictionary->set(key, objectFrom(element, depth + 1).get());
        return dictionary;
    }
    return nullptr;
}

json jsonFrom(CFType* object)
{
    if (auto* const boolean = kindOf<CFBoolean>(object))
        return boolean->boolValue();
    if (auto* const number = kindOf<CFNumber>(object))
        return number->isFloatType() ? json(number->doubleValue()) : json(number->integerValue());
    if (auto* const string = kindOf<CFString>(object))
        return string->string();
    if (auto* const array = kindOf<CFArray>(object)) {
        auto result = json::array();
        for (const auto& value : array->values())
            result.push_back(jsonFrom(value));
        return result;
    }
    if (auto* const dictionary = kindOf<CFDictionary>(object)) {
        auto result = json::object();
        for (const auto& [key, value] : dictionary->entries())
            result[key->description()] = jsonFrom(value);
        return result;
    }
    return nullptr;
}

/// Replaces the file as a whole, on the disk before under its name; the message of what failed, or nothing.
std::string replaceFile(const std::filesystem::path& file, const std::string& contents)
{
    std::error_code error;
    std::filesystem::create_directories(file.parent_path(), error);
    const auto fresh = file.string() + ".new";
    const int descriptor = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return std::strerror(errno);
    std::string_view rest = contents;
    while (!rest.empty()) {
        const ssize_t written = ::write(descriptor, rest.data(), rest.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            break;
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    const bool synced = rest.empty() && ::fsync(descriptor) == 0;
    const std::string failure = synced ? std::string() : std::strerror(errno);
    ::close(descriptor);
    if (synced && std::rename(fresh.c_str(), file.c_str()) == 0)
        return {};
    const std::string message = synced ? std::strerror(errno) : failure;
    ::unlink(fresh.c_str());
    return message;
}

}

NS_IMPLEMENTATION(NSUserDefaults, NSObject)
{
    type.message("registerDefaults:", &NSUserDefaults::registerDefaults);
    type.message("synchronize", &NSUserDefaults::synchronize);
}

NSUserDefaults* NSUserDefaults::standardUserDefaults()
{
    static NSUserDefaults* const defaults = [] {
        auto made = make<NSUserDefaults>();
        made->makeImmortal();
        return made.leak();
    }();
    return defaults;
}

void NSUserDefaults::loadIfNeeded()
{
    if (std::exchange(mLoaded, true))
        return;
    mStored = CFDictionary::create();
    const auto file = settingsFile();
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        return;
    std::stringstream contents;
    contents << stream.rdbuf();
    const auto value = json::parse(contents.str(), nullptr, false);
    if (value.is_object()) {
        const auto stored = objectFrom(value);
        if (auto* const dictionary = kindOf<CFDictionary>(stored))
            mStored = dictionary;
        return;
    }
    const auto aside = file.string() + ".damaged";
    std::error_code error;
    std::filesystem::rename(file, aside, error);
    NSLog(CFSTR("The settings in %s cannot be read; they are kept as %s and the program starts with its own."),
        file.c_str(), aside.c_str());
}

void NSUserDefaults::store()
{
    const auto message = replaceFile(settingsFile(), jsonFrom(mStored).dump(4) + "\n");
    if (!message.empty())
        NSLog(CFSTR("The settings cannot be stored in %s: %s"), settingsFile().c_str(), message.c_str());
}

void NSUserDefaults::registerDefaults(CFDictionary* defaults)
{
    const std::lock_guard guard(mLock);
    for (const auto& [key, value] : defaults->entries())
        mRegistered->set(key, value);
}

CFType* NSUserDefaults::objectForKey(std::string_view key)
{
    const std::lock_guard guard(mLock);
    loadIfNeeded();
    if (auto* const stored = mStored->objectForKey(key))
        return stored;
    return mRegistered->objectForKey(key);
}

bool NSUserDefaults::boolForKey(std::string_view key)
{
    const AutoreleasePool pool;
    const auto* const number = kindOf<CFNumber>(objectForKey(key));
    return number && number->boolValue();
}

void NSUserDefaults::setObject_forKey(CFType* value, std::string_view key)
{
    const std::lock_guard guard(mLock);
    loadIfNeeded();
    mStored->set(key, value);
    store();
}

void NSUserDefaults::removeObjectForKey(std::string_view key)
{
    setObject_forKey(nullptr, key);
}

void NSUserDefaults::synchronize()
{
    const std::lock_guard guard(mLock);
    mLoaded = false;
}

namespace {

/// Stands between key-value access and the settings: every key is one of theirs.
class NSUserDefaultsValues : public NSObject {
public:
    Ref<CFType> valueForUndefinedKey(std::string_view key) override
    {
        const AutoreleasePool pool;
        return Ref<CFType>(NSUserDefaults::standardUserDefaults()->objectForKey(key));
    }
    void setValue_forUndefinedKey(CFType* value, std::string_view key) override
    {
        const NSKeyValueChange change(this, key);
        NSUserDefaults::standardUserDefaults()->setObject_forKey(value, key);
    }
};

}

NSUserDefaultsController::NSUserDefaultsController()
    : mValues(make<NSUserDefaultsValues>())
{
}

NS_IMPLEMENTATION(NSUserDefaultsController, NSObject)
{
    type.key("values", &NSUserDefaultsController::values);
}

NSUserDefaultsController* NSUserDefaultsController::sharedUserDefaultsController()
{
    static NSUserDefaultsController* const controller = [] {
        auto made = make<NSUserDefaultsController>();
        made->makeImmortal();
        return made.leak();
    }();
    return controller;
}
