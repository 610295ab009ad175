#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/CMIOObjectProperty.h"

#include "WithRequirements/FourCharCodeString.h"
#include "WithRequirements/Requirements.h"

#include <algorithm>

namespace {

/// The selector as text; zero has a text that differs between reading and writing.
Ref<CFString> selectorText(CMIOObjectPropertySelector selector, const char* textOfZero)
{
    char buffer[16];
    return CFString::create(selector ? FourCharCodeString_Construct(buffer, selector) : textOfZero);
}

void logRefusal(const char* format, CMIOObjectID object, const Ref<CFString>& selector)
{
    __CFNSLog(CFSTR(format), CFNumber::create(object), selector);
}

/// Size and pointer of one object reference, as the properties hold it.
constexpr std::uint32_t referenceSize = sizeof(CFTypeRef);

}

Ref<CFType> CMIOObjectNormalizedUID(CFType* deviceUID)
{
    const auto* const string = kindOf<CFString>(deviceUID);
    if (!string)
        return Ref<CFType>(deviceUID);
    std::string text = string->string();
    std::erase(text, '-');
    return CFString::create(text);
}

bool CMIOObjectHasPropertyGlobalMaster(CMIOObjectID object, CMIOObjectPropertySelector selector)
{
    const auto opa = CMIOObjectPropertyGlobalMaster(selector);
    return CMIOObjectHasProperty(object, &opa);
}

bool CMIOObjectGetPropertyGlobalMaster(CMIOObjectID object, CMIOObjectPropertySelector propertySelector,
    std::uint32_t* propertyDataSize, void* propertyValue)
{
    const auto opa = CMIOObjectPropertyGlobalMaster(propertySelector);
    if (!CFRequired(CMIOObjectHasProperty(object, &opa), "CMIOObjectHasProperty(object,&opa)")) {
        logRefusal("NO==CMIOObjectGetPropertyGlobalMaster::CMIOObjectHasProperty(%@,%@)", object,
            selectorText(propertySelector, "0000"));
        return false;
    }
    std::uint32_t checkPropertyDataSize = 0;
    if (!CoreMediaOSStatusRequired(CMIOObjectGetPropertyDataSize(object, &opa, 0, nullptr, &checkPropertyDataSize),
            "CMIOObjectGetPropertyDataSize(object, &opa, 0, ((void*)0), &checkPropertyDataSize)"))
        return false;
    if (!CFRequired(checkPropertyDataSize > 0, "checkPropertyDataSize>0"))
        return false;
    // The caller says how big the property must be: another size is a refusal, never a resize.
    if (!CFRequired(checkPropertyDataSize == *propertyDataSize, "checkPropertyDataSize==*propertyDataSize"))
        return false;
    return CoreMediaOSStatusRequired(
        CMIOObjectGetPropertyData(object, &opa, 0, nullptr, *propertyDataSize, propertyDataSize, propertyValue),
        "CMIOObjectGetPropertyData(object, &opa, 0, ((void*)0), *propertyDataSize, propertyDataSize, propertyValue)");
}

namespace {

/// Whether a property is there and can be set; each failure has its line.
bool requireSettable(CMIOObjectID object, const CMIOObjectPropertyAddress& opa, const char* function)
{
    if (!CFRequiredIn(function, CMIOObjectHasProperty(object, &opa), "CMIOObjectHasProperty(object,&opa)"))
        return false;
    bool isPropertySettable = false;
    return CoreMediaOSStatusRequiredIn(function, CMIOObjectIsPropertySettable(object, &opa, &isPropertySettable),
               "CMIOObjectIsPropertySettable(object, &opa, &isPropertySettable)")
        && CFRequiredIn(function, isPropertySettable, "isPropertySettable");
}

}

bool CMIOObjectSetPropertyGlobalMaster(CMIOObjectID object, CMIOObjectPropertySelector propertySelector,
    std::uint32_t propertyDataSize, const void* propertyValue)
{
    const auto opa = CMIOObjectPropertyGlobalMaster(propertySelector);
    if (!requireSettable(object, opa, __func__)) {
        // One line for all of it: a property that cannot be set is said to be absent, too.
        logRefusal("NO==CMIOObjectSetPropertyGlobalMaster::CMIOObjectHasProperty(%@,%@)", object,
            selectorText(propertySelector, "0x00"));
        return false;
    }
    std::uint32_t checkPropertyDataSize = 0;
    if (!CoreMediaOSStatusRequired(CMIOObjectGetPropertyDataSize(object, &opa, 0, nullptr, &checkPropertyDataSize),
            "CMIOObjectGetPropertyDataSize(object, &opa, 0, ((void*)0), &checkPropertyDataSize)"))
        return false;
    // No line for size 0 here, unlike in the getter.
    if (checkPropertyDataSize == 0)
        return false;
    if (!CFRequired(checkPropertyDataSize == propertyDataSize, "checkPropertyDataSize==propertyDataSize"))
        return false;
    return CoreMediaOSStatusRequired(
        CMIOObjectSetPropertyData(object, &opa, 0, nullptr, propertyDataSize, propertyValue),
        "CMIOObjectSetPropertyData(object, &opa, 0, ((void*)0), propertyDataSize, propertyValue)");
}

Ref<CFType> CMIOObjectGetCFTypeRefPropertyGlobalMaster(CMIOObjectID object, CMIOObjectPropertySelector propertySelector)
{
    std::uint32_t propertyDataSize = referenceSize;
    CFTypeRef propertyValue = nullptr;
    CFRequired(CMIOObjectGetPropertyGlobalMaster(object, propertySelector, &propertyDataSize, &propertyValue),
        "CMIOObjectGetPropertyGlobalMaster(object,propertySelector,&propertyDataSize,&propertyValue)");
    return Ref<CFType>::adopt(propertyValue);
}

Ref<CFType> CMIOObjectGetCFStringRefPropertyGlobalMaster(
    CMIOObjectID object, CMIOObjectPropertySelector propertySelector)
{
    auto propertyValue = CMIOObjectGetCFTypeRefPropertyGlobalMaster(object, propertySelector);
    if (CFRequiredNotCFNull(propertyValue, "propertyValue"))
        CFRequiredTypeOf(propertyValue, CFStringGetTypeID(), "propertyValue");
    return propertyValue;
}

bool CMIOObjectSetCFStringRefPropertyGlobalMaster(
    CMIOObjectID object, CMIOObjectPropertySelector propertySelector, CFType* propertyValue)
{
    CFRequiredTypeOf(propertyValue, CFStringGetTypeID(), "propertyValue");
    return CMIOObjectSetPropertyGlobalMaster(object, propertySelector, referenceSize, &propertyValue);
}

bool CMIOObjectSetCFTypeRefPropertyGlobalMaster(
    CMIOObjectID object, CMIOObjectPropertySelector propertySelector, CFType* propertyValue)
{
    // What is there has the type that it has, so only presence and a living count are asked for.
    const bool lives = isPresent(propertyValue) && CFGetRetainCount(propertyValue) > 0;
    CFRequiredTypeRef(
        lives ? propertyValue : nullptr, CFGetTypeID(propertyValue ? propertyValue : kCFNull), "propertyValue");
    return CMIOObjectSetPropertyGlobalMaster(object, propertySelector, referenceSize, &propertyValue);
}
