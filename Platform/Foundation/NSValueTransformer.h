#pragma once

#include "Platform/Foundation/NSObject.h"

/// Turns values into others on their way from an object to the control that shows them. Interface files name the class.
class NSValueTransformer : public NSObject {
    NS_OBJECT(NSValueTransformer)
public:
    /// \param value  may be null
    virtual Ref<CFType> transformedValue(CFType* value) { return value; }
};
