#include "Platform/CoreFoundation/DynamicLinker.h"

#include "Platform/CoreFoundation/CFAutorelease.h"
#include "Platform/CoreFoundation/FailPoint.h"

#include <string_view>

namespace {

struct Symbol {
    std::string_view name;
    void* address;
};

struct Framework {
    std::string_view path;
    Symbol symbols[1];
};

/// What is looked up by name in this system.
Framework& coreFoundation()
{
    static Framework framework { "/System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation",
        { { "CFAutorelease", reinterpret_cast<void*>(&CFAutorelease) } } };
    return framework;
}

}

void* DynamicLinker::dlopen(const char* path, int /*mode*/)
{
    if (FAIL_POINT("dlopen") || !path)
        return nullptr;
    auto& framework = coreFoundation();
    return framework.path == path ? &framework : nullptr;
}

void* DynamicLinker::dlsym(void* handle, const char* symbol)
{
    if (FAIL_POINT("dlsym") || !handle || !symbol)
        return nullptr;
    for (const auto& known : static_cast<Framework*>(handle)->symbols) {
        if (known.name == symbol)
            return known.address;
    }
    return nullptr;
}
