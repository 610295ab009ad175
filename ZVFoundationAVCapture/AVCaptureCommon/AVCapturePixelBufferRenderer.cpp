#include "ZVFoundationAVCapture/AVCaptureCommon/AVCapturePixelBufferRenderer.h"

#include "WithRequirements/Requirements.h"

NS_IMPLEMENTATION(AVCapturePixelBufferRenderer, NSObject)
{
    using Self = AVCapturePixelBufferRenderer;
    type.message("setInputPixelBuffer:", &Self::setInputPixelBuffer);
    type.message("copyOutputPixelBuffer", &Self::copyOutputPixelBuffer);
    type.message("inputPixelBufferChanged", &Self::inputPixelBufferChanged);
    type.message("constructRendererWithAcceleratedContext:", &Self::constructRendererWithAcceleratedContext);
}

AVCapturePixelBufferRenderer::AVCapturePixelBufferRenderer(CGSize dimensions, std::uint32_t pixelFormat)
    : _rendererDimensions(dimensions)
    , _rendererPixelFormat(pixelFormat)
{
    const AutoreleasePool pool;
    setPixelBufferAttributes(pixelBufferAttributesWithSurfaceProperties(make<CFDictionary>().get()));
}

AVCapturePixelBufferRenderer::~AVCapturePixelBufferRenderer()
{
    _inputPixelBuffer.set(nullptr);
}

Ref<AVCapturePixelBufferRenderer> AVCapturePixelBufferRenderer::initWithRendererDimensions_renderPixelFormat(
    CGSize dimensions, std::uint32_t pixelFormat)
{
    return make<AVCapturePixelBufferRenderer>(dimensions, pixelFormat);
}

void AVCapturePixelBufferRenderer::setInputPixelBuffer(CVPixelBufferRef buffer)
{
    _inputPixelBuffer.set(buffer);
    inputPixelBufferChanged();
}

CFDictionary* AVCapturePixelBufferRenderer::pixelBufferAttributesWithSurfaceProperties(CFDictionary* properties) const
{
    const auto attributes = make<CFDictionary>();
    attributes->set(kCVPixelBufferPixelFormatTypeKey, CFNumber::create(_rendererPixelFormat).get());
    attributes->set(kCVPixelBufferWidthKey, CFNumber::create(_rendererDimensions.width).get());
    attributes->set(kCVPixelBufferHeightKey, CFNumber::create(_rendererDimensions.height).get());
    attributes->set(kCVPixelBufferMetalCompatibilityKey, kCFBooleanTrue);
    const Ref<CFDictionary> surface(properties);
    attributes->set(kCVPixelBufferIOSurfacePropertiesKey, surface ? surface.get() : make<CFDictionary>().get());
    return autorelease(attributes);
}

void AVCapturePixelBufferRenderer::renderInputPixelBuffer_destinationPixelBuffer(
    CVPixelBufferRef inputBuffer, CVPixelBufferRef renderBuffer)
{
    if (!CFRequiredTypeOf(inputBuffer, CVPixelBufferGetTypeID(), "inputBuffer")
        || !CFRequiredTypeOf(renderBuffer, CVPixelBufferGetTypeID(), "renderBuffer"))
        return;
    auto* const context = rendererCIContext();
    if (!isPresent(context))
        return;
    auto image = CIImage::imageWithCVImageBuffer(inputBuffer);
    if (!image)
        return;
    auto* const renderSurface = CVPixelBufferGetIOSurface(renderBuffer);
    if (!CFRequiredTypeOf(renderSurface, IOSurfaceGetTypeID(), "renderSurface"))
        return;
    const CGSize inputSize { static_cast<CGFloat>(CVPixelBufferGetWidth(inputBuffer)),
        static_cast<CGFloat>(CVPixelBufferGetHeight(inputBuffer)) };
    if (inputSize != _rendererDimensions)
        image = image->imageByApplyingTransform(CGAffineTransformMakeScale(
            _rendererDimensions.width / inputSize.width, _rendererDimensions.height / inputSize.height));
    context->render_toIOSurface_bounds_colorSpace(
        image, renderSurface, { CGPointZero, _rendererDimensions }, rendererColorSpace());
}

Ref<CVPixelBuffer> AVCapturePixelBufferRenderer::copyOutputPixelBuffer()
{
    const AutoreleasePool pool;
    Ref<CVPixelBuffer> copyOutputPixelBuffer;
    const CVReturn status = CVPixelBufferCreate(kCFAllocatorDefault,
        static_cast<std::size_t>(_rendererDimensions.width), static_cast<std::size_t>(_rendererDimensions.height),
        _rendererPixelFormat, pixelBufferAttributes(), &copyOutputPixelBuffer);
    if (!CoreVideoRequired(status,
            "CVPixelBufferCreate(kCFAllocatorDefault, _rendererDimensions.width, _rendererDimensions.height, "
            "_rendererPixelFormat, self.pixelBufferAttributes, &copyOutputPixelBuffer)"))
        return nullptr;
    if (!CFRequiredTypeOf(copyOutputPixelBuffer, CVPixelBufferGetTypeID(), "copyOutputPixelBuffer"))
        return nullptr;
    const auto input = inputPixelBufferRetainedCopy();
    if (CFRequiredTypeOf(input, CVPixelBufferGetTypeID(), "inputPixelBufferRetainedCopy"))
        renderInputPixelBuffer_destinationPixelBuffer(input, copyOutputPixelBuffer);
    return copyOutputPixelBuffer;
}

bool AVCapturePixelBufferRenderer::constructRendererWithAcceleratedContext(AVCaptureAcceleratedContextProtocol* context)
{
    setRendererCIContext(context ? context->rendererCIContext() : nullptr);
    setRendererColorSpace(context ? context->rendererColorSpace() : nullptr);
    return true;
}
