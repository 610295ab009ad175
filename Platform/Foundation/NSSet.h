#pragma once

#include "Platform/Foundation/NSObject.h"

/// An unordered collection without equal members. Unchanging; any thread may use it.
class NSSet : public NSObject {
    NS_OBJECT(NSSet)
public:
    NSSet() = default;
    explicit NSSet(std::initializer_list<CFType*> members);
    /// The texts as strings.
    explicit NSSet(std::initializer_list<std::string_view> texts);

    std::size_t count() const { return mMembers->count(); }
    bool containsObject(CFType* object) const { return object && mMembers->containsObject(object); }
    CFArray* allObjects() const { return mMembers; }

private:
    const Ref<CFArray> mMembers = make<CFArray>();
};
