#include "Platform/CoreMediaIO/CMIOExtensionProperties.h"

NS_IMPLEMENTATION(CMIOExtensionPropertyState, NSObject)
{
    type.key("value", &CMIOExtensionPropertyState::value);
}

CMIOExtensionPropertyState* CMIOExtensionPropertyState::propertyStateWithValue(CFType* value)
{
    return autorelease(make<CMIOExtensionPropertyState>(value));
}
