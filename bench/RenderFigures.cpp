#include "AllocationCounter.h"
#include "Figures.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCapturePixelBufferRendererDoubleBufferedGlobal.h"
#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/PixelBufferRendererGlobalDoubleBuffered.h"

#include <algorithm>
#include <chrono>
#include <libyuv.h>
#include <vector>

namespace {

constexpr FigureName renderLibrary { "render-libyuv", "ms",
    "renderers: 1920x1080 into 1280x720 by libyuv's box filter, one thread, in turn with the next ones" };
constexpr FigureName renderPlain { "render-plain", "ms",
    "renderers: the same by the one that makes a buffer each time" };
constexpr FigureName renderDouble { "render-double", "ms", "renderers: the same by the one with two surfaces" };
constexpr FigureName renderGlobal { "render-global", "ms",
    "renderers: the same by the plain class with two surfaces; its spin lock is held as long" };
constexpr FigureName renderRatio { "render-ratio", "", "renderers: the last one's time to libyuv's" };
constexpr FigureName renderOpenGL { "render-opengl", "ms", "renderers: the same with the graphics driver" };
constexpr FigureName renderThumbnail { "render-thumbnail", "ms",
    "renderers: 1280x720 into 640x360, a buffer each time" };
constexpr FigureName renderAllocations { "render-allocations", "allocations",
    "renderers: what a frame takes from the heap with two surfaces" };

constexpr CGSize outputSize { 1280, 720 };

Ref<CVPixelBuffer> picture(std::size_t width, std::size_t height)
{
    const auto attributes = make<CFDictionary>();
    attributes->set(kCVPixelBufferIOSurfacePropertiesKey, make<CFDictionary>().get());
    Ref<CVPixelBuffer> buffer;
    CVPixelBufferCreate(kCFAllocatorDefault, width, height, kCVPixelFormatType_32BGRA, attributes, &buffer);
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width * 4; ++x)
            buffer->baseAddress()[y * buffer->bytesPerRow() + x] = static_cast<std::byte>(x * 7 + y * 13);
    return buffer;
}

template <class Work> double milliseconds(const Work& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

template <class Renderer> Ref<Renderer> constructed(AVCaptureAcceleratedContext& context, CGSize size)
{
    auto renderer = make<Renderer>(size, kCVPixelFormatType_32BGRA);
    renderer->constructRendererWithAcceleratedContext(&context);
    return renderer;
}

}

const std::vector<FigureName>& renderFigures()
{
    static const std::vector<FigureName> figures { renderLibrary, renderPlain, renderDouble, renderGlobal, renderRatio,
        renderOpenGL, renderThumbnail, renderAllocations };
    return figures;
}

void measureRenderers(const BenchRequest& request)
{
    const AutoreleasePool pool;
    constexpr int rounds = 60;
    const auto large = picture(1920, 1080);
    const auto small = picture(1280, 720);
    const auto target = picture(1280, 720);

    const auto context = make<AVCaptureAcceleratedContext>();
    const auto anyone = make<AVCapturePixelBufferRenderer>(outputSize, kCVPixelFormatType_32BGRA);
    context->setDelegate(anyone);
    context->lazyDelegate();
    const auto plain = constructed<AVCapturePixelBufferRenderer>(*context, outputSize);
    const auto thumbnail = constructed<AVCapturePixelBufferRenderer>(*context, { 640, 360 });
    // Lives as long as the process, as its kind does.
    static const auto twice = constructed<AVCapturePixelBufferRendererDoubleBufferedGlobal>(*context, outputSize);
    twice->makeImmortal();
    ZVCMIO::PixelBufferRendererGlobalDoubleBuffered global;
    global.Construct(outputSize, kCVPixelFormatType_32BGRA);

    std::vector<double> library;
    std::vector<double> plainTimes;
    std::vector<double> doubleTimes;
    std::vector<double> globalTimes;
    std::vector<double> thumbnailTimes;
    std::uint64_t allocations = 0;
    for (int round = 0; round < rounds; ++round) {
        const AutoreleasePool roundPool;
        library.push_back(milliseconds([&] {
            libyuv::ARGBScale(reinterpret_cast<const std::uint8_t*>(large->baseAddress()),
                static_cast<int>(large->bytesPerRow()), 1920, 1080,
                reinterpret_cast<std::uint8_t*>(target->baseAddress()), static_cast<int>(target->bytesPerRow()), 1280,
                720, libyuv::kFilterBox);
        }));
        plain->setInputPixelBuffer(large);
        plainTimes.push_back(milliseconds([&] { plain->copyOutputPixelBuffer(); }));
        doubleTimes.push_back(milliseconds([&] { twice->setInputPixelBuffer(large); }));
        const auto before = AllocationCounter::count();
        globalTimes.push_back(milliseconds([&] { global.SetInputPixelBuffer(large); }));
        allocations = AllocationCounter::count() - before;
        thumbnail->setInputPixelBuffer(small);
        thumbnailTimes.push_back(milliseconds([&] { thumbnail->copyOutputPixelBuffer(); }));
    }
    std::vector<double> driverTimes;
    FailPoint::arm("CIContext.rendersWithTheProcessor");
    for (int round = 0; round < rounds; ++round)
        driverTimes.push_back(milliseconds([&] { global.SetInputPixelBuffer(large); }));
    FailPoint::disarm("CIContext.rendersWithTheProcessor");

    printFigure(request, renderLibrary, median(library));
    printFigure(request, renderPlain, median(plainTimes));
    printFigure(request, renderDouble, median(doubleTimes));
    printFigure(request, renderGlobal, median(globalTimes));
    printFigure(request, renderRatio, median(globalTimes) / median(library));
    printFigure(request, renderOpenGL, median(driverTimes));
    printFigure(request, renderThumbnail, median(thumbnailTimes));
    printFigure(request, renderAllocations, static_cast<double>(allocations));
}
