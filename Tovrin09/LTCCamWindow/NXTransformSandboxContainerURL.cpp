#include "Tovrin09/LTCCamWindow/NXTransformSandboxContainerURL.h"

#include "Platform/Foundation/NSURL.h"

NS_IMPLEMENTATION(NXTransformSandboxContainerURL, NSValueTransformer) { }

Ref<CFType> NXTransformSandboxContainerURL::transformedValue(CFType* value)
{
    const auto* const url = kindOf<NSURL>(value);
    if (!url)
        return CFString::create("");
    const auto folder = url->URLByDeletingLastPathComponent();
    auto* const name = url->lastPathComponent();
    auto* const parent = folder ? folder->lastPathComponent() : nullptr;
    if (!name || !parent)
        return url->path();
    return CFStringCreateWithFormat(CFSTR("~/%@/%@"), parent, name);
}
