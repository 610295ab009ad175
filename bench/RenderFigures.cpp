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
constexpr FigureName renderPlainRatio { "render-plain-ratio", "times", "renderers: its time to libyuv's" };
constexpr FigureName renderDouble { "render-double", "ms", "renderers: the same by the one with two surfaces" };
constexpr FigureName renderDoubleRatio { "render-double-ratio", "times", "renderers: its time to libyuv's" };
constexpr FigureName renderGlobal { "render-global", "ms", "renderers: the same by the plain class with two surfaces" };
constexpr FigureName renderRatio { "render-ratio", "times", "renderers: its time to libyuv's" };
constexpr FigureName renderLock { "render-lock", "ms", "renderers: how long that one holds its spin lock" };
constexpr FigureName renderOpenGL { "render-opengl", "ms", "renderers: the same with the graphics driver" };
constexpr FigureName renderLarge { "render-large", "ms",
    "renderers: 3840x2160 into 1280x720, the mean of nine pixels, by the plain class with two surfaces" };
constexpr FigureName renderThumbnail { "render-thumbnail", "ms",
    "renderers: 1280x720 into 640x360, a buffer each time" };
constexpr FigureName renderDoubleAllocations { "render-double-allocations", "allocations/frame",
    "renderers: what the one with two surfaces takes from the heap" };
constexpr FigureName renderAllocations { "render-allocations", "allocations/frame",
    "renderers: what the plain class with two surfaces takes from the heap" };

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

/// A renderer with a context of its own, as the program has them.
template <class Renderer> Ref<Renderer> constructed(CGSize size)
{
    auto renderer = make<Renderer>(size, kCVPixelFormatType_32BGRA);
    const auto context = make<AVCaptureAcceleratedContext>();
    context->setDelegate(renderer.get());
    context->lazyDelegate();
    return renderer;
}

/// How long each of some frames took, and what they took from the heap together.
struct Frames {
    std::vector<double> times;
    std::uint64_t allocations = 0;
    template <class Work> void measure(const Work& work)
    {
        const auto before = AllocationCounter::count();
        const auto time = milliseconds(work);
        allocations += AllocationCounter::count() - before;
        times.push_back(time);
    }
    double allocationsPerFrame() const { return static_cast<double>(allocations) / static_cast<double>(times.size()); }
};

}

const std::vector<FigureName>& renderFigures()
{
    static const std::vector<FigureName> figures { renderLibrary, renderPlain, renderPlainRatio, renderDouble,
        renderDoubleRatio, renderGlobal, renderRatio, renderLock, renderOpenGL, renderLarge, renderThumbnail,
        renderDoubleAllocations, renderAllocations };
    return figures;
}

void measureRenderers(const BenchRequest& request)
{
    const AutoreleasePool pool;
    constexpr int rounds = 60;
    const auto large = picture(1920, 1080);
    const auto largest = picture(3840, 2160);
    const auto small = picture(1280, 720);
    const auto target = picture(1280, 720);

    const auto plain = constructed<AVCapturePixelBufferRenderer>(outputSize);
    const auto thumbnail = constructed<AVCapturePixelBufferRenderer>({ 640, 360 });
    // Lives as long as the process, as its kind does.
    static const auto twice = constructed<AVCapturePixelBufferRendererDoubleBufferedGlobal>(outputSize);
    twice->makeImmortal();
    ZVCMIO::PixelBufferRendererGlobalDoubleBuffered global;
    global.Construct(outputSize, kCVPixelFormatType_32BGRA);

    const auto scaleByLibrary = [&] {
        libyuv::ARGBScale(reinterpret_cast<const std::uint8_t*>(large->baseAddress()),
            static_cast<int>(large->bytesPerRow()), 1920, 1080, reinterpret_cast<std::uint8_t*>(target->baseAddress()),
            static_cast<int>(target->bytesPerRow()), 1280, 720, libyuv::kFilterBox);
    };
    plain->setInputPixelBuffer(large);
    thumbnail->setInputPixelBuffer(small);
    Frames library;
    Frames plainFrames;
    Frames doubleFrames;
    Frames globalFrames;
    Frames lockedSteps;
    Frames thumbnails;
    constexpr int first = 2; // rounds in which memory is made that stays
    for (int round = -first; round < rounds; ++round) {
        const AutoreleasePool roundPool;
        if (round == 0)
            library = plainFrames = doubleFrames = globalFrames = lockedSteps = thumbnails = Frames();
        library.measure(scaleByLibrary);
        plainFrames.measure([&] { plain->copyOutputPixelBuffer(); });
        doubleFrames.measure([&] { twice->setInputPixelBuffer(large); });
        globalFrames.measure([&] { global.SetInputPixelBuffer(large); });
        lockedSteps.measure([&] { global.OnInputPixelBufferChanged(large); });
        thumbnails.measure([&] { thumbnail->copyOutputPixelBuffer(); });
    }
    // Apart from the others, which find nothing of theirs in the processor's memory after it.
    Frames largeFrames;
    for (int round = 0; round < rounds; ++round)
        largeFrames.measure([&] { global.SetInputPixelBuffer(largest); });
    Frames driverFrames;
    FailPoint::arm("CIContext.rendersWithTheProcessor");
    for (int round = 0; round < rounds; ++round)
        driverFrames.measure([&] { global.SetInputPixelBuffer(large); });
    FailPoint::disarm("CIContext.rendersWithTheProcessor");

    const auto libraryTime = median(library.times);
    printFigure(request, renderLibrary, libraryTime);
    printFigure(request, renderPlain, median(plainFrames.times));
    printFigure(request, renderPlainRatio, median(plainFrames.times) / libraryTime);
    printFigure(request, renderDouble, median(doubleFrames.times));
    printFigure(request, renderDoubleRatio, median(doubleFrames.times) / libraryTime);
    printFigure(request, renderGlobal, median(globalFrames.times));
    printFigure(request, renderRatio, median(globalFrames.times) / libraryTime);
    printFigure(request, renderLock, median(lockedSteps.times));
    printFigure(request, renderOpenGL, median(driverFrames.times));
    printFigure(request, renderLarge, median(largeFrames.times));
    printFigure(request, renderThumbnail, median(thumbnails.times));
    printFigure(request, renderDoubleAllocations, doubleFrames.allocationsPerFrame());
    printFigure(request, renderAllocations, globalFrames.allocationsPerFrame());
}
