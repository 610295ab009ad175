#pragma once

#include "Platform/AppKit/Quick/LayerScaler.h"

#include <QImage>
#include <QRectF>
#include <QSGRenderNode>

class QPainter;
class QQuickWindow;

/// The picture of a layer under the software renderer. A picture that covers what is under it goes straight from its
/// pixels into the window's memory, once, in whatever size and order of bytes and rows it is; nothing is made of it
/// before. Of the thread that draws.
class SoftwarePicture : public QSGRenderNode {
public:
    /// \param window  outlives this
    explicit SoftwarePicture(QQuickWindow& window)
        : mWindow(window)
    {
    }

    /// \param picture  with a buffer; kept until the next one
    /// \param opaque  whether the alpha bytes have no meaning
    /// \param place  in the item's coordinates, edges on whole pixels of the screen while the item's are
    /// \param pixels  how large that is there, not empty
    void show(CALayerPicture picture, bool opaque, const QRectF& place, QSize pixels);
    void showNothing();

    StateFlags changedStates() const override { return {}; }
    RenderingFlags flags() const override;
    QRectF rect() const override { return mPlace; }
    void render(const RenderState* state) override;

private:
    bool drawStraight(QPainter& painter, const QTransform& transform, const QRegion& region);
    void drawWithPainter(QPainter& painter);

    QQuickWindow& mWindow;
    CALayerPicture mPicture;
    bool mOpaque = false;
    QRectF mPlace;
    QSize mPixels;
    LayerScaler mScaler;
    QImage mImage; ///< the picture in its size for the painter, if that was needed
};
