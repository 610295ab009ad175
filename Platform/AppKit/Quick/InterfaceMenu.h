#pragma once

#include "Platform/AppKit/NSMenu.h"
#include "Platform/AppKit/Quick/ObjectElement.h"

#include <QQmlListProperty>
#include <QQmlParserStatus>

/// `InterfaceMenuItem { title: "…"; keyEquivalent: "Ctrl+S"; target: …; action: "…" }`: a command of a menu. With other
/// items in it, it is a submenu; without a title, a line.
class InterfaceMenuItem : public QObject, public QQmlParserStatus, public ObjectElement {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus ObjectElement)
    Q_PROPERTY(QString title MEMBER mTitle NOTIFY changed)
    Q_PROPERTY(QString keyEquivalent MEMBER mKeyEquivalent NOTIFY changed)
    Q_PROPERTY(QObject* target MEMBER mTarget)
    Q_PROPERTY(QString action MEMBER mAction)
    Q_PROPERTY(QList<QObject*> entries READ entries NOTIFY changed)
    Q_PROPERTY(QQmlListProperty<InterfaceMenuItem> items READ items)
    Q_CLASSINFO("DefaultProperty", "items")
public:
    NSObject* object() const override { return mItem; }
    NSMenuItem* menuItem() const { return mItem; }
    QQmlListProperty<InterfaceMenuItem> items() { return { this, &mItems }; }
    /// The items as a list that a QML view can show.
    QList<QObject*> entries() const { return { mItems.begin(), mItems.end() }; }
    /// What choosing the item does.
    Q_INVOKABLE void choose();

    void classBegin() override { }
    void componentComplete() override;

signals:
    void changed();

private:
    void connectTarget();

    QString mTitle;
    QString mKeyEquivalent;
    QObject* mTarget = nullptr;
    QString mAction;
    QList<InterfaceMenuItem*> mItems;
    const Ref<NSMenuItem> mItem = make<NSMenuItem>();
};

/// `InterfaceMainMenu { … }`: the menus of the application's menu bar.
class InterfaceMainMenu : public QObject, public QQmlParserStatus, public ObjectElement {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus ObjectElement)
    Q_PROPERTY(QQmlListProperty<InterfaceMenuItem> items READ items)
    Q_CLASSINFO("DefaultProperty", "items")
public:
    ~InterfaceMainMenu() override;
    NSObject* object() const override { return mMenu; }
    QQmlListProperty<InterfaceMenuItem> items() { return { this, &mItems }; }
    QList<QObject*> entries() const { return { mItems.begin(), mItems.end() }; }
    /// The one that was loaded last, null before.
    static InterfaceMainMenu* shared();

    void classBegin() override { }
    void componentComplete() override;

private:
    QList<InterfaceMenuItem*> mItems;
    const Ref<NSMenu> mMenu = make<NSMenu>();
};

/// `MenuBarModel { }`: the menus of the application's menu bar, for the item that draws it.
class MenuBarModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<QObject*> menus READ menus CONSTANT)
public:
    QList<QObject*> menus() const;
};
