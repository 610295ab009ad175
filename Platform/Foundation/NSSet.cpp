#include "Platform/Foundation/NSSet.h"

NS_IMPLEMENTATION(NSSet, NSObject) { }

NSSet::NSSet(std::initializer_list<CFType*> members)
{
    for (auto* const member : members)
        if (!containsObject(member))
            mMembers->append(member);
}

NSSet::NSSet(std::initializer_list<std::string_view> texts)
{
    for (const auto text : texts) {
        const auto member = CFString::create(text);
        if (!containsObject(member))
            mMembers->append(member);
    }
}
