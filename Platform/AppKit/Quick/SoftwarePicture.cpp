#include "Platform/AppKit/Quick/SoftwarePicture.h"

#include "Platform/AppKit/Quick/LayerItem.h"

#include <QPainter>
#include <QQuickWindow>

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

/// Beyond this the scaler's tables would outgrow the picture, most of which cannot be seen then.
constexpr int longestSide = 16384;

LayerScaler::Size sizeOf(QSize pixels)
{
    return { static_cast<std::size_t>(pixels.width()), static_cast<std::size_t>(pixels.height()) };
}

/// The image that \p painter draws into, if pixels that cover everything can be written there by hand.
QImage* plainTarget(const QPainter& painter)
{
    if (painter.device()->devType() != QInternal::Image)
        return nullptr;
    auto* const image = static_cast<QImage*>(painter.device());
    return image->format() == QImage::Format_RGB32 && image->isDetached() ? image : nullptr;
}

/// Where \p place lies among the target's pixels, if it has its edges between them.
std::optional<QRect> wholePixels(const QRectF& place, const QTransform& transform, int ratio)
{
    constexpr qreal nearly = 1e-3;
    if (transform.type() > QTransform::TxTranslate)
        return std::nullopt;
    const QRectF exact((place.x() + transform.dx()) * ratio, (place.y() + transform.dy()) * ratio,
        place.width() * ratio, place.height() * ratio);
    const QRect rounded = exact.toRect();
    const bool isWhole = std::abs(rounded.x() - exact.x()) < nearly && std::abs(rounded.y() - exact.y()) < nearly;
    return isWhole ? std::optional(rounded) : std::nullopt;
}

}

void SoftwarePicture::show(CALayerPicture picture, bool opaque, const QRectF& place, QSize pixels)
{
    mPicture = std::move(picture);
    mOpaque = opaque;
    mPlace = place;
    mPixels = pixels;
    mImage = QImage();
    // The renderer asks for the place and the flags again.
    markDirty(DirtyMaterial | DirtyGeometry);
}

void SoftwarePicture::showNothing()
{
    mPicture = {};
    mPlace = QRectF();
    mImage = QImage();
    markDirty(DirtyMaterial | DirtyGeometry);
}

QSGRenderNode::RenderingFlags SoftwarePicture::flags() const
{
    return mOpaque ? BoundedRectRendering | OpaqueRendering : RenderingFlags(BoundedRectRendering);
}

void SoftwarePicture::render(const RenderState* state)
{
    auto* const painter = static_cast<QPainter*>(
        mWindow.rendererInterface()->getResource(&mWindow, QSGRendererInterface::PainterResource));
    if (!painter || !state->clipRegion() || !mPicture.buffer)
        return;
    const auto transform = matrix()->toTransform();
    if (drawStraight(*painter, transform, *state->clipRegion()))
        return;
    painter->save();
    painter->setClipRegion(*state->clipRegion());
    painter->setTransform(transform);
    painter->setOpacity(inheritedOpacity());
    drawWithPainter(*painter);
    painter->restore();
}

bool SoftwarePicture::drawStraight(QPainter& painter, const QTransform& transform, const QRegion& region)
{
    const qreal exactRatio = painter.device()->devicePixelRatio();
    const int ratio = static_cast<int>(exactRatio);
    auto* const target = plainTarget(painter);
    // Where a pixel of the screen is a part of one, the painter knows how its other neighbours are rounded.
    if (!target || !mOpaque || inheritedOpacity() < 1 || ratio != exactRatio)
        return false;
    const auto place = wholePixels(mPlace, transform, ratio);
    if (!place || place->size() != mPixels || std::max(mPixels.width(), mPixels.height()) > longestSide)
        return false;
    for (const auto& rectangle : region) {
        const QRect dirty(rectangle.topLeft() * ratio, rectangle.size() * ratio);
        const auto part = dirty & *place & target->rect();
        if (part.isEmpty())
            continue;
        const auto inside = part.topLeft() - place->topLeft();
        mScaler.draw(mPicture, sizeOf(mPixels),
            { static_cast<std::size_t>(inside.x()), static_cast<std::size_t>(inside.y()), sizeOf(part.size()) },
            target->scanLine(part.top()) + static_cast<std::ptrdiff_t>(part.left()) * 4,
            static_cast<std::size_t>(target->bytesPerLine()));
    }
    return true;
}

void SoftwarePicture::drawWithPainter(QPainter& painter)
{
    if (mImage.isNull()) {
        auto buffer = mScaler.scaled(mPicture, sizeOf(mPixels));
        // Without memory to scale it the painter does, as far as it can read the picture.
        if (!buffer && mPicture.buffer->pixelFormat() == kCVPixelFormatType_32BGRA)
            buffer = mPicture.buffer;
        mImage = imageOver(std::move(buffer), mOpaque);
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(mPlace, mImage, QRectF(mImage.rect()));
}
