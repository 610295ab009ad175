#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/PixelBufferRendererGlobalDoubleBuffered.h"

#include "WithRequirements/Requirements.h"

#include <vector>

namespace ZVCMIO {

namespace {

constexpr IOSurfaceID noSurface = ~IOSurfaceID { 0 };

/// The contexts that were replaced, which nobody destroys.
void keepForever(std::unique_ptr<AcceleratedCIContext> context)
{
    static std::mutex lock;
    static auto& kept = *std::make_unique<std::vector<std::unique_ptr<AcceleratedCIContext>>>().release();
    const std::lock_guard guard(lock);
    kept.push_back(std::move(context));
}

}

PixelBufferRendererGlobalDoubleBuffered::PixelBufferRendererGlobalDoubleBuffered()
{
    makeContext("PixelBufferRendererGlobalDoubleBuffered");
}

PixelBufferRendererGlobalDoubleBuffered::~PixelBufferRendererGlobalDoubleBuffered()
{
    (void)CFRequiredNotCFNullIn(
        "~PixelBufferRendererGlobalDoubleBuffered", mAcceleratedCIContext.get(), "mAcceleratedCIContext");
    mAcceleratedCIContext = nullptr;
}

void PixelBufferRendererGlobalDoubleBuffered::makeContext(const char* function)
{
    if (mAcceleratedCIContext)
        keepForever(std::move(mAcceleratedCIContext));
    mAcceleratedCIContext = std::make_unique<AcceleratedCIContext>();
    (void)CFRequiredNotCFNullIn(function, mAcceleratedCIContext.get(), "mAcceleratedCIContext");
    (void)CFRequiredIn(function, mAcceleratedCIContext->IsValid(), "mAcceleratedCIContext->IsValid()");
}

bool PixelBufferRendererGlobalDoubleBuffered::Construct(CGSize dimensions, std::uint32_t pixelFormat)
{
    const AutoreleasePool pool;
    mFrameNumber.store(0, std::memory_order_relaxed);
    mRendererDimensions = dimensions;
    mRendererPixelFormat = pixelFormat;
    makeContext("Construct");
    const auto surfaceProperties = CFDictionary::create({ { kIOSurfaceIsGlobal, kCFBooleanTrue } });
    const auto pixelBufferProperties = CopyPixelBufferAttributesWithSurfaceProperties(surfaceProperties);
    if (CFRequiredTypeOf(pixelBufferProperties, CFDictionaryGetTypeID(), "pixelBufferProperties"))
        mRendererPixelBufferProperties.assign(pixelBufferProperties);
    return CreatePixelBuffers();
}

Ref<CFDictionary> PixelBufferRendererGlobalDoubleBuffered::CopyPixelBufferAttributesWithSurfaceProperties(
    CFDictionary* properties) const
{
    const Ref<CFDictionary> surface(properties);
    auto attributes = make<CFDictionary>();
    attributes->set(kCVPixelBufferPixelFormatTypeKey, CFNumber::create(mRendererPixelFormat).get());
    attributes->set(kCVPixelBufferWidthKey, CFNumber::create(mRendererDimensions.width).get());
    attributes->set(kCVPixelBufferHeightKey, CFNumber::create(mRendererDimensions.height).get());
    attributes->set(kCVPixelBufferMetalCompatibilityKey, kCFBooleanTrue);
    attributes->set(kCVPixelBufferIOSurfacePropertiesKey, surface ? surface.get() : make<CFDictionary>().get());
    return attributes;
}

bool PixelBufferRendererGlobalDoubleBuffered::CreatePixelBuffers()
{
    auto* const pixelBufferProperties = mRendererPixelBufferProperties.get_object();
    if (CFRequiredTypeOf(pixelBufferProperties, CFDictionaryGetTypeID(), "pixelBufferProperties")) {
        const auto create = [&](Ref<CVPixelBuffer>& buffer) {
            return CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(mRendererDimensions.width),
                static_cast<std::size_t>(mRendererDimensions.height), mRendererPixelFormat, pixelBufferProperties,
                &buffer);
        };
        Ref<CVPixelBuffer> outputPixelBufferA;
        (void)CoreVideoRequired(create(outputPixelBufferA),
            "CVPixelBufferCreate(kCFAllocatorDefault, mRendererDimensions.width, mRendererDimensions.height, "
            "mRendererPixelFormat, mRendererPixelBufferProperties.get_object(), &outputPixelBufferA)");
        if (CFRequiredTypeOf(outputPixelBufferA, CVPixelBufferGetTypeID(), "outputPixelBufferA"))
            mOutputPixelBufferA.assign(outputPixelBufferA);
        Ref<CVPixelBuffer> outputPixelBufferB;
        (void)CoreVideoRequired(create(outputPixelBufferB),
            "CVPixelBufferCreate(kCFAllocatorDefault, mRendererDimensions.width, mRendererDimensions.height, "
            "mRendererPixelFormat, mRendererPixelBufferProperties.get_object(), &outputPixelBufferB)");
        if (CFRequiredTypeOf(outputPixelBufferB, CVPixelBufferGetTypeID(), "outputPixelBufferB"))
            mOutputPixelBufferB.assign(outputPixelBufferB);
    }
    const bool hasA = CFRequiredTypeOf(
        mOutputPixelBufferA.get_object(), CVPixelBufferGetTypeID(), "mOutputPixelBufferA.get_object()");
    const bool hasB = CFRequiredTypeOf(
        mOutputPixelBufferB.get_object(), CVPixelBufferGetTypeID(), "mOutputPixelBufferB.get_object()");
    return hasA && hasB;
}

void PixelBufferRendererGlobalDoubleBuffered::SetInputPixelBuffer(CVPixelBufferRef buffer)
{
    const std::lock_guard lock(mPixelBufferMutex);
    const auto retained = CVPixelBufferRetain(buffer);
    mInputPixelBuffer.assign(retained);
    OnInputPixelBufferChanged(retained);
}

void PixelBufferRendererGlobalDoubleBuffered::OnInputPixelBufferChanged(CVPixelBufferRef buffer)
{
    const auto inputPixelBufferRetainedCopy = CVPixelBufferRetain(buffer);
    if (!CFRequiredTypeOf(inputPixelBufferRetainedCopy, CVPixelBufferGetTypeID(), "inputPixelBufferRetainedCopy"))
        return;
    mFrameNumber.fetch_add(1, std::memory_order_relaxed);
    const auto outputPixelBufferRetainedCopy = CopyOutputPixelBuffer();
    if (!CFRequiredTypeOf(outputPixelBufferRetainedCopy, CVPixelBufferGetTypeID(), "outputPixelBufferRetainedCopy"))
        return;
    RenderInputPixelBufferToDestinationPixelBuffer(inputPixelBufferRetainedCopy, outputPixelBufferRetainedCopy);
}

Ref<CVPixelBuffer> PixelBufferRendererGlobalDoubleBuffered::CopyOutputPixelBuffer() const
{
    return Ref(frameNumber() % 2 == 1 ? mOutputPixelBufferB.get_object() : mOutputPixelBufferA.get_object());
}

bool PixelBufferRendererGlobalDoubleBuffered::RenderInputPixelBufferToDestinationPixelBuffer(
    CVPixelBufferRef inputBuffer, CVPixelBufferRef renderBuffer)
{
    if (!CFRequiredNotCFNull(mAcceleratedCIContext.get(), "mAcceleratedCIContext"))
        return false;
    const AutoreleasePool pool;
    auto* const context = mAcceleratedCIContext->rendererCIContext();
    auto* const space = mAcceleratedCIContext->rendererColorSpace();
    if (!CFRequiredTypeOf(inputBuffer, CVPixelBufferGetTypeID(), "inputBuffer")
        || !CFRequiredTypeOf(renderBuffer, CVPixelBufferGetTypeID(), "renderBuffer"))
        return false;
    if (!isPresent(context))
        return false;
    auto image = CIImage::imageWithCVImageBuffer(inputBuffer);
    if (!image)
        return false;
    auto* const renderSurface = CVPixelBufferGetIOSurface(renderBuffer);
    if (!CFRequiredTypeOf(renderSurface, IOSurfaceGetTypeID(), "renderSurface"))
        return false;
    const CGSize inputSize { static_cast<CGFloat>(CVPixelBufferGetWidth(inputBuffer)),
        static_cast<CGFloat>(CVPixelBufferGetHeight(inputBuffer)) };
    const CGRect target { CGPointZero, mRendererDimensions };
    if (inputSize != target.size)
        image = image->imageByApplyingTransform(
            CGAffineTransformMakeScale(target.size.width / inputSize.width, target.size.height / inputSize.height));
    context->render_toIOSurface_bounds_colorSpace(image, renderSurface, target, space);
    return true;
}

IOSurfaceID PixelBufferRendererGlobalDoubleBuffered::GetSurfaceIDFromPixelBuffer(CVPixelBufferRef pixelBuffer) const
{
    if (!CFRequiredTypeOf(pixelBuffer, CVPixelBufferGetTypeID(), "pixelBuffer"))
        return noSurface;
    auto* const bufferSurface = CVPixelBufferGetIOSurface(pixelBuffer);
    if (!CFRequiredTypeOf(bufferSurface, IOSurfaceGetTypeID(), "bufferSurface"))
        return noSurface;
    return IOSurfaceGetID(bufferSurface);
}

IOSurfaceID PixelBufferRendererGlobalDoubleBuffered::GetSurfaceIDOutputPixelBufferA() const
{
    return GetSurfaceIDFromPixelBuffer(mOutputPixelBufferA.get_object());
}

IOSurfaceID PixelBufferRendererGlobalDoubleBuffered::GetSurfaceIDOutputPixelBufferB() const
{
    return GetSurfaceIDFromPixelBuffer(mOutputPixelBufferB.get_object());
}

}
