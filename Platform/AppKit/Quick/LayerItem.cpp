#include "Platform/AppKit/Quick/LayerItem.h"

#include "Platform/AppKit/Quick/LayerTexture.h"
#include "Platform/AppKit/Quick/SoftwarePicture.h"
#include "Platform/dispatch/dispatch.h"

#include <QCoreApplication>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRectangleNode>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

/// The background, then the picture: one of the two, by the window's renderer.
class LayerNode : public QSGNode {
public:
    QSGRectangleNode* background = nullptr;
    SoftwarePicture* softwarePicture = nullptr;
    QSGImageNode* picture = nullptr;
    LayerTexture texture;
};

namespace {

const QEvent::Type layerChanged = static_cast<QEvent::Type>(QEvent::registerEventType());

QColor colorOf(CGColorRef color)
{
    return color ? QColor::fromRgbF(static_cast<float>(color->red()), static_cast<float>(color->green()),
               static_cast<float>(color->blue()), static_cast<float>(color->alpha()))
                 : QColor(Qt::transparent);
}

bool isShowable(const CVPixelBuffer* buffer)
{
    return buffer && buffer->pixelFormat() == kCVPixelFormatType_32BGRA && buffer->baseAddress();
}

/// The same for those who draw the pixels as they are: a form of an image may have alpha first.
bool isShowable(const CALayerPicture& picture, const CALayer& layer)
{
    const auto* const buffer = picture.buffer.get();
    return isShowable(buffer)
        || (buffer && buffer->pixelFormat() == kCVPixelFormatType_32ARGB && buffer->baseAddress()
            && kindOf<CALayerContents>(layer.contents()));
}

QSize sizeOf(const CVPixelBuffer& buffer)
{
    return { static_cast<int>(buffer.width()), static_cast<int>(buffer.height()) };
}

bool drawsInSoftware(const QQuickWindow* window)
{
    return window->rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
}

/// Where the contents go, each edge on the nearest whole pixel of the screen, so that the software renderer need not
/// blend edges; never less than one pixel.
QRectF placeOf(const CALayer& layer, QSize picture, QSizeF item, qreal ratio)
{
    const auto place
        = layer.rectangleForContents({ static_cast<double>(picture.width()), static_cast<double>(picture.height()) },
            { item.width(), item.height() });
    const auto aligned = [ratio](double from, double length) {
        const double start = std::round(from * ratio);
        const double pixels = std::max(std::round((from + length) * ratio) - start, 1.0);
        return std::pair { start / ratio, pixels / ratio };
    };
    // The layer's origin is at the bottom, the item's at the top; the place is centred, so it is the same in both.
    const auto [left, width] = aligned(place.origin.x, place.size.width);
    const auto [top, height] = aligned(place.origin.y, place.size.height);
    return { left, top, width, height };
}

}

QImage imageOver(Ref<CVPixelBuffer> buffer, bool opaque)
{
    if (!isShowable(buffer))
        return {};
    const auto width = static_cast<int>(buffer->width());
    const auto height = static_cast<int>(buffer->height());
    const auto stride = static_cast<qsizetype>(buffer->bytesPerRow());
    const auto* const pixels = reinterpret_cast<const uchar*>(buffer->baseAddress());
    const auto format = opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied;
    return QImage(
        pixels, width, height, stride, format,
        [](void* kept) { Ref<CVPixelBuffer>::adopt(static_cast<CVPixelBuffer*>(kept)); }, buffer.leak());
}

LayerItem::LayerItem(QQuickItem* parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

LayerItem::~LayerItem()
{
    if (mLayer)
        mLayer->setHost(nullptr);
}

void LayerItem::setContents(const QVariant& contents)
{
    mContents = contents;
    if (auto* const layer = kindOf<CALayer>(objectOf(contents))) {
        setLayer(layer);
        emit contentsChanged();
        return;
    }
    if (!mLayer) {
        const auto layer = make<CALayer>();
        layer->setContentsGravity(kCAGravityResizeAspectFill);
        layer->setOpaque(true);
        setLayer(layer);
    }
    if (contents.canConvert<ObjectHandle>())
        mLayer->setContents(contents.value<ObjectHandle>().object.get());
    else
        mLayer->setContents(nullptr);
    emit contentsChanged();
}

void LayerItem::setLayer(CALayer* layer)
{
    if (mLayer.get() == layer)
        return;
    if (mLayer)
        mLayer->setHost(nullptr);
    mLayer = layer;
    mContentsAreNew = true;
    if (mLayer)
        mLayer->setHost(this);
    update();
}

void LayerItem::layerNeedsDisplay()
{
    mContentsAreNew = true;
    if (DispatchMain::isMainThread())
        update();
    else if (!mUpdatePosted.exchange(true))
        QCoreApplication::postEvent(this, std::make_unique<QEvent>(layerChanged).release());
}

bool LayerItem::event(QEvent* event)
{
    if (event->type() != layerChanged)
        return QQuickItem::event(event);
    mUpdatePosted = false;
    update();
    return true;
}

void LayerItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() == oldGeometry.size())
        return;
    mContentsAreNew = true;
    update();
}

LayerNode* LayerItem::makeNode() const
{
    // The software renderer misplaces nodes that join their item's later: so the picture is there from the start,
    // without an extent until there are contents.
    auto node = std::make_unique<LayerNode>();
    node->background = window()->createRectangleNode();
    node->appendChildNode(node->background);
    if (drawsInSoftware(window())) {
        node->softwarePicture = std::make_unique<SoftwarePicture>(*window()).release();
        node->appendChildNode(node->softwarePicture);
        return node.release();
    }
    node->picture = window()->createImageNode();
    node->picture->setOwnsTexture(false);
    node->picture->setFiltering(QSGTexture::Linear);
    auto nothing = make<CVPixelBuffer>(1, 1, kCVPixelFormatType_32BGRA, 4);
    std::memset(nothing->baseAddress(), 0, nothing->bytesPerRow());
    node->picture->setTexture(node->texture.show(std::move(nothing), false, *window()));
    node->appendChildNode(node->picture);
    return node.release();
}

QSGNode* LayerItem::updatePaintNode(QSGNode* oldNode, UpdatePaintNodeData* /*data*/)
{
    const AutoreleasePool pool;
    auto* node = static_cast<LayerNode*>(oldNode);
    if (!mLayer || mLayer->isHidden() || width() < 1 || height() < 1) {
        const std::unique_ptr<LayerNode> gone(node);
        return nullptr;
    }
    if (!node) {
        node = makeNode();
        mContentsAreNew = true;
    }
    if (node->background->rect() != boundingRect())
        node->background->setRect(boundingRect());
    if (const auto color = colorOf(mLayer->backgroundColor()); node->background->color() != color)
        node->background->setColor(color);
    if (!mContentsAreNew.exchange(false))
        return node;
    if (node->softwarePicture)
        showInSoftware(*node->softwarePicture);
    else
        showAsTexture(*node);
    return node;
}

bool LayerItem::isOpaque() const
{
    return mLayer->isOpaque() || colorOf(mLayer->backgroundColor()).alpha() == 255;
}

/// How many pixels of the screen \p place takes.
QSize LayerItem::pixelsOf(const QRectF& place) const
{
    const auto pixels = place.size() * window()->effectiveDevicePixelRatio();
    return { static_cast<int>(std::lround(pixels.width())), static_cast<int>(std::lround(pixels.height())) };
}

void LayerItem::showInSoftware(SoftwarePicture& shown) const
{
    auto picture = mLayer->copyPictureForDisplay();
    if (!isShowable(picture, *mLayer)) {
        shown.showNothing();
        return;
    }
    const auto place = placeOf(*mLayer, sizeOf(*picture.buffer), this->size(), window()->effectiveDevicePixelRatio());
    shown.show(std::move(picture), isOpaque(), place, pixelsOf(place));
}

void LayerItem::showAsTexture(LayerNode& node)
{
    auto buffer = mLayer->copyPixelBufferForDisplay();
    if (!isShowable(buffer)) {
        node.picture->setRect(QRectF());
        return;
    }
    const auto place = placeOf(*mLayer, sizeOf(*buffer), this->size(), window()->effectiveDevicePixelRatio());
    if (LayerTexture::isTooLarge(*buffer, *window())) {
        const auto pixels = pixelsOf(place);
        if (auto scaled = mScaler.scaled(
                { buffer }, { static_cast<std::size_t>(pixels.width()), static_cast<std::size_t>(pixels.height()) }))
            buffer = std::move(scaled);
    }
    const QRectF whole(QPointF(), QSizeF(sizeOf(*buffer)));
    node.picture->setTexture(node.texture.show(std::move(buffer), isOpaque(), *window()));
    // The same texture may have other pixels now.
    node.picture->markDirty(QSGNode::DirtyMaterial);
    node.picture->setRect(place);
    node.picture->setSourceRect(whole);
}
