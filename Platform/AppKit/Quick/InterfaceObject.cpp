#include "Platform/AppKit/Quick/InterfaceObject.h"

#include "Platform/AppKit/Quick/InterfaceLoad.h"

#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>

namespace {

/// The element that \p element stands in. A window hands what stands in it on to the item of its contents.
QObject* holderOf(const QObject* element)
{
    auto* const parent = element->parent();
    const auto* const item = qobject_cast<QQuickItem*>(parent);
    if (item && item->window() && item == item->window()->contentItem())
        return item->window();
    return parent;
}

}

void InterfaceObject::setClassName(const QString& className)
{
    mClassName = className;
    mObject = InterfaceLoad::makeObject(this, className);
}

void FileOwner::setClassName(const QString& className)
{
    mClassName = className;
    const auto name = CFString::create(className.toStdString());
    const Class type = NSClassFromString(name);
    auto* const owner = InterfaceLoad::current() ? InterfaceLoad::current()->owner() : nullptr;
    if (!type)
        InterfaceLoad::report(this, QStringLiteral("There is no class \"%1\"").arg(className));
    else if (!owner || !owner->isKindOfClass(type))
        InterfaceLoad::report(this, QStringLiteral("The file is not loaded by a \"%1\"").arg(className));
    else
        mObject = owner;
}

void Outlet::componentComplete()
{
    InterfaceLoad::whenComplete(InterfaceLoad::Step::Outlets, [self = QPointer<Outlet>(this)] {
        if (self)
            self->connectNow();
    });
}

void Outlet::connectNow()
{
    const auto* const holder = qobject_cast<ObjectElement*>(holderOf(this));
    if (!holder) {
        InterfaceLoad::report(this, QStringLiteral("The outlet \"%1\" stands in no element with an object").arg(mName));
        return;
    }
    auto* const source = holder->object();
    const auto* const target = qobject_cast<ObjectElement*>(mTarget);
    if (!target) {
        InterfaceLoad::report(this, QStringLiteral("The outlet \"%1\" is given nothing that has an object").arg(mName));
        return;
    }
    // Objects that could not be made were reported already.
    if (!source || !target->object())
        return;
    const auto* const outlet = source->isa()->outlet(mName.toStdString());
    const auto nameOf = [](NSObject* object) { return QString::fromStdString(object->isa()->name()); };
    if (!outlet) {
        InterfaceLoad::report(this, QStringLiteral("\"%1\" has no outlet \"%2\"").arg(nameOf(source), mName));
        return;
    }
    if (const Class needed = outlet->type(); needed && !target->object()->isKindOfClass(needed)) {
        InterfaceLoad::report(this,
            QStringLiteral("The outlet \"%1\" of \"%2\" takes a \"%3\", and \"%4\" is none")
                .arg(mName, nameOf(source), QString::fromStdString(outlet->type()->name()), nameOf(target->object())));
        return;
    }
    outlet->connect(*source, target->object());
}
