#include "Platform/AppKit/Quick/ObjectElement.h"

#include <QJSValue>

#include <cmath>

NSObject* objectOf(const QVariant& value)
{
    if (value.canConvert<ObjectHandle>())
        return kindOf<NSObject>(value.value<ObjectHandle>().object);
    if (auto* const element = qobject_cast<ObjectElement*>(value.value<QObject*>()))
        return element->object();
    return nullptr;
}

QVariant variantOf(CFType* value)
{
    if (!isPresent(value))
        return {};
    if (auto* const text = kindOf<CFString>(value))
        return QString::fromStdString(text->string());
    if (const auto* const truth = kindOf<CFBoolean>(value))
        return truth->boolValue();
    if (const auto* const number = kindOf<CFNumber>(value)) {
        if (number->isFloatType())
            return number->doubleValue();
        return QVariant::fromValue<qlonglong>(number->integerValue());
    }
    if (const auto* const array = kindOf<CFArray>(value)) {
        QVariantList list;
        for (const auto& entry : array->values())
            list.append(variantOf(entry));
        return list;
    }
    return QVariant::fromValue(ObjectHandle { value });
}

Ref<CFType> valueOf(const QVariant& variant)
{
    if (!variant.isValid() || variant.isNull())
        return nullptr;
    // A list that was written in the file, or made there, comes as the engine's own kind of value.
    if (variant.userType() == qMetaTypeId<QJSValue>())
        return valueOf(variant.value<QJSValue>().toVariant());
    switch (variant.typeId()) {
    case QMetaType::Bool:
        return CFBoolean::of(variant.toBool());
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return CFNumber::create(variant.toLongLong());
    case QMetaType::Double:
    case QMetaType::Float:
        return CFNumber::create(variant.toDouble());
    case QMetaType::QString:
        return CFString::create(variant.toString().toStdString());
    case QMetaType::QVariantList: {
        auto array = CFArray::create();
        for (const auto& entry : variant.toList())
            array->append(valueOf(entry).get());
        return array;
    }
    default:
        break;
    }
    if (variant.canConvert<ObjectHandle>())
        return variant.value<ObjectHandle>().object;
    return Ref<CFType>(objectOf(variant));
}
