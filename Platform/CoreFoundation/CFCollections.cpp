#include "Platform/CoreFoundation/CFCollections.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <algorithm>

namespace {

/// Descriptions of several lines move in as a whole.
std::string indented(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        result += character;
        if (character == '\n')
            result += "    ";
    }
    return result;
}

}

Ref<CFArray> CFArray::create(std::initializer_list<CFType*> values)
{
    return make<CFArray>(std::vector<Ref<CFType>>(values.begin(), values.end()));
}

std::size_t CFArray::count() const
{
    const std::lock_guard guard(mLock);
    return mValues.size();
}

CFType* CFArray::objectAtIndex(std::size_t index) const
{
    const std::lock_guard guard(mLock);
    return index < mValues.size() ? autorelease(mValues[index]) : nullptr;
}

bool CFArray::containsObject(CFType* object) const
{
    return std::ranges::any_of(values(), [object](const auto& value) { return CFEqual(value.get(), object); });
}

void CFArray::append(CFType* object)
{
    const std::lock_guard guard(mLock);
    mValues.emplace_back(object);
}

void CFArray::removeObjectAtIndex(std::size_t index)
{
    Ref<CFType> removed;
    const std::lock_guard guard(mLock);
    if (index >= mValues.size())
        return;
    removed = std::move(mValues[index]);
    mValues.erase(mValues.begin() + static_cast<std::ptrdiff_t>(index));
}

void CFArray::removeAll()
{
    std::vector<Ref<CFType>> old;
    const std::lock_guard guard(mLock);
    old.swap(mValues);
}

std::vector<Ref<CFType>> CFArray::values() const
{
    const std::lock_guard guard(mLock);
    return mValues;
}

CFTypeID CFArray::typeID() const noexcept
{
    return CFArrayGetTypeID();
}

bool CFArray::isEqual(CFType* other)
{
    const auto* const array = dynamic_cast<CFArray*>(other);
    return array && std::ranges::equal(values(), array->values(), [](const auto& a, const auto& b) {
        return CFEqual(a.get(), b.get());
    });
}

std::string CFArray::description()
{
    std::string text = "(";
    const char* separator = "\n    ";
    for (const auto& value : values()) {
        text += separator + indented(value ? value->description() : "(null)");
        separator = ",\n    ";
    }
    return text + "\n)";
}

Ref<CFDictionary> CFDictionary::create(std::initializer_list<std::pair<CFType*, CFType*>> entries)
{
    auto dictionary = make<CFDictionary>();
    for (const auto& [key, value] : entries)
        dictionary->set(key, value);
    return dictionary;
}

Ref<CFDictionary> CFDictionary::copy() const
{
    auto dictionary = make<CFDictionary>();
    dictionary->mEntries = entries();
    return dictionary;
}

std::size_t CFDictionary::count() const
{
    const std::lock_guard guard(mLock);
    return mEntries.size();
}

std::size_t CFDictionary::indexOf(CFType* key) const
{
    const auto found
        = std::ranges::find_if(mEntries, [key](const Entry& entry) { return CFEqual(entry.first.get(), key); });
    return static_cast<std::size_t>(found - mEntries.begin());
}

CFType* CFDictionary::objectForKey(CFType* key) const
{
    const std::lock_guard guard(mLock);
    const auto index = indexOf(key);
    return index < mEntries.size() ? autorelease(mEntries[index].second) : nullptr;
}

void CFDictionary::set(CFType* key, CFType* value)
{
    Entry old;
    const std::lock_guard guard(mLock);
    const auto index = indexOf(key);
    if (index == mEntries.size()) {
        if (value)
            mEntries.emplace_back(key, value);
        return;
    }
    old = mEntries[index];
    if (value)
        mEntries[index].second = value;
    else
        mEntries.erase(mEntries.begin() + static_cast<std::ptrdiff_t>(index));
}

void CFDictionary::addEntriesFromDictionary(const CFDictionary* other)
{
    if (!other)
        return;
    for (const auto& [key, value] : other->entries())
        set(key.get(), value.get());
}

std::vector<CFDictionary::Entry> CFDictionary::entries() const
{
    const std::lock_guard guard(mLock);
    return mEntries;
}

CFTypeID CFDictionary::typeID() const noexcept
{
    return CFDictionaryGetTypeID();
}

bool CFDictionary::isEqual(CFType* other)
{
    const auto* const dictionary = dynamic_cast<CFDictionary*>(other);
    if (!dictionary || dictionary->count() != count())
        return false;
    const AutoreleasePool pool;
    return std::ranges::all_of(entries(),
        [dictionary](const Entry& entry) { return CFEqual(dictionary->objectForKey(entry.first), entry.second); });
}

std::string CFDictionary::description()
{
    std::string text = "{\n";
    for (const auto& [key, value] : entries())
        text += "    " + indented(key->description()) + " = " + indented(value->description()) + ";\n";
    return text + "}";
}

Ref<CFDictionary> CFDictionaryCreateMutable(CFAllocatorRef /*allocator*/)
{
    if (FAIL_POINT("CFDictionaryCreateMutable"))
        return nullptr;
    return CFDictionary::create();
}

CFType* CFDictionaryGetValue(CFDictionary* dictionary, CFType* key)
{
    return dictionary ? dictionary->objectForKey(key) : nullptr;
}
