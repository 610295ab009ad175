#pragma once

#include "Platform/Foundation/NSObject.h"

#include <mutex>

/// The user's settings: a value by key, the stored one before the registered default.
///
/// Stored as one JSON file, `<configuration folder>/tovrin/defaults.json`, replaced as a whole at each change. A file
/// that cannot be read is renamed with the ending ".damaged" and one line says so. Strings, numbers, truth values, and
/// lists and dictionaries of them can be stored. Any thread may use it.
class NSUserDefaults : public NSObject {
    NS_OBJECT(NSUserDefaults)
public:
    NSUserDefaults() = default;
    static NSUserDefaults* standardUserDefaults();

    void registerDefaults(CFDictionary* defaults);
    /// Kept by the innermost pool; null when neither stored nor registered.
    CFType* objectForKey(std::string_view key);
    bool boolForKey(std::string_view key);
    void setObject_forKey(CFType* value, std::string_view key);
    void removeObjectForKey(std::string_view key);
    /// Forgets what was read, so that the next access reads the file again.
    void synchronize();

private:
    void loadIfNeeded();
    void store();
    std::mutex mLock;
    bool mLoaded = false;
    Ref<CFDictionary> mStored = make<CFDictionary>();
    Ref<CFDictionary> mRegistered = make<CFDictionary>();
};

/// The values of the user's settings as an object, `values.<key>`, so that they can be bound.
class NSUserDefaultsController : public NSObject {
    NS_OBJECT(NSUserDefaultsController)
public:
    NSUserDefaultsController();
    static NSUserDefaultsController* sharedUserDefaultsController();
    NSObject* values() const { return mValues; }

private:
    const Ref<NSObject> mValues;
};
