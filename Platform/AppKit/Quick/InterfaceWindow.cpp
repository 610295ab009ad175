#include "Platform/AppKit/Quick/InterfaceWindow.h"

#include "Platform/AppKit/Quick/InterfaceLoad.h"
#include "Platform/AppKit/Quick/InterfaceView.h"
#include "Platform/Foundation/NSURL.h"

#include <QDropEvent>
#include <QMimeData>
#include <QUrl>

#include <utility>

namespace {

/// What is dragged; null when there are no files among it.
Ref<NSDraggingInfo> draggingInfo(const QMimeData* data)
{
    auto files = make<CFArray>();
    for (const auto& url : data ? data->urls() : QList<QUrl>()) {
        if (url.isLocalFile())
            files->append(make<NSURL>(url.toLocalFile().toStdString()).get());
    }
    return files->count() > 0 ? make<NSDraggingInfo>(files) : nullptr;
}

}

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

void InterfaceWindow::setDropWelcome(bool welcome)
{
    if (std::exchange(mDropWelcome, welcome) != welcome)
        emit dropWelcomeChanged();
}

/// Whether an item under the pointer takes the drag, which goes before the window's delegate. What it takes is copied,
/// whatever the other side proposes: its file stays.
bool InterfaceWindow::isForItem(QEvent* event)
{
    event->ignore();
    QQuickWindow::event(event);
    if (event->isAccepted())
        static_cast<QDropEvent*>(event)->setDropAction(Qt::CopyAction);
    return event->isAccepted();
}

/// \return whether it was a drag's event
bool InterfaceWindow::dragEvent(QEvent* event)
{
    const AutoreleasePool pool;
    switch (event->type()) {
    case QEvent::DragEnter: {
        const auto info = draggingInfo(static_cast<QDropEvent*>(event)->mimeData());
        mDropWanted = info && mWindow->draggingEntered(info) == NSDragOperationCopy;
        break;
    }
    case QEvent::DragMove:
        break;
    case QEvent::DragLeave:
        QQuickWindow::event(event);
        if (std::exchange(mDropWanted, false))
            mWindow->draggingExited(nullptr);
        setDropWelcome(false);
        return true;
    case QEvent::Drop: {
        const bool isWanted = std::exchange(mDropWanted, false);
        setDropWelcome(false);
        if (isForItem(event)) {
            if (isWanted)
                mWindow->draggingExited(nullptr);
            return true;
        }
        const auto info = draggingInfo(static_cast<QDropEvent*>(event)->mimeData());
        if (!isWanted || !info || !mWindow->performDragOperation(info)) {
            event->ignore();
            return true;
        }
        static_cast<QDropEvent*>(event)->setDropAction(Qt::CopyAction);
        event->accept();
        return true;
    }
    default:
        return false;
    }
    const bool isForItem = this->isForItem(event);
    setDropWelcome(mDropWanted && !isForItem);
    if (isForItem)
        return true;
    if (mDropWanted) {
        static_cast<QDropEvent*>(event)->setDropAction(Qt::CopyAction);
        event->accept();
    } else {
        event->ignore();
    }
    return true;
}

bool InterfaceWindow::event(QEvent* event)
{
    if (mWindow && dragEvent(event))
        return true;
    if (event->type() == QEvent::Close && mWindow) {
        // The window's own close decides, tells its delegate and takes the window off the screen.
        event->ignore();
        const AutoreleasePool pool;
        mWindow->performClose(nullptr);
        return true;
    }
    return QQuickWindow::event(event);
}
