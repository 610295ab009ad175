#pragma once

#include "Platform/CoreFoundation/CFString.h"

#include <initializer_list>
#include <mutex>
#include <utility>
#include <vector>

/// An ordered list of objects. Locks inside, so any thread may use one at any time; `mutable` use is by `append` and
/// its like, and lists given out as results are not changed afterwards.
class CFArray : public CFType {
public:
    CFArray() = default;
    explicit CFArray(std::vector<Ref<CFType>> values)
        : mValues(std::move(values))
    {
    }
    static Ref<CFArray> create(std::initializer_list<CFType*> values = {});
    template <class T> static Ref<CFArray> create(const std::vector<Ref<T>>& values)
    {
        return make<CFArray>(std::vector<Ref<CFType>>(values.begin(), values.end()));
    }

    std::size_t count() const;
    /// The object at \p index, kept by the innermost pool; null outside the list.
    CFType* objectAtIndex(std::size_t index) const;
    bool containsObject(CFType* object) const;
    void append(CFType* object);
    /// Does nothing outside the list.
    void removeObjectAtIndex(std::size_t index);
    void removeAll();
    std::vector<Ref<CFType>> values() const;

    CFTypeID typeID() const noexcept override;
    bool isEqual(CFType* other) override;
    std::string description() override;

private:
    mutable std::mutex mLock;
    std::vector<Ref<CFType>> mValues;
};

/// Objects by key, in the order in which the keys were first set. Locks inside like `CFArray`.
class CFDictionary : public CFType {
public:
    using Entry = std::pair<Ref<CFType>, Ref<CFType>>;
    CFDictionary() = default;
    static Ref<CFDictionary> create(std::initializer_list<std::pair<CFType*, CFType*>> entries = {});
    Ref<CFDictionary> copy() const;

    std::size_t count() const;
    /// The value of an equal key, kept by the innermost pool; null when there is none.
    CFType* objectForKey(CFType* key) const;
    CFType* objectForKey(std::string_view key) const { return objectForKey(CFString::create(key).get()); }
    /// The value as a \p T, or null when there is none or it is something else.
    template <class T> T* get(CFType* key) const { return dynamic_cast<T*>(objectForKey(key)); }
    /// Stores \p value under \p key; a null value removes the entry.
    void set(CFType* key, CFType* value);
    void set(std::string_view key, CFType* value) { set(CFString::create(key).get(), value); }
    void remove(CFType* key) { set(key, nullptr); }
    /// Stores every entry of \p other, over those that are here under the same keys.
    void addEntriesFromDictionary(const CFDictionary* other);
    std::vector<Entry> entries() const;

    CFTypeID typeID() const noexcept override;
    bool isEqual(CFType* other) override;
    std::string description() override;

private:
    std::size_t indexOf(CFType* key) const;
    mutable std::mutex mLock;
    std::vector<Entry> mEntries;
};

using CFArrayRef = CFArray*;
using CFDictionaryRef = CFDictionary*;
using CFMutableDictionaryRef = CFDictionary*;
using NSArray = CFArray;
using NSMutableArray = CFArray;
using NSDictionary = CFDictionary;
using NSMutableDictionary = CFDictionary;

inline CFTypeID CFArrayGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CFArray" };
    return identifier.value();
}
inline CFTypeID CFDictionaryGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CFDictionary" };
    return identifier.value();
}
/// An empty dictionary; null where the platform fails ("CFDictionaryCreateMutable").
Ref<CFDictionary> CFDictionaryCreateMutable(CFAllocatorRef allocator);
CFType* CFDictionaryGetValue(CFDictionary* dictionary, CFType* key);
