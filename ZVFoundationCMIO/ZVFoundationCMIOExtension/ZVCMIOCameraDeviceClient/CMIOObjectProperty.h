#pragma once

#include "Platform/CoreMediaIO/CMIOHardware.h"

/// Properties of camera objects at scope 'glob', element 0, with everything tested before an access: presence, whether
/// the property can be set, and its exact size. A test that fails writes its lines and the access is refused.

/// The address of a selector at scope 'glob', element 0.
inline CMIOObjectPropertyAddress CMIOObjectPropertyGlobalMaster(CMIOObjectPropertySelector selector)
{
    return { selector, kCMIOObjectPropertyScopeGlobal, kCMIOObjectPropertyElementMaster };
}

/// The UID without its hyphens, the form in which UIDs are compared. What is no string comes back as it went in.
Ref<CFType> CMIOObjectNormalizedUID(CFType* deviceUID);

bool CMIOObjectHasPropertyGlobalMaster(CMIOObjectID object, CMIOObjectPropertySelector selector);
/// \param propertyDataSize  the size that the property must have; updated by the read
bool CMIOObjectGetPropertyGlobalMaster(CMIOObjectID object, CMIOObjectPropertySelector propertySelector,
    std::uint32_t* propertyDataSize, void* propertyValue);
bool CMIOObjectSetPropertyGlobalMaster(CMIOObjectID object, CMIOObjectPropertySelector propertySelector,
    std::uint32_t propertyDataSize, const void* propertyValue);

Ref<CFType> CMIOObjectGetCFTypeRefPropertyGlobalMaster(
    CMIOObjectID object, CMIOObjectPropertySelector propertySelector);
/// The string; what is no string is reported and returned all the same.
Ref<CFType> CMIOObjectGetCFStringRefPropertyGlobalMaster(
    CMIOObjectID object, CMIOObjectPropertySelector propertySelector);
/// A value that is no string is reported and handed to the property all the same.
bool CMIOObjectSetCFStringRefPropertyGlobalMaster(
    CMIOObjectID object, CMIOObjectPropertySelector propertySelector, CFType* propertyValue);
bool CMIOObjectSetCFTypeRefPropertyGlobalMaster(
    CMIOObjectID object, CMIOObjectPropertySelector propertySelector, CFType* propertyValue);
