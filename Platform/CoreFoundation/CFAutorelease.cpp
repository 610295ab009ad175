#include "Platform/CoreFoundation/CFAutorelease.h"

CFTypeRef CFAutorelease(CFTypeRef object)
{
    return autorelease(Ref<CFType>::adopt(object));
}

CFTypeRef objc_retainAutorelease(CFTypeRef object)
{
    return autorelease(Ref<CFType>(object));
}
