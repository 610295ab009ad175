#include "Platform/AppKit/Quick/InterfaceWindow.h"

#include "Platform/AppKit/Quick/InterfaceLoad.h"
#include "Platform/AppKit/Quick/InterfaceView.h"

#include <QEvent>

InterfaceWindow::InterfaceWindow(QWindow* parent)
    : QQuickWindow(parent)
{
    connect(contentItem(), &QQuickItem::widthChanged, this, &InterfaceWindow::fitContentItem);
    connect(contentItem(), &QQuickItem::heightChanged, this, &InterfaceWindow::fitContentItem);
}

InterfaceWindow::~InterfaceWindow()
{
    if (mWindow)
        mWindow->setHost(nullptr);
}

void InterfaceWindow::setClassName(const QString& className)
{
    mClassName = className;
    auto* const object = InterfaceLoad::makeObject(this, className);
    mWindow = kindOf<NSWindow>(object);
    if (object && !mWindow)
        InterfaceLoad::report(this, QStringLiteral("\"%1\" is no class of windows").arg(className));
    if (mWindow)
        mWindow->setHost(this);
}

void InterfaceWindow::componentComplete()
{
    if (mWindow && !title().isEmpty())
        mWindow->setTitle(CFString::create(title().toStdString()).get());
}

void InterfaceWindow::windowOrderFront(bool makeKey)
{
    setFlag(Qt::WindowDoesNotAcceptFocus, false);
    if (!isVisible()) {
        // Without this a window manager gives the focus to every new window.
        setProperty("_q_showWithoutActivating", !makeKey);
        show();
    }
    raise();
    if (makeKey)
        requestActivate();
}

void InterfaceWindow::windowOrderOut()
{
    hide();
}

void InterfaceWindow::windowContentViewChanged()
{
    if (mContentViewItem)
        mContentViewItem->setParentItem(nullptr);
    auto* const view = mWindow->contentView();
    mContentViewItem = view ? dynamic_cast<QQuickItem*>(view->host()) : nullptr;
    if (!mContentViewItem)
        return;
    mContentViewItem->setParentItem(contentItem());
    fitContentItem();
}

void InterfaceWindow::windowAppearanceChanged()
{
    setTitle(QString::fromStdString(mWindow->title()->string()));
    if (mWindow->alphaValue() < 0.999)
        setOpacity(mWindow->alphaValue());
}

void InterfaceWindow::fitContentItem()
{
    if (mContentViewItem)
        mContentViewItem->setSize(contentItem()->size());
}

bool InterfaceWindow::event(QEvent* event)
{
    if (event->type() == QEvent::Close && mWindow) {
        // The window's own close decides, tells its delegate and takes the window off the screen.
        event->ignore();
        const AutoreleasePool pool;
        mWindow->performClose(nullptr);
        return true;
    }
    return QQuickWindow::event(event);
}
