#include "WithRequirements/RequiredCoreFoundation.h"

#include "Platform/CoreFoundation/CFString.h"
#include "Platform/CoreFoundation/MacOSStatus.h"
#include "WithRequirements/RequiredCoreLog.h"

void __CFRequiredBody(const char* file, const char* function, int line, const char* source)
{
    const RequiredSourceSite site { file, function, line, source };
    __CFLogError(&site, CFSTR("REQUIREMENT"));
}

void __OSStatusRequiredBody(OSStatus status, const char* function, const char* file, int line, const char* source)
{
    // The function stands in the file's place, which is meant: the lines of status checks show the two exchanged.
    const RequiredSourceSite site { function, file, line, source };
    __CFLogError(&site, CFSTR("REQUIRED_OSSTATUS(%ld) %s-'%s'"), static_cast<long>(status),
        GetMacOSStatusErrorString(status), GetMacOSStatusCommentString(status));
}

void __CFRequiredNotCFNullBody(const void* value, const char* file, const char* function, int line, const char* source)
{
    const AutoreleasePool pool;
    const auto text = CFFormat("0x%08lx==NULL", { CFFormatArgument(value) });
    __CFLogPrintf(CFSTR("REQUIRED_NOT_NULL %s : %s in %s LINE# %d (%s)\n"), text.c_str(), source, function, line, file);
}

void __CFRequiredTypeOfBody(const char* tag, CFTypeRef object, CFTypeID expected, const char* file,
    const char* function, int line, const char* source)
{
    const AutoreleasePool pool;
    std::string description;
    if (!object) {
        description = CFFormat("%s==NULL", { source });
    } else {
        const auto actual = CFGetTypeID(object);
        const auto actualName = actual ? CFCopyTypeIDDescription(actual) : Ref<CFString>(CFSTR("?"));
        const auto expectedName = CFCopyTypeIDDescription(expected);
        description = CFFormat("[%s ((%@)0x%08lx) != %@GetTypeID() (%08lx!=%08lx)] FAILED",
            { source, actualName, static_cast<const void*>(object), expectedName, actual, expected });
    }
    __CFLogPrintf(CFSTR("%s %s : in %s LINE# %d (%s)\n"), tag, description.c_str(), function, line, file);
}

void __DispatchRequiredBody(
    const char* /*tag*/, const void* value, const char* file, const char* function, int line, const char* source)
{
    const RequiredSourceSite site { file, function, line, source };
    __CFLogError(&site, CFSTR("REQUIRED_DISPATCH_QUEUE 0x%08lx==NULL"), value);
}

void __BlockPtrRequiredBody(
    const char* tag, const void* value, const char* file, const char* function, int line, const char* source)
{
    const RequiredSourceSite site { file, function, line, source };
    __CFLogError(&site, CFSTR("REQUIRED_BLOCK_PTR %s 0x%08lx==NULL"), tag, value);
}
