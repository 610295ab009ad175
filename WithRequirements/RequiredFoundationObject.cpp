#include "WithRequirements/RequiredFoundationObject.h"

NS_IMPLEMENTATION(RequiredFoundationObject, NSObject)
{
    type.outlet("delegate", &RequiredFoundationObject::delegate, &RequiredFoundationObject::setDelegate);
    type.key("stringProperty", &RequiredFoundationObject::stringPropertyRetainedCopy,
        &RequiredFoundationObject::setStringProperty);
    type.key("serviceQueue", &RequiredFoundationObject::serviceQueue, &RequiredFoundationObject::setServiceQueue);
    type.key("serviceSource", &RequiredFoundationObject::serviceSource, &RequiredFoundationObject::setServiceSource);
}

void RequiredFoundationObject::setStringProperty(CFStringRef value)
{
    const NSKeyValueChange change(this, "stringProperty");
    _stringProperty.set(value);
}

Ref<CFType> RequiredFoundationObject::serviceQueue() const
{
    const std::lock_guard guard(mServiceLock);
    return _serviceQueue;
}

void RequiredFoundationObject::setServiceQueue(CFType* value)
{
    const NSKeyValueChange change(this, "serviceQueue");
    exchange(_serviceQueue, value);
}

Ref<CFType> RequiredFoundationObject::serviceSource() const
{
    const std::lock_guard guard(mServiceLock);
    return _serviceSource;
}

void RequiredFoundationObject::setServiceSource(CFType* value)
{
    const NSKeyValueChange change(this, "serviceSource");
    exchange(_serviceSource, value);
}

void RequiredFoundationObject::exchange(Ref<CFType>& field, CFType* value)
{
    Ref<CFType> old(value);
    const std::lock_guard guard(mServiceLock);
    std::swap(field, old);
}
