#include "Platform/Foundation/NSValueTransformer.h"

NS_IMPLEMENTATION(NSValueTransformer, NSObject) { }
