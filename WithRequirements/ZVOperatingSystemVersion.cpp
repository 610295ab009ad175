#include "WithRequirements/ZVOperatingSystemVersion.h"

#include "Platform/CoreFoundation/CFPropertyList.h"
#include "Platform/CoreFoundation/CFStringEncoding.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "WithRequirements/Requirements.h"

#include <cstdio>
#include <new>

namespace {

constexpr std::uint32_t sSuccess = ~std::uint32_t { 0 };

/// Zeros; null where there is no memory.
std::unique_ptr<char[]> allocated(CFIndex size)
{
    if (FAIL_POINT("ZVOperatingSystemVersion.calloc"))
        return nullptr;
    return std::unique_ptr<char[]>(new (std::nothrow) char[static_cast<std::size_t>(size)]());
}

/// Reads "major.minor" of the text into the record; the patch is not read.
std::uint32_t readVersion(CFString* versionString, NSOperatingSystemVersion* record)
{
    const auto* const function = "ZVOperatingSystemVersion_GetCoreFoundation";
    const auto length = CFStringGetLength(versionString);
    const auto sizeASCII = CFStringGetMaximumSizeForEncoding(length, kCFStringEncodingASCII);
    if (!CFRequiredIn(function, sizeASCII > 0, "sizeASCII>0"))
        return 0;
    const auto cstr = allocated(sizeASCII + 1);
    if (!CFRequiredNotCFNullIn(function, cstr.get(), "cstr"))
        return 0;
    constexpr CFIndex minimumResult = 3;
    const auto result = CFStringGetBytes(
        versionString, { 0, length }, kCFStringEncodingASCII, '?', false, cstr.get(), sizeASCII, nullptr);
    if (!CFRequiredIn(function, result >= minimumResult, "result>=minimumResult")) {
        CFShow(versionString);
        return 0;
    }
    int major = 0;
    int minor = 0;
    std::sscanf(cstr.get(), "%d.%d", &major, &minor);
    *record = { major, minor, 0 };
    return sSuccess;
}

}

std::uint32_t ZVOperatingSystemVersion_GetCoreFoundation(NSOperatingSystemVersion* record)
{
    const auto url = CFURLCreateWithFileSystemPath(
        kCFAllocatorDefault, CFSTR("/System/Library/CoreServices/SystemVersion.plist"), kCFURLPOSIXPathStyle, false);
    if (!CFRequiredTypeOf(url, CFURLGetTypeID(), "url"))
        return 0;
    const auto readStream = CFReadStreamCreateWithFile(kCFAllocatorDefault, url);
    if (!CFRequiredTypeOf(readStream, CFReadStreamGetTypeID(), "readStream"))
        return 0;
    if (!CFRequired(CFReadStreamOpen(readStream), "CFReadStreamOpen(readStream)"))
        return 0;
    Ref<CFType> error;
    const auto propertyListRef
        = CFPropertyListCreateWithStream(kCFAllocatorDefault, readStream, 0, kCFPropertyListImmutable, nullptr, &error);
    if (!CFRequiredTypeOf(propertyListRef, CFDictionaryGetTypeID(), "propertyListRef"))
        return 0;
    CFShow(propertyListRef);
    auto* const versionString = CFDictionaryGetValue(kindOf<CFDictionary>(propertyListRef), CFSTR("ProductVersion"));
    if (!CFRequiredTypeOf(versionString, CFStringGetTypeID(), "versionString"))
        return 0;
    // Owned by the dictionary, and released here all the same: what a property list owns outlives it.
    const auto released = Ref<CFString>::adopt(kindOf<CFString>(versionString));
    return readVersion(released, record);
}

std::uint32_t ZVOperatingSystemVersion_GetFoundation(NSOperatingSystemVersion* record)
{
    const auto* const processInfo = NSProcessInfo::processInfo();
    if (!processInfo || !processInfo->respondsToSelector("operatingSystemVersion"))
        return ZVOperatingSystemVersion_GetCoreFoundation(record);
    *record = processInfo->operatingSystemVersion();
    return sSuccess;
}

NSOperatingSystemVersion ZVOperatingSystemVersion_GetCurrentStruct()
{
    static const NSOperatingSystemVersion current = [] {
        NSOperatingSystemVersion record;
        ZVOperatingSystemVersion_GetFoundation(&record);
        return record;
    }();
    return current;
}

std::uint32_t ZVOperatingSystemVersion_GetCurrent()
{
    return ZVOperatingSystemVersion_Number(ZVOperatingSystemVersion_GetCurrentStruct());
}
