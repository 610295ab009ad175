#pragma once

#include "Platform/AppKit/NSButton.h"
#include "Platform/AppKit/Quick/InterfaceObject.h"

#include <QPointer>

class ControlLinkObserver;

/// `ControlLink { className: "NSButton"; target: …; action: "…" }` inside an item with a signal `clicked()`: the
/// control object of the item. A press of the item presses the control, and the item's `enabled`, `text` and, where it
/// has one, `checked` follow the control's `enabled`, `title` and `state` once the control says something of its own.
class ControlLink : public InterfaceObject {
    Q_OBJECT
    Q_PROPERTY(QObject* target MEMBER mTarget)
    Q_PROPERTY(QString action MEMBER mAction)
public:
    ~ControlLink() override;
    void componentComplete() override;
    /// Brings a changed key of the control to the item.
    void follow(std::string_view key);

public slots:
    void press();

private:
    void connectControl();

    QObject* mTarget = nullptr;
    QString mAction;
    Ref<ControlLinkObserver> mObserver;
};

/// Hears of the control's changes; they are made on the main thread.
class ControlLinkObserver : public NSObject {
public:
    explicit ControlLinkObserver(ControlLink* link)
        : mLink(link)
    {
    }
    void observeValueForKeyPath_ofObject_change_context(
        CFString* keyPath, NSObject* object, CFDictionary* change, const void* context) override;

private:
    const QPointer<ControlLink> mLink;
};
