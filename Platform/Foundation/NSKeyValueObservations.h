#pragma once

#include "Platform/Foundation/NSObject.h"

#include <map>
#include <vector>

/// Watches the rest of a key path behind its first key, and moves on when that key's value changes.
class NSKeyPathRelay;

/// Who observes which key of one object, and the changes under way. Used under the object's lock; observers are told
/// outside it.
class NSKeyValueObservations {
public:
    struct Observation {
        WeakRef<NSObject> observer;
        const NSObject* identity = nullptr;
        std::string keyPath;
        unsigned options = 0;
        const void* context = nullptr;
        Ref<NSKeyPathRelay> relay; ///< for a path of several keys
    };

    std::vector<Observation> observations;
    /// Values before the changes under way, innermost last, for keys whose observers ask for the old value.
    std::map<std::string, std::vector<Ref<CFType>>, std::less<>> oldValues;

    /// The observations of exactly this key.
    std::vector<Observation> observing(std::string_view key) const;
};
