#pragma once

#include "Platform/AppKit/NSView.h"
#include "Platform/AppKit/Quick/LayerItem.h"

/// `InterfaceView { className: "…" }`: a view. It draws the view's layer, gives the view the mouse and its size, and
/// holds the view's own component, if it has one, above the layer.
class InterfaceView : public LayerItem, public ObjectElement, public NSViewHost {
    Q_OBJECT
    Q_INTERFACES(ObjectElement)
    Q_PROPERTY(QString className READ className WRITE setClassName REQUIRED)
    Q_PROPERTY(QString toolTip READ toolTip NOTIFY toolTipChanged)
    Q_PROPERTY(bool hovered READ isHovered NOTIFY hoveredChanged)
public:
    explicit InterfaceView(QQuickItem* parent = nullptr);
    ~InterfaceView() override;

    NSObject* object() const override { return mView; }
    NSView* view() const { return mView; }
    QString className() const { return mClassName; }
    void setClassName(const QString& className);
    QString toolTip() const;
    bool isHovered() const { return mHovered; }

    void viewNeedsDisplay() override { update(); }
    void viewLayerChanged() override;
    void viewVisibilityChanged() override;
    void viewToolTipChanged() override { emit toolTipChanged(); }
    void viewFrameRequested(NSRect frame) override;
    NSWindow* viewWindow() override;
    NSPoint viewPointFromWindow(NSPoint point) override;
    CGFloat viewBackingScale() override;
    void viewWillDraw() override;

signals:
    void toolTipChanged();
    void hoveredChanged();

protected:
    void componentComplete() override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void hoverEnterEvent(QHoverEvent* event) override;
    void hoverMoveEvent(QHoverEvent* event) override;
    void hoverLeaveEvent(QHoverEvent* event) override;

private:
    void loadComponent();
    Ref<NSEvent> makeEvent(NSEventType type, QPointF position) const;
    void setHovered(bool hovered);

    QString mClassName;
    Ref<NSView> mView;
    QQuickItem* mComponentItem = nullptr;
    bool mTakesSize = false;
    bool mHovered = false;
};
