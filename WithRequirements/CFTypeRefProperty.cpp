#include "WithRequirements/CFTypeRefProperty.h"

#include "Platform/CoreFoundation/CFAutorelease.h"
#include "Platform/CoreFoundation/DynamicLinker.h"
#include "WithRequirements/Requirements.h"

namespace {

void* coreFoundationFramework()
{
    static void* const sCoreFoundationFramework = [] {
        void* const handle
            = DynamicLinker::dlopen("/System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation", 0);
        CFRequiredNotCFNullIn("___softlink_CFTypeRefFunctionPointer", handle, "sCoreFoundationFramework");
        return handle;
    }();
    return sCoreFoundationFramework;
}

using AutoreleaseFunction = CFTypeRef(CFTypeRef);

AutoreleaseFunction* autoreleaseFunction()
{
    static AutoreleaseFunction* const sCFAutoreleasePtr = [] {
        void* const symbol = DynamicLinker::dlsym(coreFoundationFramework(), "CFAutorelease");
        CFRequiredNotCFNullIn("__CFTypeRefPropertySafeRetainAndAutorelease_block_invoke", symbol, "sCFAutoreleasePtr");
        return DynamicLinker::functionAt<AutoreleaseFunction>(symbol);
    }();
    return sCFAutoreleasePtr;
}

}

CFTypeRef __CFTypeRefPropertySafeRetainAndAutorelease(CFTypeRef reference)
{
    if (!reference)
        return nullptr;
    auto* const release = autoreleaseFunction();
    CFRetain(reference);
    // Without the function the retain above is never taken back. That is meant, and only happens where it is missing.
    return release ? release(reference) : objc_retainAutorelease(reference);
}
