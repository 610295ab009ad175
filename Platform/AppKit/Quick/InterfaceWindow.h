#pragma once

#include "Platform/AppKit/NSWindow.h"
#include "Platform/AppKit/Quick/ObjectElement.h"

#include <QQmlParserStatus>
#include <QQuickWindow>

/// `InterfaceWindow { className: "…" }`: a window, off the screen until the program orders it front. Items in it are
/// its contents, beside the content view that the program may set.
class InterfaceWindow : public QQuickWindow, public QQmlParserStatus, public ObjectElement, public NSWindowHost {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus ObjectElement)
    Q_PROPERTY(QString className READ className WRITE setClassName REQUIRED)
    /// Whether something is dragged over the window that it would take.
    Q_PROPERTY(bool dropWelcome READ isDropWelcome NOTIFY dropWelcomeChanged)
public:
    explicit InterfaceWindow(QWindow* parent = nullptr);
    ~InterfaceWindow() override;

    NSObject* object() const override { return mWindow; }
    NSWindow* nsWindow() const { return mWindow; }
    QString className() const { return mClassName; }
    bool isDropWelcome() const { return mDropWelcome; }
    void setClassName(const QString& className);

    void windowOrderFront(bool makeKey) override;
    void windowOrderOut() override;
    bool windowIsVisible() override { return isVisible(); }
    bool windowIsKey() override { return isActive(); }
    void windowContentViewChanged() override;
    void windowAppearanceChanged() override;

    void classBegin() override { }
    void componentComplete() override;

signals:
    void dropWelcomeChanged();

protected:
    bool event(QEvent* event) override;

private:
    void fitContentItem();
    bool isForItem(QEvent* event);
    bool dragEvent(QEvent* event);
    void setDropWelcome(bool welcome);

    QString mClassName;
    Ref<NSWindow> mWindow;
    QPointer<QQuickItem> mContentViewItem;
    bool mDropWanted = false; ///< the delegate would take what is dragged
    bool mDropWelcome = false; ///< it would be dropped for the delegate where it is now
};
