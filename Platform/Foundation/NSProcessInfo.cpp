#include "Platform/Foundation/NSProcessInfo.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <charconv>
#include <sys/utsname.h>

NS_IMPLEMENTATION(NSProcessInfo, NSObject)
{
    type.message("operatingSystemVersion", &NSProcessInfo::operatingSystemVersion);
}

NSProcessInfo* NSProcessInfo::processInfo()
{
    if (FAIL_POINT("NSProcessInfo"))
        return nullptr;
    static NSProcessInfo* const info = [] {
        auto made = make<NSProcessInfo>();
        made->makeImmortal();
        return made.leak();
    }();
    return info;
}

NSOperatingSystemVersion NSProcessInfo::operatingSystemVersion() const
{
    utsname names {};
    if (uname(&names) != 0)
        return {};
    return versionOfRelease(names.release);
}

NSOperatingSystemVersion NSProcessInfo::versionOfRelease(std::string_view release)
{
    NSInteger numbers[3] {};
    const char* next = release.data();
    const char* const end = next + release.size();
    for (auto& number : numbers) {
        const auto [stop, error] = std::from_chars(next, end, number);
        if (error != std::errc())
            break;
        next = stop;
        if (next == end || *next != '.')
            break;
        ++next;
    }
    return { numbers[0], numbers[1], numbers[2] };
}
