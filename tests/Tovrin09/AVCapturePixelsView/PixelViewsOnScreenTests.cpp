#include "Platform/AppKit/Quick/LayerItem.h"
#include "tests/AppKit/Quick/QuickTest.h"
#include "tests/AppKit/Quick/ShownPictures.h"
#include "tests/CoreVideo/AlphaFirst.h"
#include "Tovrin09/AVCapturePixelsView/AVCapturePixelBufferView.h"
#include "Tovrin09/AVCapturePixelsView/AVCapturePixelsView.h"

#include <QQuickWindow>

#include <sys/utsname.h>
#include <thread>

using namespace ShownPictures;

/// Stands before the C library's in this program: a version on which images are flipped, so that both can be seen.
extern "C" int uname(utsname* names) noexcept
{
    std::memset(names, 0, sizeof *names);
    std::strcpy(names->release, "13.0.1");
    return 0;
}

namespace {

struct Sizes {
    QSize picture;
    QSize view;
};

void PrintTo(const Sizes& sizes, std::ostream* stream)
{
    *stream << sizes.picture.width() << " by " << sizes.picture.height() << " in " << sizes.view.width() << " by "
            << sizes.view.height();
}

const std::vector<Sizes> everyShape {
    { { 64, 36 }, { 64, 36 } }, // as it is
    { { 128, 72 }, { 64, 36 } }, // half
    { { 64, 36 }, { 200, 200 } }, // wider than the view
    { { 36, 64 }, { 200, 120 } }, // taller
    { { 33, 17 }, { 101, 77 } }, // nothing is even
    { { 101, 77 }, { 33, 17 } },
    { { 320, 180 }, { 213, 140 } }, // smaller by a part
    { { 320, 180 }, { 60, 60 } }, // much smaller
    { { 1, 1 }, { 50, 30 } },
    { { 1, 9 }, { 40, 40 } },
    { { 9, 1 }, { 40, 40 } },
    { { 2, 2 }, { 97, 97 } },
    { { 5000, 3 }, { 300, 200 } }, // less than a pixel high
    { { 3, 5000 }, { 200, 300 } },
    { { 4099, 20 }, { 4200, 21 } },
    { { 7, 5 }, { 1, 1 } },
};

}

template <class View> class PixelViewsOnScreen : public QuickTest {
protected:
    /// Shows \p contents through the view, from a thread of its own, in a window of that size; gives what is seen.
    template <class Show> QImage shown(QSize size, const Show& show)
    {
        const auto view = make<View>();
        QQuickWindow window;
        window.setColor(Qt::green);
        window.resize(size);
        LayerItem item;
        item.setLayer(view->layer());
        item.setSize(QSizeF(size));
        item.setParentItem(window.contentItem());
        window.show();
        std::thread([&] {
            const AutoreleasePool pool;
            show(*view);
        }).join();
        waitFor([&] { return view->layer()->contents() != nullptr; });
        return window.grabWindow();
    }
};
using Views = testing::Types<AVCapturePixelsView, AVCapturePixelBufferView>;
TYPED_TEST_SUITE(PixelViewsOnScreen, Views);

TYPED_TEST(PixelViewsOnScreen, ASurfaceIsUprightInItsShapeOnBlack)
{
    for (const auto& [size, view] : everyShape) {
        SCOPED_TRACE(testing::PrintToString(Sizes { size, view }));
        const auto picture = makePicture(size.width(), size.height());
        const auto screen = this->shown(view, [&](TypeParam& shows) { shows.setLayerPixelBuffer(picture); });
        expectShown(screen, *picture, false);
    }
}

TYPED_TEST(PixelViewsOnScreen, APictureAbove4096BothWaysIsShownWhole)
{
    const auto picture = makePicture(4099, 4201);
    const auto screen = this->shown({ 150, 140 }, [&](TypeParam& shows) { shows.setLayerPixelBuffer(picture); });
    expectShown(screen, *picture, false);
}

TYPED_TEST(PixelViewsOnScreen, AnImageIsMirroredInItsShapeOnBlack)
{
    for (const auto& [size, view] : everyShape) {
        SCOPED_TRACE(testing::PrintToString(Sizes { size, view }));
        const auto picture = makePicture(size.width(), size.height());
        const auto image = CIImage::imageWithCVImageBuffer(picture);
        const auto screen = this->shown(view, [&](TypeParam& shows) { shows.setLayerCIImage(image); });
        expectShown(screen, *picture, true);
    }
}

TYPED_TEST(PixelViewsOnScreen, AnImageThatIsNotToBeFlippedIsUpright)
{
    const auto picture = makePicture(33, 17);
    const auto image = CIImage::imageWithCVImageBuffer(picture);
    const auto screen
        = this->shown({ 101, 77 }, [&](TypeParam& shows) { shows.setLayerCIImage_upsideDownImage(image, false); });
    expectShown(screen, *picture, false);
}

TYPED_TEST(PixelViewsOnScreen, BytesWithAlphaFirstAreUprightInTheirColours)
{
    for (const QSize view : { QSize(33, 17), QSize(101, 77), QSize(20, 20) }) {
        const auto picture = makePicture(33, 17);
        const auto pixels = alphaFirst(*picture);
        const auto screen = this->shown(view, [&](TypeParam& shows) { shows.setLayerPixelBuffer(pixels); });
        expectShown(screen, *picture, false);
    }
}

TYPED_TEST(PixelViewsOnScreen, AnImageWithPixelsIsUpright)
{
    const auto picture = makePicture(33, 17);
    const auto image = CGImageCreateWithPixelBuffer(picture);
    const auto screen = this->shown({ 101, 77 }, [&](TypeParam& shows) { shows.setLayerImageRef(image); });
    expectShown(screen, *picture, false);
}

using PixelBufferViewOnScreen = PixelViewsOnScreen<AVCapturePixelBufferView>;

TEST_F(PixelBufferViewOnScreen, ABufferWithNoSurfaceIsUpright)
{
    const auto picture = makePicture(33, 17, false);
    const auto screen
        = shown({ 101, 77 }, [&](AVCapturePixelBufferView& shows) { shows.setLayerPixelBuffer(picture); });
    expectShown(screen, *picture, false);
}
