#pragma once

#include "Platform/Foundation/NSObject.h"
#include "WithRequirements/ReferenceProperty.h"

class RequiredFoundationObjectDelegate {
public:
    virtual ~RequiredFoundationObjectDelegate() = default;
};

/// The reference form of a property that holds a platform reference: `stringProperty`, with all its operations. Nothing
/// in the system makes one. Unlike the reference properties of other classes, its setter notifies of the change.
class RequiredFoundationObject : public NSObject {
    NS_OBJECT(RequiredFoundationObject)
public:
    Ref<NSObject> delegate() const { return _delegate.strongReference(); }
    void setDelegate(NSObject* delegate) { _delegate = delegate; }

    CFString* stringPropertySync() const { return _stringProperty.sync(); }
    CFStringRef stringProperty() const { return _stringProperty.get(); }
    CFStringRef stringPropertyAutoreleasedCopy() const { return _stringProperty.autoreleasedCopy(); }
    Ref<CFString> stringPropertyRetainedCopy() const { return _stringProperty.retainedCopy(); }
    Ref<CFString> stringPropertyCopy() const { return _stringProperty.copy(); }
    void setStringProperty(CFStringRef value);

    // Atomic strong properties.
    Ref<CFType> serviceQueue() const;
    void setServiceQueue(CFType* value);
    Ref<CFType> serviceSource() const;
    void setServiceSource(CFType* value);

private:
    void exchange(Ref<CFType>& field, CFType* value);

    WeakRef<NSObject> _delegate;
    ReferenceProperty<CFString> _stringProperty { "stringProperty" };
    mutable std::mutex mServiceLock;
    Ref<CFType> _serviceQueue;
    Ref<CFType> _serviceSource;
};
