#include "Platform/AppKit/Quick/SoftwarePicture.h"

#include "Platform/AppKit/NSCIImageRep.h"
#include "Platform/AppKit/Quick/LayerItem.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/AppKit/Quick/QuickTest.h"
#include "tests/AppKit/Quick/ShownPictures.h"
#include "tests/CoreVideo/AlphaFirst.h"

#include <QQuickWindow>
#include <QSGRectangleNode>

using namespace ShownPictures;

namespace {

/// A rectangle of one colour.
class Patch : public QQuickItem {
public:
    Patch(QQuickItem* parent, const QRectF& place, QColor color)
        : QQuickItem(parent)
        , mColor(color)
    {
        setFlag(ItemHasContents);
        setPosition(place.topLeft());
        setSize(place.size());
    }

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) override
    {
        auto* const node = old ? static_cast<QSGRectangleNode*>(old) : window()->createRectangleNode();
        node->setRect(boundingRect());
        node->setColor(mColor);
        return node;
    }

private:
    const QColor mColor;
};

enum class Form { Surface, Mirrored, AlphaFirst, AlphaFirstMirrored };

/// The contents that a layer has and the picture that they were made of.
struct Contents {
    Ref<CVPixelBuffer> picture;
    Ref<CVPixelBuffer> pixels; ///< as they are in memory
    Ref<CFType> object;
    bool isMirrored;
};

Contents makeContents(Form form, std::size_t width, std::size_t height)
{
    auto picture = makePicture(width, height);
    if (form == Form::Surface)
        return { picture, picture, picture, false };
    const bool mirrored = form == Form::Mirrored || form == Form::AlphaFirstMirrored;
    auto pixels = form == Form::Mirrored ? picture : alphaFirst(*picture);
    const auto transform = CGAffineTransform { 1, 0, 0, mirrored ? -1.0 : 1.0, 0, static_cast<CGFloat>(height) };
    const auto image = make<NSImage>(NSMakeSize(static_cast<CGFloat>(width), static_cast<CGFloat>(height)));
    const auto turned = CIImage::imageWithCVImageBuffer(pixels)->imageByApplyingTransform(transform);
    image->addRepresentation(NSCIImageRep::imageRepWithCIImage(turned.get()).get());
    return { picture, pixels, image, mirrored };
}

/// Whether no byte of two images differs by more than \p steps.
MATCHER_P2(IsWithin, steps, other, "")
{
    const QImage image = arg;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const auto is = image.pixel(x, y);
            const auto wanted = other.pixel(x, y);
            if (std::abs(qRed(is) - qRed(wanted)) > steps || std::abs(qGreen(is) - qGreen(wanted)) > steps
                || std::abs(qBlue(is) - qBlue(wanted)) > steps) {
                *result_listener << "the pixel " << x << ", " << y << " is " << std::hex << is << ", not " << wanted;
                return false;
            }
        }
    return image.size() == other.size();
}

/// What the processor's instructions for the mean of four pixels may differ by, depending on where a row begins.
constexpr int aStep = 1;
/// What a painter loses that smooths.
constexpr int smoothing = 4;

struct Case {
    Form form;
    QSize view;
    QByteArray ratio;
};

void PrintTo(const Case& value, std::ostream* stream)
{
    *stream << "form " << static_cast<int>(value.form) << " in " << value.view.width() << " by " << value.view.height()
            << ", " << value.ratio.constData() << " pixels a point";
}

class SoftwarePictureTest : public QuickTest {
protected:
    void setUpWith(const QByteArray& ratio)
    {
        qputenv("QT_SCALE_FACTOR", ratio);
        QuickTest::SetUp();
        mWindow = std::make_unique<QQuickWindow>();
        mWindow->setColor(Qt::green);
    }
    void SetUp() override { setUpWith("1"); }
    void TearDown() override
    {
        mItem.reset();
        mWindow.reset();
        qunsetenv("QT_SCALE_FACTOR");
    }
    /// Shows \p contents in the whole window.
    LayerItem& show(const Contents& contents, QSize view)
    {
        mLayer->setContents(contents.object.get());
        mWindow->resize(view);
        mItem = std::make_unique<LayerItem>();
        mItem->setLayer(mLayer.get());
        mItem->setSize(QSizeF(view));
        mItem->setParentItem(mWindow->contentItem());
        mWindow->show();
        return *mItem;
    }
    QImage grab() { return mWindow->grabWindow().convertToFormat(QImage::Format_RGB32); }
    QQuickWindow& window() { return *mWindow; }
    CALayer& layer() { return *mLayer; }

private:
    std::unique_ptr<QQuickWindow> mWindow;
    std::unique_ptr<LayerItem> mItem;
    const Ref<CALayer> mLayer = makeBlackAspectLayer();
};

class SoftwarePictureShown : public SoftwarePictureTest, public testing::WithParamInterface<Case> {
protected:
    void SetUp() override { setUpWith(GetParam().ratio); }
};

std::vector<Case> everyCase()
{
    std::vector<Case> result;
    for (const auto form : { Form::Surface, Form::Mirrored, Form::AlphaFirst, Form::AlphaFirstMirrored })
        for (const auto size : { QSize(64, 36), QSize(32, 18), QSize(50, 28), QSize(90, 90), QSize(35, 19) })
            for (const auto* const ratio : { "1", "2", "1.5", "1.25" })
                result.push_back({ form, size, ratio });
    return result;
}

TEST_P(SoftwarePictureShown, IsWholeAndDrawnAgainOnlyWhereWhatWasOnItGoes)
{
    const auto& [form, view, ratio] = GetParam();
    const auto contents = makeContents(form, 64, 36);
    show(contents, view);
    const auto whole = grab();
    ASSERT_EQ(whole.width(), qRound(view.width() * ratio.toDouble()));
    expectShown(whole, QSizeF(view) * ratio.toDouble(), *contents.picture, contents.isMirrored);

    // Edges between the pixels in every ratio.
    Patch going(window().contentItem(), { 8, 4, 12, 8 }, Qt::magenta);
    Patch staying(window().contentItem(), { 16, 8, 8, 8 }, QColor(255, 255, 255, 128));
    const auto covered = grab();
    ASSERT_NE(covered, whole);
    going.setVisible(false);
    const auto after = grab();
    going.setVisible(true);
    EXPECT_THAT(grab(), IsWithin(aStep, covered));
    going.setVisible(false);
    EXPECT_THAT(grab(), IsWithin(aStep, after));
    staying.setVisible(false);
    EXPECT_THAT(grab(), IsWithin(aStep, whole));
}

TEST_P(SoftwarePictureShown, FollowsItsItemAndItsWindow)
{
    const auto& [form, view, ratio] = GetParam();
    const auto contents = makeContents(form, 64, 36);
    auto& item = show(contents, view);
    for (const auto size : { QSize(20, 60), QSize(96, 54), QSize(120, 24), view }) {
        window().resize(size);
        item.setSize(QSizeF(size));
        QCoreApplication::processEvents();
        expectShown(grab(), QSizeF(size) * ratio.toDouble(), *contents.picture, contents.isMirrored);
    }
}

INSTANTIATE_TEST_SUITE_P(, SoftwarePictureShown, testing::ValuesIn(everyCase()),
    [](const auto& each) { return "Case" + std::to_string(each.index); });

TEST_F(SoftwarePictureTest, GoesFromItsPixelsIntoTheWindowWithNothingMadeOfItBefore)
{
    for (const auto form : { Form::Surface, Form::Mirrored, Form::AlphaFirst, Form::AlphaFirstMirrored })
        for (const auto size : { QSize(64, 36), QSize(32, 18), QSize(50, 28) }) {
            const FailPoint::Scope noMemory("CVPixelBufferPoolCreatePixelBuffer");
            const auto contents = makeContents(form, 64, 36);
            show(contents, size);
            expectShown(grab(), *contents.picture, contents.isMirrored);
            // The bytes change behind the layer's back, which nobody is told of, and what comes to light has them.
            {
                Patch cover(window().contentItem(), { 0, 0, 100, 100 }, Qt::magenta);
                EXPECT_EQ(grab().pixelColor(9, 9), QColor(Qt::magenta));
                for (std::size_t y = 0; y < 36; ++y)
                    std::fill_n(pixelOf(*contents.pixels, 0, y), 64 * 4, std::byte { 0x80 });
            }
            EXPECT_EQ(grab().pixelColor(9, 9), QColor(0x80, 0x80, 0x80));
        }
}

TEST_F(SoftwarePictureTest, MayBeCutOffByWhatItIsInAndByTheWindow)
{
    const auto contents = makeContents(Form::AlphaFirst, 64, 36);
    auto& item = show(contents, { 50, 28 });
    const auto whole = grab();
    window().resize(60, 60);
    QQuickItem frame(window().contentItem());
    frame.setClip(true);
    frame.setPosition({ 45, 20 });
    frame.setSize({ 10, 40 });
    item.setParentItem(&frame);
    item.setPosition({ -5, 20 });
    QCoreApplication::processEvents();
    const auto screen = grab();
    // From its fifth column on, as wide as the frame, down to the window's edge.
    EXPECT_EQ(screen.copy(45, 40, 10, 20), whole.copy(5, 0, 10, 20));
    for (const QPoint point : { QPoint(44, 45), QPoint(55, 45), QPoint(50, 39) })
        EXPECT_EQ(screen.pixelColor(point), QColor(Qt::green)) << point.x() << ", " << point.y();
    item.setParentItem(window().contentItem());
}

TEST_F(SoftwarePictureTest, LetsThroughWhatIsUnderItByItsItemsOpacity)
{
    const auto contents = makeContents(Form::Mirrored, 64, 36);
    auto& item = show(contents, { 50, 28 });
    const auto whole = grab();
    item.setOpacity(0.5);
    const auto half = grab();
    for (int y = 0; y < whole.height(); ++y)
        for (int x = 0; x < whole.width(); ++x) {
            const auto color = whole.pixelColor(x, y);
            const auto mixed = half.pixelColor(x, y);
            ASSERT_NEAR(mixed.red(), color.red() / 2.0, 2) << x << ", " << y;
            // The background in between is black.
            ASSERT_NEAR(mixed.blue(), color.blue() / 2.0, 2) << x << ", " << y;
        }
}

TEST_F(SoftwarePictureTest, TurnsWithItsItem)
{
    const auto contents = makeContents(Form::AlphaFirst, 64, 36);
    auto& item = show(contents, { 64, 36 });
    const auto whole = grab();
    item.setRotation(180);
    EXPECT_THAT(grab(), IsWithin(smoothing, whole.mirrored(true, true)));
}

TEST_F(SoftwarePictureTest, ShowsWhatIsUnderIt)
{
    const auto contents = makeContents(Form::Surface, 64, 36);
    for (std::size_t y = 0; y < 36; ++y)
        std::fill_n(pixelOf(*contents.pixels, 0, y), 64 * 4, std::byte { 0x40 });
    show(contents, { 64, 36 });
    layer().setBackgroundColor(nullptr);
    // A quarter of white, premultiplied, on green.
    const auto color = grab().pixelColor(20, 20);
    EXPECT_NEAR(color.red(), 0x40, 1);
    EXPECT_NEAR(color.green(), 255, 1);
}

TEST_F(SoftwarePictureTest, HidesWhatIsUnderItWhateverItsAlphaBytesAre)
{
    const auto contents = makeContents(Form::Surface, 64, 36);
    for (std::size_t y = 0; y < 36; ++y)
        for (std::size_t x = 0; x < 64; ++x)
            *(pixelOf(*contents.pixels, x, y) + 3) = std::byte { 0 };
    auto& item = show(contents, { 64, 36 });
    expectShown(grab(), *contents.picture, false);
    item.setRotation(180);
    expectShown(grab().mirrored(true, true), *contents.picture, false);
}

TEST_F(SoftwarePictureTest, ThatIsLongBeyondMeasureIsShownInPart)
{
    const auto contents = makeContents(Form::Surface, 5000, 1);
    show(contents, { 64, 36 });
    layer().setContentsGravity(kCAGravityResizeAspectFill);
    // 180000 pixels, of which the middle is seen: two or three of the picture's.
    const auto shown = grab().pixelColor(32, 18);
    EXPECT_NEAR(shown.red(), 127, 3);
    EXPECT_EQ(shown.green(), 0);
}

}
