#pragma once

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/CoreMediaIO/CMIOExtensionProperties.h"
#include "Platform/Foundation/NSSet.h"

// A key spells code, scope and element of a property as clients see it.
inline const CMIOExtensionProperty CMIOExtensionPropertyCustomPropertyData_test = CFSTR("4cc_test_glob_0000");
inline const CMIOExtensionProperty CMIOExtensionPropertyCustomPropertyData_just = CFSTR("4cc_just_glob_0000");
inline const CMIOExtensionProperty CMIOExtensionPropertyCustomPropertyData_dust = CFSTR("4cc_dust_glob_0000");
inline const CMIOExtensionProperty CMIOExtensionPropertyCustomPropertyData_rust = CFSTR("4cc_rust_glob_0000");

/// Sample values of the custom properties, in the form in which the provider of a camera extension returns them.
class ZVCMIOCustomProperties : public NSObject {
    NS_OBJECT(ZVCMIOCustomProperties)
public:
    /// The states of the just, dust and rust keys that are in \p propertySet, by key and in this order.
    static NSMutableDictionary* sampleCustomPropertiesWithPropertySet(NSSet* propertySet);
};
