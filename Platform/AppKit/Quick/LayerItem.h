#pragma once

#include "Platform/AppKit/Quick/LayerScaler.h"
#include "Platform/AppKit/Quick/ObjectElement.h"
#include "Platform/QuartzCore/CALayer.h"

#include <QImage>
#include <QQuickItem>

#include <atomic>

class LayerNode;
class SoftwarePicture;

/// An item that draws a layer: its background and its contents, placed by its gravity.
///
/// `LayerItem { contents: … }` shows what a key gives, a pixel buffer or an image, opaque and covering the item. Under
/// the software renderer nothing is made of the picture before it goes into the window, in whatever size; under a
/// graphics processor it is uploaded once. Only the item's own area is repainted.
///
/// Where the contents are a layer, the item shows whatever that one shows from then on: the way for pictures that
/// change all the time, since the engine frees values late.
class LayerItem : public QQuickItem, private CALayerHost {
    Q_OBJECT
    Q_PROPERTY(QVariant contents READ contents WRITE setContents NOTIFY contentsChanged)
public:
    explicit LayerItem(QQuickItem* parent = nullptr);
    ~LayerItem() override;

    QVariant contents() const { return mContents; }
    void setContents(const QVariant& contents);

    CALayer* layer() const { return mLayer; }
    void setLayer(CALayer* layer);

signals:
    void contentsChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* oldNode, UpdatePaintNodeData* data) override;
    bool event(QEvent* event) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;

private:
    void layerNeedsDisplay() override;
    LayerNode* makeNode() const;
    bool isOpaque() const;
    QSize pixelsOf(const QRectF& place) const;
    void showInSoftware(SoftwarePicture& shown) const;
    void showAsTexture(LayerNode& node);

    QVariant mContents;
    Ref<CALayer> mLayer;
    LayerScaler mScaler; ///< of the thread that draws
    std::atomic<bool> mUpdatePosted = false;
    std::atomic<bool> mContentsAreNew = true;
};

/// The pixels of \p buffer as an image that keeps the buffer; null for null.
/// \param opaque  whether the alpha bytes have no meaning
QImage imageOver(Ref<CVPixelBuffer> buffer, bool opaque);
