#include "Platform/AppKit/Quick/ActionLink.h"

#include "Platform/AppKit/Quick/InterfaceLoad.h"

#include <QPointer>

void checkAction(const QObject* element, NSObject* target, const QString& selector)
{
    if (target && !target->respondsToSelector(selector.toStdString()))
        InterfaceLoad::report(element,
            QStringLiteral("\"%1\" has no action \"%2\"").arg(QString::fromStdString(target->isa()->name()), selector));
}

void ActionLink::componentComplete()
{
    InterfaceLoad::whenComplete(InterfaceLoad::Step::Actions, [self = QPointer<ActionLink>(this)] {
        if (!self)
            return;
        if (!objectOf(self->mTarget))
            InterfaceLoad::report(self, QStringLiteral("The action \"%1\" has no target").arg(self->mSelector));
        checkAction(self, objectOf(self->mTarget), self->mSelector);
    });
}

void ActionLink::send(const QVariant& argument)
{
    const AutoreleasePool pool;
    const auto target = Ref<NSObject>(objectOf(mTarget));
    const auto selector = mSelector.toStdString();
    if (target && target->respondsToSelector(selector))
        target->performSelector(selector, valueOf(argument).get());
}
