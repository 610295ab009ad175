// Pictures of 1280x720 on their way through a pixel view to the screen: a thread sets them one by one, and the next one
// comes when the window has drawn the one before. The window is one of Qt's offscreen platform, drawn by the software
// renderer, so what a screen's own server does is not in it. Processor time of all threads, by the process's clock.

#include "DrawnPictures.h"
#include "Figures.h"
#include "ProcessorTime.h"

#include "Platform/AppKit/Quick/LayerItem.h"
#include "Platform/AppKit/Quick/QuickApplication.h"
#include "Platform/dispatch/dispatch.h"
#include "Tovrin09/AVCapturePixelsView/AVCapturePixelBufferView.h"
#include "Tovrin09/AVCapturePixelsView/AVCapturePixelsView.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureViewWithAcceleratedContext.h"

#include <QEventLoop>
#include <QQuickWindow>
#include <QTimer>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace {

constexpr FigureName showPixels { "show-pixels", "ms/frame",
    "views: a surface of 1280x720 in an AVCapturePixelsView of that size" };
constexpr FigureName showBuffers { "show-buffers", "ms/frame", "views: the same in an AVCapturePixelBufferView" };
constexpr FigureName showHalf { "show-half", "ms/frame", "views: the same in one of half the size" };
constexpr FigureName showPart { "show-part", "ms/frame", "views: the same in one of 1000x563" };
constexpr FigureName showAlphaFirst { "show-alpha-first", "ms/frame",
    "views: a buffer with alpha first, which goes through an image, in its size" };
constexpr FigureName showImage { "show-image", "ms/frame", "views: an image that is flipped, in its size" };
constexpr FigureName showOpenGL { "show-opengl", "ms/frame",
    "views: an AVCaptureViewWithAcceleratedContext of 1280x720 that is cleared and shown" };

using Show = std::function<void(const Ref<CVPixelBuffer>& picture)>;

/// Runs the application, which sleeps while there is nothing to do, until the window has drawn.
void waitForFrame(QQuickWindow& window)
{
    constexpr int longest = 10'000;
    QEventLoop loop;
    bool drawn = false;
    QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, [&] {
        drawn = true;
        loop.quit();
    });
    QTimer::singleShot(longest, &loop, &QEventLoop::quit);
    loop.exec();
    if (!drawn)
        throw std::runtime_error("a window was not drawn");
}

/// Processor time of one picture after another through \p show into a window of that size with \p view's layer.
double measure(const BenchRequest& request, NSView& view, QSize size, const std::vector<Ref<CVPixelBuffer>>& pictures,
    const Show& show)
{
    const AutoreleasePool pool;
    QQuickWindow window;
    window.resize(size);
    LayerItem item;
    item.setLayer(view.layer());
    item.setSize(QSizeF(size));
    item.setParentItem(window.contentItem());
    window.show();
    waitForFrame(window);
    const auto producer = dispatch_queue_create("tovrin-bench.producer");
    const int frames = std::max(10, static_cast<int>(request.seconds * 30));
    constexpr int first = 5; // buffers are made at these
    double start = 0;
    for (int frame = -first; frame < frames; ++frame) {
        if (frame == 0)
            start = processorMilliseconds();
        const auto& picture = pictures[static_cast<std::size_t>(frame + first) % pictures.size()];
        dispatch_sync(producer, [&] { show(picture); });
        waitForFrame(window);
    }
    return (processorMilliseconds() - start) / frames;
}

/// A few pictures of a film, each in a surface.
std::vector<Ref<CVPixelBuffer>> picturesOnSurfaces()
{
    constexpr std::size_t count = 4;
    auto pictures = drawnPictures();
    pictures.resize(count);
    for (auto& picture : pictures) {
        auto surface = IOSurface::create(picture->width(), picture->height(), kCVPixelFormatType_32BGRA, 4, nullptr);
        const auto buffer = make<CVPixelBuffer>(std::move(surface));
        for (std::size_t y = 0; y < picture->height(); ++y)
            std::memcpy(buffer->baseAddress() + y * buffer->bytesPerRow(),
                picture->baseAddress() + y * picture->bytesPerRow(), picture->width() * 4);
        picture = buffer;
    }
    return pictures;
}

std::vector<Ref<CVPixelBuffer>> alphaFirst(const std::vector<Ref<CVPixelBuffer>>& pictures)
{
    std::vector<Ref<CVPixelBuffer>> result;
    for (const auto& picture : pictures) {
        Ref<CVPixelBuffer> buffer;
        CVPixelBufferCreate(
            kCFAllocatorDefault, picture->width(), picture->height(), kCVPixelFormatType_32ARGB, nullptr, &buffer);
        for (std::size_t y = 0; y < picture->height(); ++y)
            for (std::size_t x = 0; x < picture->width() * 4; x += 4) {
                const auto* const from = picture->baseAddress() + y * picture->bytesPerRow() + x;
                std::reverse_copy(from, from + 4, buffer->baseAddress() + y * buffer->bytesPerRow() + x);
            }
        result.push_back(std::move(buffer));
    }
    return result;
}

void measureImages(const BenchRequest& request, QSize whole, const std::vector<Ref<CVPixelBuffer>>& pictures)
{
    const auto view = make<AVCapturePixelBufferView>();
    if (request.wants(showAlphaFirst.name))
        printFigure(request, showAlphaFirst,
            measure(request, *view, whole, alphaFirst(pictures),
                [&](const auto& picture) { view->setLayerPixelBuffer(picture); }));
    const auto flip = CGAffineTransform { 1, 0, 0, -1, 0, static_cast<CGFloat>(whole.height()) };
    if (request.wants(showImage.name))
        printFigure(request, showImage, measure(request, *view, whole, pictures, [&](const auto& picture) {
            const auto image = CIImage::imageWithCVImageBuffer(picture);
            view->setLayerCIImage(image->imageByApplyingTransform(flip).get());
        }));
}

}

const std::vector<FigureName>& viewFigures()
{
    static const std::vector<FigureName> figures { showPixels, showBuffers, showHalf, showPart, showAlphaFirst,
        showImage, showOpenGL };
    return figures;
}

void measureViews(const BenchRequest& request)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    int count = 1;
    char name[] = "tovrin-bench";
    char* arguments[] { name, nullptr };
    const QuickApplication application(count, arguments);
    const AutoreleasePool pool;
    const auto pictures = picturesOnSurfaces();
    const QSize whole(1280, 720);
    const auto older = make<AVCapturePixelsView>();
    if (request.wants(showPixels.name))
        printFigure(request, showPixels, measure(request, *older, whole, pictures, [&](const auto& picture) {
            older->setLayerPixelBuffer(picture);
        }));
    const auto view = make<AVCapturePixelBufferView>();
    const Show set = [&](const auto& picture) { view->setLayerPixelBuffer(picture); };
    if (request.wants(showBuffers.name))
        printFigure(request, showBuffers, measure(request, *view, whole, pictures, set));
    if (request.wants(showHalf.name))
        printFigure(request, showHalf, measure(request, *view, whole / 2, pictures, set));
    if (request.wants(showPart.name))
        printFigure(request, showPart, measure(request, *view, { 1000, 563 }, pictures, set));
    measureImages(request, whole, pictures);
    const auto drawn = make<AVCaptureViewWithAcceleratedContext>(NSMakeRect(0, 0, 1280, 720));
    if (request.wants(showOpenGL.name))
        printFigure(request, showOpenGL,
            measure(request, *drawn, whole, pictures, [&](const auto&) { drawn->setNeedsDisplay(true); }));
}
