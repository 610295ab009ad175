#include "Platform/AppKit/Quick/InterfaceView.h"

#include "Platform/AppKit/Quick/InterfaceLoad.h"
#include "Platform/AppKit/Quick/InterfaceWindow.h"

#include <QMouseEvent>
#include <QOpenGLContext>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickWindow>

#include <memory>

InterfaceView::InterfaceView(QQuickItem* parent)
    : LayerItem(parent)
{
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
}

InterfaceView::~InterfaceView()
{
    if (mView)
        mView->setHost(nullptr);
}

void InterfaceView::setClassName(const QString& className)
{
    mClassName = className;
    auto* const object = InterfaceLoad::makeObject(this, className);
    mView = kindOf<NSView>(object);
    if (object && !mView)
        InterfaceLoad::report(this, QStringLiteral("\"%1\" is no class of views").arg(className));
    if (!mView)
        return;
    mView->setHost(this);
    viewLayerChanged();
}

void InterfaceView::componentComplete()
{
    LayerItem::componentComplete();
    if (!mView)
        return;
    mView->setFrame({ { x(), 0 }, { width(), height() } });
    setVisible(!mView->isHidden() && isVisible());
    InterfaceLoad::whenComplete(InterfaceLoad::Step::Actions, [self = QPointer<InterfaceView>(this)] {
        if (self)
            self->loadComponent();
    });
}

void InterfaceView::loadComponent()
{
    const auto url = mView->interfaceComponent();
    if (url.empty())
        return;
    auto* const engine = qmlEngine(this);
    QQmlComponent component(engine, QUrl(QString::fromStdString(url)), this);
    // Making an object of a component that could not be read crashes.
    if (!component.isReady()) {
        InterfaceLoad::report(this, component.errorString());
        return;
    }
    auto* const made = component.createWithInitialProperties(
        { { QStringLiteral("view"), QVariant::fromValue<QObject*>(this) } }, qmlContext(this));
    mComponentItem = qobject_cast<QQuickItem*>(made);
    if (!mComponentItem) {
        InterfaceLoad::report(this,
            component.isError() ? component.errorString()
                                : QStringLiteral("%1 is no item").arg(QString::fromStdString(url)));
        const std::unique_ptr<QObject> gone(made);
        return;
    }
    made->setParent(this);
    mComponentItem->setParentItem(this);
    mComponentItem->setSize(size());
}

QString InterfaceView::toolTip() const
{
    return mView && mView->toolTip() ? QString::fromStdString(mView->toolTip()->string()) : QString();
}

void InterfaceView::viewLayerChanged()
{
    const AutoreleasePool pool;
    setLayer(mView->layer());
}

void InterfaceView::viewVisibilityChanged()
{
    setVisible(!mView->isHidden());
}

void InterfaceView::viewFrameRequested(NSRect frame)
{
    if (!mTakesSize)
        setSize({ frame.size.width, frame.size.height });
}

NSWindow* InterfaceView::viewWindow()
{
    const auto* const shown = qobject_cast<InterfaceWindow*>(window());
    return shown ? shown->nsWindow() : nullptr;
}

NSPoint InterfaceView::viewPointFromWindow(NSPoint point)
{
    const qreal windowHeight = window() ? window()->contentItem()->height() : height();
    const auto inItem = mapFromScene({ point.x, windowHeight - point.y });
    return { inItem.x(), height() - inItem.y() };
}

CGFloat InterfaceView::viewBackingScale()
{
    return window() ? window()->effectiveDevicePixelRatio() : 1;
}

void InterfaceView::viewWillDraw()
{
    // The window's context may be one of another interface, beside which a thread can have none of EGL's. The window
    // makes its own current again when it draws, since it knows that it has none.
    if (auto* const current = QOpenGLContext::currentContext())
        current->doneCurrent();
}

void InterfaceView::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry)
{
    LayerItem::geometryChange(newGeometry, oldGeometry);
    if (mComponentItem)
        mComponentItem->setSize(newGeometry.size());
    if (!mView || newGeometry.size() == oldGeometry.size())
        return;
    const AutoreleasePool pool;
    mTakesSize = true;
    mView->setFrameSize({ newGeometry.width(), newGeometry.height() });
    mTakesSize = false;
}

void InterfaceView::itemChange(ItemChange change, const ItemChangeData& value)
{
    LayerItem::itemChange(change, value);
    if (change == ItemDevicePixelRatioHasChanged && mView)
        mView->viewDidChangeBackingProperties();
    if (change != ItemSceneChange || !mView)
        return;
    const auto* const shown = qobject_cast<InterfaceWindow*>(value.window);
    mView->viewWillMoveToWindow(shown ? shown->nsWindow() : nullptr);
    mView->viewDidMoveToWindow();
}

Ref<NSEvent> InterfaceView::makeEvent(NSEventType type, QPointF position) const
{
    const auto inScene = mapToScene(position);
    const qreal windowHeight = window() ? window()->contentItem()->height() : height();
    return make<NSEvent>(type, NSPoint { inScene.x(), windowHeight - inScene.y() });
}

void InterfaceView::mousePressEvent(QMouseEvent* event)
{
    const AutoreleasePool pool;
    if (mView)
        mView->mouseDown(makeEvent(NSEventTypeLeftMouseDown, event->position()).get());
}

void InterfaceView::mouseReleaseEvent(QMouseEvent* event)
{
    const AutoreleasePool pool;
    if (mView)
        mView->mouseUp(makeEvent(NSEventTypeLeftMouseUp, event->position()).get());
}

void InterfaceView::mouseMoveEvent(QMouseEvent* event)
{
    const AutoreleasePool pool;
    if (mView)
        mView->mouseDragged(makeEvent(NSEventTypeLeftMouseDragged, event->position()).get());
}

void InterfaceView::hoverEnterEvent(QHoverEvent* event)
{
    const AutoreleasePool pool;
    setHovered(true);
    if (mView)
        mView->mouseEntered(makeEvent(NSEventTypeMouseEntered, event->position()).get());
}

void InterfaceView::hoverMoveEvent(QHoverEvent* event)
{
    const AutoreleasePool pool;
    if (mView)
        mView->mouseMoved(makeEvent(NSEventTypeMouseMoved, event->position()).get());
}

void InterfaceView::hoverLeaveEvent(QHoverEvent* event)
{
    const AutoreleasePool pool;
    setHovered(false);
    if (mView)
        mView->mouseExited(makeEvent(NSEventTypeMouseExited, event->position()).get());
}

void InterfaceView::setHovered(bool hovered)
{
    if (hovered == mHovered)
        return;
    mHovered = hovered;
    emit hoveredChanged();
}
