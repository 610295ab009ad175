#include "Platform/AppKit/Quick/InterfaceMenu.h"

#include "Platform/AppKit/NSApplication.h"
#include "Platform/AppKit/Quick/ActionLink.h"
#include "Platform/AppKit/Quick/InterfaceLoad.h"

#include <QKeySequence>
#include <QPointer>

namespace {

InterfaceMainMenu* sharedMenu = nullptr;

}

void InterfaceMenuItem::componentComplete()
{
    mItem->setTitle(CFString::create(mTitle.toStdString()).get());
    mItem->setSeparatorItem(mTitle.isEmpty());
    if (!mKeyEquivalent.isEmpty()) {
        const auto keys = QKeySequence::fromString(mKeyEquivalent, QKeySequence::PortableText);
        if (keys.isEmpty() || keys[0].key() == Qt::Key_unknown)
            InterfaceLoad::report(this, QStringLiteral("There is no key \"%1\"").arg(mKeyEquivalent));
        mItem->setKeyEquivalent(CFString::create(keys.toString(QKeySequence::PortableText).toStdString()).get());
    }
    if (!mItems.isEmpty()) {
        const auto submenu = make<NSMenu>();
        submenu->setTitle(mItem->title());
        for (const auto* const item : std::as_const(mItems))
            submenu->addItem(item->menuItem());
        mItem->setSubmenu(submenu);
    }
    InterfaceLoad::whenComplete(InterfaceLoad::Step::Actions, [self = QPointer<InterfaceMenuItem>(this)] {
        if (self)
            self->connectTarget();
    });
}

void InterfaceMenuItem::connectTarget()
{
    if (mAction.isEmpty())
        return;
    const auto* const element = qobject_cast<ObjectElement*>(mTarget);
    if (!element) {
        InterfaceLoad::report(this, QStringLiteral("The action \"%1\" has no target").arg(mAction));
        return;
    }
    checkAction(this, element->object(), mAction);
    mItem->setTarget(element->object());
    mItem->setAction(mAction.toStdString());
}

void InterfaceMenuItem::choose()
{
    const AutoreleasePool pool;
    mItem->performAction();
}

InterfaceMainMenu::~InterfaceMainMenu()
{
    if (sharedMenu == this)
        sharedMenu = nullptr;
}

InterfaceMainMenu* InterfaceMainMenu::shared()
{
    return sharedMenu;
}

void InterfaceMainMenu::componentComplete()
{
    for (const auto* const item : std::as_const(mItems))
        mMenu->addItem(item->menuItem());
    NSApplication::sharedApplication()->setMainMenu(mMenu);
    sharedMenu = this;
}

QList<QObject*> MenuBarModel::menus() const
{
    return sharedMenu ? sharedMenu->entries() : QList<QObject*>();
}
