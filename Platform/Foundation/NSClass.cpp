#include "Platform/Foundation/NSClass.h"

#include <map>
#include <mutex>

namespace {

struct ClassList {
    std::mutex lock;
    std::map<std::string, Class (*)(), std::less<>> classes;
};

ClassList& classList()
{
    static ClassList* const list = std::make_unique<ClassList>().release();
    return *list;
}

}

NSClass::NSClass(std::string name, Class superclass)
    : mName(std::move(name))
    , mSuperclass(superclass)
{
}

bool NSClass::isSubclassOfClass(Class other) const noexcept
{
    for (const NSClass* type = this; type; type = type->mSuperclass) {
        if (type == other)
            return true;
    }
    return false;
}

bool NSClass::instancesRespondToSelector(SEL selector) const
{
    for (const NSClass* type = this; type; type = type->mSuperclass) {
        if (type->mMessages.find(selector) != type->mMessages.end())
            return true;
    }
    return false;
}

Ref<NSObject> NSClass::createInstance()
{
    if (!mCreate)
        return nullptr;
    std::call_once(mInitialized, [this] {
        if (mInitialize)
            mInitialize();
    });
    return mCreate();
}

const NSClass::Invoker* NSClass::message(SEL selector) const
{
    for (const NSClass* type = this; type; type = type->mSuperclass) {
        if (const auto found = type->mMessages.find(selector); found != type->mMessages.end())
            return found->second ? &*found->second : nullptr;
    }
    return nullptr;
}

const NSClass::Key* NSClass::key(std::string_view key) const
{
    for (const NSClass* type = this; type; type = type->mSuperclass) {
        if (const auto found = type->mKeys.find(key); found != type->mKeys.end())
            return &found->second;
    }
    return nullptr;
}

const NSClass::Outlet* NSClass::outlet(std::string_view name) const
{
    for (const NSClass* type = this; type; type = type->mSuperclass) {
        if (const auto found = type->mOutlets.find(name); found != type->mOutlets.end())
            return &found->second;
    }
    return nullptr;
}

std::vector<std::string> NSClass::keysDependingOn(std::string_view key) const
{
    std::vector<std::string> keys;
    for (const NSClass* type = this; type; type = type->mSuperclass) {
        const auto [first, last] = type->mDependents.equal_range(key);
        for (auto at = first; at != last; ++at)
            keys.push_back(at->second);
    }
    return keys;
}

NSClassRegistration::NSClassRegistration(const char* name, Class (*classObject)())
{
    auto& list = classList();
    const std::lock_guard guard(list.lock);
    list.classes.emplace(name, classObject);
}

Class NSClassFromString(CFString* name)
{
    Class (*classObject)() = nullptr;
    {
        auto& list = classList();
        const std::lock_guard guard(list.lock);
        if (const auto found = list.classes.find(textOf(name)); found != list.classes.end())
            classObject = found->second;
    }
    return classObject ? classObject() : nullptr;
}

Ref<CFString> NSStringFromClass(Class type)
{
    return type ? CFString::create(type->name()) : nullptr;
}
