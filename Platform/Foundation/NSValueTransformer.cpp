#include "Platform/Foundation/NSValueTransformer.h"

NS_IMPLEMENTATION(NSValueTransformer, NSObject)
{
    type.message("transformedValue:", &NSValueTransformer::transformedValue);
}
