#pragma once

#include "Platform/Foundation/NSObject.h"

#include <QMetaType>
#include <QObject>
#include <QVariant>

/// An element of an interface file that stands for an object.
class ObjectElement {
public:
    virtual ~ObjectElement() = default;
    /// Null when the object could not be made; an error was reported then.
    virtual NSObject* object() const = 0;
};

#define ObjectElement_iid "org.tovrin.ObjectElement"
Q_DECLARE_INTERFACE(ObjectElement, ObjectElement_iid)

/// An object that came out of a key, on its way through QML.
struct ObjectHandle {
    Ref<CFType> object;
    friend bool operator==(const ObjectHandle&, const ObjectHandle&) = default;
};
Q_DECLARE_METATYPE(ObjectHandle)

/// The object that an element or a handle stands for; null for everything else.
NSObject* objectOf(const QVariant& value);

/// Values of keys as QML sees them: texts, numbers, truth values and lists of them as such, null as undefined, other
/// objects as handles.
QVariant variantOf(CFType* value);
Ref<CFType> valueOf(const QVariant& variant);
