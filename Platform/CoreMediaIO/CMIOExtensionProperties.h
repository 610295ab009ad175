#pragma once

#include "Platform/Foundation/NSObject.h"

/// The name of a property on the extension's side, such as "4cc_just_glob_0000".
using CMIOExtensionProperty = CFString*;

/// The value of a property as an extension gives it. Unchanging.
class CMIOExtensionPropertyState : public NSObject {
    NS_OBJECT(CMIOExtensionPropertyState)
public:
    explicit CMIOExtensionPropertyState(CFType* value = nullptr)
        : mValue(value)
    {
    }
    static CMIOExtensionPropertyState* propertyStateWithValue(CFType* value);

    CFType* value() const { return mValue; }

private:
    const Ref<CFType> mValue;
};
