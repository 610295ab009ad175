#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOPixelBufferRenderer.h"

#include "Platform/Foundation/NSBundle.h"
#include "WithRequirements/Requirements.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace {

constexpr double pulsePeriod = 6.0;

/// How large the icon is drawn, from about 0.393 to 0.49 and back over one period without a jump. The two constants
/// are 0.33 and 0.66 in single precision.
double pulseScale(double phase)
{
    return std::sin((phase / pulsePeriod + 0.5) * 1.5707963267948966) * 0.33000001311302185 + 0.6600000262260437 - 0.5;
}

/// \p elapsed within one period, from 0 to below its length.
double pulsePhase(double elapsed)
{
    auto phase = elapsed - std::floor(elapsed / pulsePeriod) * pulsePeriod;
    if (phase >= pulsePeriod)
        return 0;
    if (phase < 0) {
        phase += pulsePeriod;
        if (phase == pulsePeriod)
            return 0;
    }
    return phase;
}

/// The lower half of the number's integer part; 0 for what no integer holds.
std::uint32_t lowerHalf(double number)
{
    constexpr double limit = 9223372036854775808.0;
    return number >= -limit && number < limit ? static_cast<std::uint32_t>(static_cast<std::int64_t>(number)) : 0;
}

/// What a renderer that has gone leaves behind.
void keepForever(Ref<CFType> object)
{
    static std::mutex lock;
    static auto& kept = *std::make_unique<std::vector<Ref<CFType>>>().release();
    const std::lock_guard guard(lock);
    if (object)
        kept.push_back(std::move(object));
}

}

NS_IMPLEMENTATION(ZVCMIOPixelBufferRenderer, NSObject)
{
    using Self = ZVCMIOPixelBufferRenderer;
    type.message("invertColors", &Self::invertColors);
    type.message("pixelBufferPixelFormat", &Self::pixelBufferPixelFormat);
    type.message("recreatePixelBufferPool", &Self::recreatePixelBufferPool);
    type.message("copyCGImageFromNSImage:", &Self::copyCGImageFromNSImage);
    type.message("copyMainBundleIconImageRef", &Self::copyMainBundleIconImageRef);
    type.message("setMainBundleIconImageRef:", &Self::setMainBundleIconImageRef);
    type.message("copyFreshNewPixelBufferWithAllocationStrategy", &Self::copyFreshNewPixelBufferWithAllocationStrategy);
    type.message("copyPixelBufferWithBlackOutput", &Self::copyPixelBufferWithBlackOutput);
    type.message("copyFrameWithPresentationTimeStampCurrentTime", &Self::copyFrameWithPresentationTimeStampCurrentTime);
    type.classMessage("_pixelBufferSurfaceAnnotationValues", &Self::_pixelBufferSurfaceAnnotationValues);
    type.classMessage("setPixelBufferSurfaceValues:", &Self::setPixelBufferSurfaceValues);
    type.classMessage("dumpPixelBufferSurfaceValues:", &Self::dumpPixelBufferSurfaceValues);
}

ZVCMIOPixelBufferRenderer::ZVCMIOPixelBufferRenderer(CMVideoDimensions dimensions, double /*frameRate*/)
{
    _mainBundleIconImageRef = copyMainBundleIconImageRef();
    CFRequiredTypeOfIn(
        "initWithDimensions_frameRate", _mainBundleIconImageRef, CGImageGetTypeID(), "self.mainBundleIconImageRef");
    _startStreamPresentationTime = CMTimeGetSeconds(CMClockGetTime(CMClockGetHostTimeClock()));
    _rendererDimensions = dimensions;
    pixelBufferAttributes = CFDictionary::create({
        { kCVPixelBufferPixelFormatTypeKey, CFNumber::create(_rendererPixelFormat).get() },
        { kCVPixelBufferWidthKey, CFNumber::create(_rendererDimensions.width).get() },
        { kCVPixelBufferHeightKey, CFNumber::create(_rendererDimensions.height).get() },
        { kCVPixelBufferMetalCompatibilityKey, kCFBooleanTrue },
        { kCVPixelBufferIOSurfacePropertiesKey, CFDictionary::create().get() },
        { kCVPixelBufferCGBitmapContextCompatibilityKey, kCFBooleanTrue },
    });

    const auto status = CMVideoFormatDescriptionCreate(kCFAllocatorDefault, _rendererPixelFormat,
        _rendererDimensions.width, _rendererDimensions.height, nullptr, &_videoDescription);
    CoreMediaOSStatusRequiredIn("initWithDimensions_frameRate", status,
        "CMVideoFormatDescriptionCreate(kCFAllocatorDefault, _rendererPixelFormat, _rendererDimensions.width, "
        "_rendererDimensions.height, ((void*)0), &_videoDescription)");
    if (!CFRequiredTypeOfIn(
            "initWithDimensions_frameRate", _videoDescription, CMFormatDescriptionGetTypeID(), "self.videoDescription"))
        return;
    recreatePixelBufferPool();
    if (!CFRequiredTypeOfIn(
            "initWithDimensions_frameRate", _bufferPool, CVPixelBufferPoolGetTypeID(), "self.bufferPool"))
        return;
    bufferAuxAttributes
        = CFDictionary::create({ { kCVPixelBufferPoolAllocationThresholdKey, CFNumber::create(5).get() } });
}

ZVCMIOPixelBufferRenderer::~ZVCMIOPixelBufferRenderer()
{
    setMainBundleIconImageRef(nullptr);
    // These two are never given back. There is one renderer for the life of a program.
    keepForever(_videoDescription);
    keepForever(_bufferPool);
}

bool ZVCMIOPixelBufferRenderer::recreatePixelBufferPool()
{
    setBufferPool(nullptr);
    if (CFRequiredTypeOf(_videoDescription, CMFormatDescriptionGetTypeID(), "self.videoDescription")) {
        const auto status = CVPixelBufferPoolCreate(kCFAllocatorDefault, nullptr, pixelBufferAttributes, &_bufferPool);
        CoreVideoRequired(status, "CVPixelBufferPoolCreate(kCFAllocatorDefault, NULL, attributes, &_bufferPool)");
        CFRequiredTypeOf(_bufferPool, CVPixelBufferPoolGetTypeID(), "self.bufferPool");
    }
    return CFRequiredTypeOf(_bufferPool, CVPixelBufferPoolGetTypeID(), "self.bufferPool");
}

Ref<CVPixelBuffer> ZVCMIOPixelBufferRenderer::copyFreshNewPixelBufferWithAllocationStrategy()
{
    Ref<CVPixelBuffer> newPixelBuffer;
    if (usePixelBufferAllocationPool) {
        const auto status = CVPixelBufferPoolCreatePixelBufferWithAuxAttributes(
            kCFAllocatorDefault, _bufferPool, bufferAuxAttributes, &newPixelBuffer);
        CoreVideoRequired(status,
            "CVPixelBufferPoolCreatePixelBufferWithAuxAttributes(kCFAllocatorDefault, self.bufferPool, "
            "ARC_BRIDGE(CFDictionaryRef)self.bufferAuxAttributes, &newPixelBuffer )");
    } else {
        const auto status = CVPixelBufferCreate(kCFAllocatorDefault,
            static_cast<std::size_t>(_rendererDimensions.width), static_cast<std::size_t>(_rendererDimensions.height),
            _rendererPixelFormat, pixelBufferAttributes, &newPixelBuffer);
        CoreVideoRequired(status,
            "CVPixelBufferCreate(kCFAllocatorDefault, _rendererDimensions.width, _rendererDimensions.height, "
            "_rendererPixelFormat, ARC_BRIDGE(CFDictionaryRef)self.pixelBufferAttributes, &newPixelBuffer)");
    }
    if (!CFRequiredTypeOf(newPixelBuffer, CVPixelBufferGetTypeID()))
        return nullptr;
    return newPixelBuffer;
}

Ref<CVPixelBuffer> ZVCMIOPixelBufferRenderer::copyPixelBufferDrawnBy(
    const char* function, const std::function<void(CVPixelBufferRef, void* base)>& draw)
{
    auto newPixelBuffer = copyFreshNewPixelBufferWithAllocationStrategy();
    if (!CFRequiredTypeOfIn(function, newPixelBuffer, CVPixelBufferGetTypeID(), "newPixelBuffer"))
        return nullptr;
    if (const auto annotate = isa()->classMessage<void(CVPixelBufferRef)>("setPixelBufferSurfaceValues:"))
        annotate(newPixelBuffer);
    if (!CoreVideoRequiredIn(function, CVPixelBufferLockBaseAddress(newPixelBuffer, 0),
            "CVPixelBufferLockBaseAddress(newPixelBuffer, 0)"))
        return newPixelBuffer;
    void* const bufferPtr = CVPixelBufferGetBaseAddress(newPixelBuffer);
    if (CFRequiredNotCFNullIn(function, static_cast<const void*>(bufferPtr), "bufferPtr"))
        draw(newPixelBuffer, bufferPtr);
    CoreVideoRequiredIn(function, CVPixelBufferUnlockBaseAddress(newPixelBuffer, 0),
        "CVPixelBufferUnlockBaseAddress(newPixelBuffer, 0)");
    return newPixelBuffer;
}

Ref<CVPixelBuffer> ZVCMIOPixelBufferRenderer::copyPixelBufferWithBlackOutput()
{
    return copyPixelBufferDrawnBy(__func__, [](CVPixelBufferRef buffer, void* base) {
        // Opaque white, and meant to stay so.
        std::memset(base, 255, CVPixelBufferGetHeight(buffer) * CVPixelBufferGetBytesPerRow(buffer));
    });
}

Ref<CVPixelBuffer> ZVCMIOPixelBufferRenderer::copyFrameWithPresentationTimeStamp(const CMTime& presentationTime)
{
    return _copyPixelBufferWithPresentationTime(presentationTime);
}

Ref<CVPixelBuffer> ZVCMIOPixelBufferRenderer::copyFrameWithPresentationTimeStampCurrentTime()
{
    return _copyPixelBufferWithPresentationTime(CMClockGetTime(CMClockGetHostTimeClock()));
}

Ref<CVPixelBuffer> ZVCMIOPixelBufferRenderer::_copyPixelBufferWithPresentationTime(const CMTime& presentationTime)
{
    const char* const function = __func__;
    return copyPixelBufferDrawnBy(function, [&](CVPixelBufferRef buffer, void* base) {
        const auto width = CVPixelBufferGetWidth(buffer);
        const auto height = CVPixelBufferGetHeight(buffer);
        const auto rgbColorSpace = CGColorSpaceCreateDeviceRGB();
        // The context writes red first into a buffer that has blue first. The ground is neutral; the icon is meant to
        // come out with red and blue exchanged.
        const auto context = CGBitmapContextCreate(
            base, width, height, 8, CVPixelBufferGetBytesPerRow(buffer), rgbColorSpace, kCGBitmapInfoRGBA);
        const bool hasSpace = CFRequiredTypeOfIn(function, rgbColorSpace, CGColorSpaceGetTypeID(), "rgbColorSpace");
        const bool hasContext = CFRequiredTypeOfIn(function, context, CGContextGetTypeID(), "context");
        if (!hasSpace || !hasContext)
            return;
        const CGSize size { static_cast<double>(width), static_cast<double>(height) };
        if (const auto block = renderBlock())
            block(context, size.width, size.height, presentationTime);
        else
            _renderBundleIconBufferWithCGContext_drawableSizePixels_presentationTime(context, size, presentationTime);
    });
}

double ZVCMIOPixelBufferRenderer::secondsSinceStart(const CMTime& presentationTime) const
{
    return CMTimeGetSeconds(presentationTime) - _startStreamPresentationTime;
}

void ZVCMIOPixelBufferRenderer::_renderBundleIconBufferWithCGContext_drawableSizePixels_presentationTime(
    CGContextRef context, CGSize drawableSizePixels, const CMTime& presentationTime)
{
    const auto phase = pulsePhase(secondsSinceStart(presentationTime));
    const auto grey = CGColorCreateGenericRGB(0.5, 0.5, 0.5, 1.0);
    const auto white = CGColorCreateGenericRGB(1.0, 1.0, 1.0, 1.0);
    CGContextSetFillColorWithColor(context, _invertColors.load(std::memory_order_relaxed) ? grey : white);
    CGContextFillRect(context, CGRectMake(0, 0, drawableSizePixels.width, drawableSizePixels.height));

    CGContextSaveGState(context);
    CGContextTranslateCTM(context, drawableSizePixels.width * 0.5, drawableSizePixels.height * 0.5);
    const auto side = drawableSizePixels.width / 5.0;
    if (CFRequiredTypeOf(_mainBundleIconImageRef, CGImageGetTypeID(), "self.mainBundleIconImageRef")) {
        const auto scale = pulseScale(phase);
        CGContextConcatCTM(context, CGAffineTransformMakeScale(scale, scale));
        CGContextDrawImage(context, CGRectMake(-0.5 * side, -0.5 * side, side, side), _mainBundleIconImageRef);
    }
    CGContextRestoreGState(context);
}

void ZVCMIOPixelBufferRenderer::_renderFlyingSquarePixelBufferWithCGContext_drawableSizePixels_presentationTime(
    CGContextRef context, CGSize drawableSizePixels, const CMTime& presentationTime)
{
    const auto tick = lowerHalf(secondsSinceStart(presentationTime) * 100.0 + 0.5);
    auto fraction = (tick % 100) / 100.0;
    const auto blue = CGColorCreateGenericRGB(0, 0, 1, 1);
    const auto yellow = CGColorCreateGenericRGB(1, 1, 0, 1);
    const bool inverted = _invertColors.load(std::memory_order_relaxed);
    if (inverted)
        fraction = 1.0 - fraction;
    CGContextSetFillColorWithColor(context, inverted ? blue : yellow);
    CGContextFillRect(context, CGRectMake(0, 0, drawableSizePixels.width, drawableSizePixels.height));
    CGContextSetFillColorWithColor(context, inverted ? yellow : blue);
    CGContextFillRect(context, CGRectMake(fraction * drawableSizePixels.width, 310.0, 100.0, 100.0));
}

Ref<CGImage> ZVCMIOPixelBufferRenderer::copyMainBundleIconImageRef()
{
    try {
        auto* const iconName = NSBundle::mainBundle()->infoDictionary()->get<CFString>(CFSTR("CFBundleIconFile"));
        if (!isPresent(iconName))
            return nullptr;
        auto* const icon = NSImage::imageNamed(iconName);
        if (!isPresent(icon))
            return nullptr;
        return copyCGImageFromNSImage(icon);
    } catch (const NSException&) {
        return nullptr;
    }
}

Ref<CGImage> ZVCMIOPixelBufferRenderer::copyCGImageFromNSImage(NSImage* image)
{
    CGRect proposed { {}, image ? image->size() : CGSize {} };
    CGImageRef const imageRef
        = image ? image->CGImageForProposedRect_context_hints(&proposed, nullptr, nullptr) : nullptr;
    if (!CFRequiredTypeOf(imageRef, CGImageGetTypeID()))
        return nullptr;
    return CGImageRetain(imageRef);
}

Ref<CFDictionary> ZVCMIOPixelBufferRenderer::_pixelBufferSurfaceAnnotationValues()
{
    return CFDictionary::create({
        { ZVCMIOPixelBufferRenderer_Name, CFSTR("Application") },
        { ZVCMIOPixelBufferRenderer_Extension, kCFBooleanFalse },
    });
}

void ZVCMIOPixelBufferRenderer::_setPixelBufferSurfaceAnnotationValues_surfaceValues(
    CVPixelBufferRef buffer, CFDictionary* surfaceValues)
{
    IOSurfaceRef const surface = CVPixelBufferGetIOSurface(buffer);
    if (!CFRequiredTypeOf(surface, IOSurfaceGetTypeID()))
        return;
    const auto merged = surfaceValues ? surfaceValues->copy() : CFDictionary::create();
    const auto existingValues = IOSurfaceCopyAllValues(surface);
    if (CFRequiredTypeOf(existingValues, CFDictionaryGetTypeID())) {
        // What is on the surface already wins.
        merged->addEntriesFromDictionary(existingValues);
    }
    IOSurfaceSetValues(surface, merged);
}

void ZVCMIOPixelBufferRenderer::setPixelBufferSurfaceValues(CVPixelBufferRef /*buffer*/) { }

void ZVCMIOPixelBufferRenderer::dumpPixelBufferSurfaceValues(CVPixelBufferRef /*buffer*/) { }

ZVCMIOPixelBufferRenderer::RenderBlock ZVCMIOPixelBufferRenderer::renderBlock() const
{
    const std::lock_guard lock(_renderBlockLock);
    return _renderBlock;
}

void ZVCMIOPixelBufferRenderer::setRenderBlock(RenderBlock renderBlock)
{
    const std::lock_guard lock(_renderBlockLock);
    _renderBlock = std::move(renderBlock);
}
