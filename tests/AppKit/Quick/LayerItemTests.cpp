#include "Platform/AppKit/Quick/LayerItem.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreGraphics/CGImage.h"
#include "tests/AppKit/Quick/QuickTest.h"
#include "tests/AppKit/Quick/ShownPictures.h"

#include <QQuickWindow>

#include <thread>

using namespace ShownPictures;

namespace {

/// Red above blue.
Ref<CVPixelBuffer> makeTwoHalves(std::size_t width, std::size_t height)
{
    const auto surface = IOSurface::create(width, height, kCVPixelFormatType_32BGRA, 4, nullptr);
    auto buffer = make<CVPixelBuffer>(surface);
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) {
            auto* const pixel = buffer->baseAddress() + y * buffer->bytesPerRow() + 4 * x;
            const bool top = y < height / 2;
            pixel[0] = std::byte { static_cast<unsigned char>(top ? 0 : 255) };
            pixel[1] = std::byte { 0 };
            pixel[2] = std::byte { static_cast<unsigned char>(top ? 255 : 0) };
            pixel[3] = std::byte { 0 };
        }
    return buffer;
}

/// Whether each part of the colour is that of \p wanted, but for the little that scaling loses.
MATCHER_P(IsNearly, wanted, "")
{
    const QColor color = arg;
    const QColor other = wanted;
    constexpr int tolerance = 3;
    return std::abs(color.red() - other.red()) <= tolerance && std::abs(color.green() - other.green()) <= tolerance
        && std::abs(color.blue() - other.blue()) <= tolerance;
}

class LayerItemTest : public QuickTest {
protected:
    void show(CALayer* layer, QSize size)
    {
        mWindow = std::make_unique<QQuickWindow>();
        mWindow->setColor(Qt::green);
        mWindow->resize(size);
        auto item = std::make_unique<LayerItem>();
        item->setLayer(layer);
        item->setSize(QSizeF(size));
        item->setParentItem(mWindow->contentItem());
        mItem = std::move(item);
        mWindow->show();
    }
    QImage grab() { return mWindow->grabWindow(); }
    QColor colorAt(int x, int y) { return grab().pixelColor(x, y); }
    QQuickWindow& window() { return *mWindow; }
    LayerItem& item() { return *mItem; }
    void TearDown() override
    {
        mItem.reset();
        mWindow.reset();
    }

private:
    std::unique_ptr<QQuickWindow> mWindow;
    std::unique_ptr<LayerItem> mItem;
};

TEST_F(LayerItemTest, ShowsThePictureUprightWithItsShapeKeptOnBlackBars)
{
    const auto layer = makeBlackAspectLayer();
    layer->setContents(makeTwoHalves(64, 32).get());
    show(layer, { 128, 128 });
    EXPECT_EQ(colorAt(64, 10), QColor(Qt::black));
    EXPECT_THAT(colorAt(64, 40), IsNearly(Qt::red));
    EXPECT_THAT(colorAt(64, 88), IsNearly(Qt::blue));
    EXPECT_EQ(colorAt(64, 118), QColor(Qt::black));
}

TEST_F(LayerItemTest, ShowsContentsThatAnotherThreadSets)
{
    const auto layer = makeBlackAspectLayer();
    show(layer, { 64, 32 });
    EXPECT_EQ(colorAt(32, 4), QColor(Qt::black));
    std::thread([&] { layer->setContents(makeTwoHalves(64, 32).get()); }).join();
    EXPECT_TRUE(waitFor([&] { return colorAt(32, 4) == QColor(Qt::red); }));
}

TEST_F(LayerItemTest, ShowsContentsThatCameLaterWhereItStands)
{
    const auto layer = makeBlackAspectLayer();
    show(layer, { 128, 64 });
    item().setSize({ 64, 32 });
    item().setPosition({ 64, 32 });
    EXPECT_EQ(colorAt(96, 36), QColor(Qt::black));
    layer->setContents(makeTwoHalves(64, 32).get());
    EXPECT_TRUE(waitFor([&] { return colorAt(96, 36) == QColor(Qt::red); }));
    EXPECT_EQ(colorAt(32, 4), QColor(Qt::green));
}

TEST_F(LayerItemTest, ShowsItsContentsInTheSizeThatItComesToHave)
{
    const auto layer = makeBlackAspectLayer();
    layer->setContents(makeTwoHalves(64, 32).get());
    show(layer, { 128, 64 });
    EXPECT_THAT(colorAt(127, 63), IsNearly(Qt::blue));
    item().setSize({ 32, 64 });
    EXPECT_EQ(colorAt(16, 20), QColor(Qt::black));
    EXPECT_THAT(colorAt(16, 26), IsNearly(Qt::red));
    EXPECT_THAT(colorAt(16, 38), IsNearly(Qt::blue));
    EXPECT_EQ(colorAt(16, 44), QColor(Qt::black));
    EXPECT_EQ(colorAt(40, 32), QColor(Qt::green));
}

TEST_F(LayerItemTest, ShowsNothingAfterTheContentsWereTakenAway)
{
    const auto layer = makeBlackAspectLayer();
    layer->setContents(makeTwoHalves(64, 32).get());
    show(layer, { 64, 32 });
    EXPECT_EQ(colorAt(32, 4), QColor(Qt::red));
    layer->setContents(nullptr);
    EXPECT_TRUE(waitFor([&] { return colorAt(32, 4) == QColor(Qt::black); }));
}

TEST_F(LayerItemTest, LetsGoOfAPictureOnceTheNextOneIsDrawn)
{
    const auto layer = makeBlackAspectLayer();
    auto buffer = makeTwoHalves(64, 32);
    const WeakRef<CVPixelBuffer> watched(buffer);
    layer->setContents(buffer);
    buffer = nullptr;
    show(layer, { 64, 32 });
    EXPECT_EQ(colorAt(32, 4), QColor(Qt::red));
    EXPECT_TRUE(watched.strongReference());
    layer->setContents(makeTwoHalves(64, 32).get());
    EXPECT_TRUE(waitFor([&] {
        colorAt(0, 0);
        return !watched.strongReference();
    }));
}

TEST_F(LayerItemTest, ItsLayerMayOutliveItAndChangeWhileItGoes)
{
    const auto layer = makeBlackAspectLayer();
    show(layer, { 64, 32 });
    std::atomic<bool> stop = false;
    std::thread producer([&] {
        do
            layer->setContents(makeTwoHalves(8, 4).get());
        while (!stop);
    });
    colorAt(0, 0);
    TearDown();
    stop = true;
    producer.join();
    layer->setNeedsDisplay();
    EXPECT_TRUE(layer->contents());
}

TEST(ImageOver, IsThePixelsThemselves)
{
    const auto buffer = makeTwoHalves(64, 32);
    const auto image = imageOver(buffer, true);
    EXPECT_EQ(reinterpret_cast<const std::byte*>(image.constBits()), buffer->baseAddress());
    EXPECT_EQ(image.pixelColor(3, 3), QColor(Qt::red));
}

TEST(ImageOver, KeepsTheBufferAsLongAsTheImage)
{
    auto buffer = makeTwoHalves(64, 32);
    const WeakRef<CVPixelBuffer> watched(buffer);
    auto image = imageOver(std::move(buffer), true);
    EXPECT_TRUE(watched.strongReference());
    image = QImage();
    EXPECT_FALSE(watched.strongReference());
}

TEST_F(LayerItemTest, ShowsAnImageInEitherOrderOfItsBytes)
{
    const auto buffer = makePicture(16, 8);
    const auto bytes = std::make_shared<std::vector<std::byte>>(16 * 8 * 4);
    for (std::size_t y = 0; y < 8; ++y)
        for (std::size_t x = 0; x < 16; ++x) {
            const auto* const from = pixelOf(*buffer, x, y);
            auto* const to = bytes->data() + (y * 16 + x) * 4;
            std::copy_n(from, 4, to);
            std::swap(to[0], to[2]);
        }
    const auto layer = makeBlackAspectLayer();
    layer->setContents(
        make<CGImage>(16, 8, 16 * 4, kCGBitmapInfoRGBA, std::shared_ptr<const std::byte>(bytes, bytes->data())).get());
    show(layer, { 40, 30 });
    expectShown(grab(), *buffer, false);
    layer->setContents(CGImageCreateWithPixelBuffer(buffer).get());
    EXPECT_TRUE(waitFor([&] { return colorAt(20, 15) != QColor(Qt::green); }));
    expectShown(grab(), *buffer, false);
}

TEST_F(LayerItemTest, DrawsTheSurfaceItselfAndNoCopyOfIt)
{
    const auto layer = makeBlackAspectLayer();
    const auto buffer = makeTwoHalves(64, 32);
    layer->setContents(buffer->surface());
    show(layer, { 64, 32 });
    EXPECT_EQ(colorAt(32, 4), QColor(Qt::red));
    LayerItem cover;
    cover.setLayer(makeBlackAspectLayer().get());
    cover.setSize({ 64, 32 });
    cover.setParentItem(window().contentItem());
    EXPECT_EQ(colorAt(32, 4), QColor(Qt::black));
    // The bytes change behind the layer's back, which nobody is told of.
    for (std::size_t y = 0; y < 32; ++y)
        std::fill_n(pixelOf(*buffer, 0, y), 64 * 4, std::byte { 0x80 });
    // What comes to light is drawn anew, from what the item has.
    cover.setVisible(false);
    EXPECT_EQ(colorAt(32, 4), QColor(0x80, 0x80, 0x80));
    EXPECT_EQ(colorAt(63, 31), QColor(0x80, 0x80, 0x80));
}

TEST_F(LayerItemTest, ScalesIntoTheSameFewBuffersAgainAndAgain)
{
    const auto layer = makeBlackAspectLayer();
    const auto first = makePicture(64, 32);
    const auto second = makeTwoHalves(64, 32);
    layer->setContents(first);
    show(layer, { 50, 50 });
    for (int round = 0; round < 4; ++round) {
        layer->setContents(second);
        EXPECT_TRUE(waitFor([&] { return colorAt(25, 15) == QColor(Qt::red); }));
        layer->setContents(first);
        EXPECT_TRUE(waitFor([&] { return colorAt(25, 15) != QColor(Qt::red); }));
        expectShown(grab(), *first, false);
    }
}

TEST_F(LayerItemTest, ShowsWhatItHasWhenThereIsNoMemoryToScaleIt)
{
    const FailPoint::Scope fails("CVPixelBufferPoolCreatePixelBuffer");
    const auto layer = makeBlackAspectLayer();
    layer->setContents(makeTwoHalves(64, 32).get());
    show(layer, { 128, 128 });
    EXPECT_EQ(colorAt(64, 10), QColor(Qt::black));
    EXPECT_THAT(colorAt(64, 40), IsNearly(Qt::red));
    EXPECT_THAT(colorAt(64, 88), IsNearly(Qt::blue));
}

}
