#include "Platform/AppKit/Quick/ControlLink.h"

#include "Platform/AppKit/Quick/ActionLink.h"
#include "Platform/AppKit/Quick/InterfaceLoad.h"

#include <QMetaMethod>

#include <array>

namespace {

struct FollowedKey {
    std::string_view key;
    const char* property;
};
constexpr std::array followedKeys { FollowedKey { "enabled", "enabled" }, FollowedKey { "title", "text" },
    FollowedKey { "state", "checked" } };

}

ControlLink::~ControlLink()
{
    if (!mObserver || !mObject)
        return;
    for (const auto& followed : followedKeys)
        if (mObject->isa()->key(followed.key))
            mObject->removeObserver_forKeyPath_context(mObserver, followed.key, this);
}

void ControlLink::componentComplete()
{
    InterfaceLoad::whenComplete(InterfaceLoad::Step::Actions, [self = QPointer<ControlLink>(this)] {
        if (self)
            self->connectControl();
    });
}

void ControlLink::connectControl()
{
    auto* const control = kindOf<NSControl>(mObject);
    if (!control) {
        if (mObject)
            InterfaceLoad::report(this, QStringLiteral("\"%1\" is no class of controls").arg(mClassName));
        return;
    }
    auto* const item = parent();
    if (!item || item->metaObject()->indexOfSignal("clicked()") < 0) {
        InterfaceLoad::report(this, QStringLiteral("The control stands in no item that can be clicked"));
        return;
    }
    connect(item, SIGNAL(clicked()), this, SLOT(press()));
    const auto* const targetElement = qobject_cast<ObjectElement*>(mTarget);
    if (mTarget && !targetElement)
        InterfaceLoad::report(this, QStringLiteral("The target has no object"));
    if (targetElement && targetElement->object()) {
        checkAction(this, targetElement->object(), mAction);
        control->setTarget(targetElement->object());
        control->setAction(mAction.toStdString());
    }
    if (auto* const button = kindOf<NSButton>(control))
        button->setTitle(CFString::create(item->property("text").toString().toStdString()).get());
    mObserver = make<ControlLinkObserver>(this);
    for (const auto& followed : followedKeys)
        if (mObject->isa()->key(followed.key))
            mObject->addObserver_forKeyPath_options_context(mObserver, followed.key, 0, this);
}

void ControlLink::press()
{
    const AutoreleasePool pool;
    if (auto* const button = kindOf<NSButton>(mObject))
        button->performClick(nullptr);
    else if (auto* const control = kindOf<NSControl>(mObject))
        control->sendAction_to(control->action(), control->target());
}

void ControlLink::follow(std::string_view key)
{
    for (const auto& followed : followedKeys)
        if (followed.key == key && parent() && parent()->metaObject()->indexOfProperty(followed.property) >= 0)
            parent()->setProperty(followed.property, variantOf(mObject->valueForKey(key).get()));
}

void ControlLinkObserver::observeValueForKeyPath_ofObject_change_context(
    CFString* keyPath, NSObject* /*object*/, CFDictionary* /*change*/, const void* /*context*/)
{
    if (mLink)
        mLink->follow(textOf(keyPath));
}
