#include "Tovrin09/AVCapturePixelsView/AVCapturePixelBufferView.h"

#include "Platform/AppKit/NSCIImageRep.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/QuartzCore/CATransaction.h"
#include "WithRequirements/NSIsRunningOnMainThread.h"
#include "WithRequirements/Requirements.h"
#include "WithRequirements/ZVOperatingSystemVersion.h"

NS_IMPLEMENTATION(AVCapturePixelBufferView, NSView)
{
    type.message("setLayerContents:", &AVCapturePixelBufferView::setLayerContents);
    type.message("setLayerContentsUI:", &AVCapturePixelBufferView::setLayerContentsUI);
    type.message("setLayerPixelBuffer:", &AVCapturePixelBufferView::setLayerPixelBuffer);
    type.message("setLayerImageRef:", &AVCapturePixelBufferView::setLayerImageRef);
    type.message("setLayerImage:", &AVCapturePixelBufferView::setLayerImage);
    type.message("setLayerSurface:", &AVCapturePixelBufferView::setLayerSurface);
    type.message("setLayerCIImage:", &AVCapturePixelBufferView::setLayerCIImage);
}

AVCapturePixelBufferView::AVCapturePixelBufferView()
{
    _initCommon();
}

AVCapturePixelBufferView::AVCapturePixelBufferView(NSRect frame)
    : NSView(frame)
{
    _initCommon();
}

AVCapturePixelBufferView::~AVCapturePixelBufferView()
{
    if (auto* const contentsLayer = layer())
        contentsLayer->setContents(nullptr);
    setCurrentLayerContentsRef(nullptr);
}

void AVCapturePixelBufferView::_initCommon()
{
    _invertedCIImage = upsideDownCIImage();
    setLayer(CALayer::layer());
    setWantsLayer(true);
    setLayerContentsRedrawPolicy(0);
    if (auto* const contentsLayer = layer()) {
        contentsLayer->setBackgroundColor(CGColorGetConstantColor(kCGColorBlack));
        contentsLayer->setContentsGravity(kCAGravityResizeAspect);
    }
}

bool AVCapturePixelBufferView::upsideDownCIImage()
{
    return ZVOperatingSystemVersion_GetCurrent() > ZVOperatingSystemVersion_MacOS_13_0;
}

void AVCapturePixelBufferView::setLayerContentsUI(CFType* contents)
{
    if (!__NSIsRunningOnMainThread())
        return;
    auto* const contentsLayer = layer();
    if (!contentsLayer)
        return;
    CATransaction::begin();
    CATransaction::setDisableActions(true);
    contentsLayer->setContents(contents);
    CATransaction::commit();
}

void AVCapturePixelBufferView::setLayerContents(CFType* contents)
{
    if (_throttledQueueFullnessCount.load(std::memory_order_relaxed) != 0)
        return;
    _throttledQueueFullnessCount.fetch_add(1);
    if (__NSIsRunningOnMainThread()) {
        // The count stays at 1: a call on the main thread blocks all later pictures. Callers stay off it.
        setLayerContentsUI(contents);
        return;
    }
    dispatch_async(dispatch_get_main_queue(), [self = Ref(this), contents = Ref(contents)] {
        self->setLayerContentsUI(contents);
        self->_throttledQueueFullnessCount.fetch_sub(1);
    });
}

void AVCapturePixelBufferView::setLayerImage(CFType* image)
{
    setLayerImageRef(image);
}

CFType* AVCapturePixelBufferView::currentPixelBuffer() const
{
    auto* const contents = currentLayerContentsRef();
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CVPixelBufferGetTypeID(), "self.currentLayerContentsRef");
    return contents;
}

void AVCapturePixelBufferView::setCurrentPixelBuffer(CFType* buffer)
{
    setCurrentLayerContentsRef(buffer);
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CVPixelBufferGetTypeID(), "self.currentLayerContentsRef");
}

void AVCapturePixelBufferView::setLayerPixelBuffer(CFType* layerPixelBuffer)
{
    const Ref<CFType> retained(layerPixelBuffer);
    setCurrentPixelBuffer(layerPixelBuffer);
    if (!CFRequiredTypeOf(layerPixelBuffer, CVPixelBufferGetTypeID()))
        return;
    auto* const buffer = kindOf<CVPixelBuffer>(layerPixelBuffer);
    IOSurfaceRef const pixelBufferSurface = CVPixelBufferGetIOSurface(buffer);
    if (pixelBufferSurface && CVPixelBufferGetPixelFormatType(buffer) != kCVPixelFormatType_32ARGB) {
        if (CFRequiredTypeOf(pixelBufferSurface, IOSurfaceGetTypeID()))
            setLayerSurface(pixelBufferSurface);
        return;
    }
    setLayerCIImage_upsideDownImage(CIImage::imageWithCVImageBuffer(buffer).get(), false);
}

CFType* AVCapturePixelBufferView::currentImageRef() const
{
    auto* const contents = currentLayerContentsRef();
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CGImageGetTypeID(), "self.currentLayerContentsRef");
    return contents;
}

void AVCapturePixelBufferView::setCurrentImageRef(CFType* image)
{
    setCurrentLayerContentsRef(image);
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CGImageGetTypeID(), "self.currentLayerContentsRef");
}

void AVCapturePixelBufferView::setLayerImageRef(CFType* layerImageRef)
{
    setCurrentImageRef(layerImageRef);
    if (!CFRequiredTypeOf(layerImageRef, CGImageGetTypeID()))
        return;
    setLayerContents(currentImageRef());
}

void AVCapturePixelBufferView::setLayerCIImage(CFType* image)
{
    setLayerCIImage_upsideDownImage(image, true);
}

void AVCapturePixelBufferView::setLayerCIImage_upsideDownImage(CFType* image, bool upsideDown)
{
    const Ref<CIImage> source = kindOf<CIImage>(image);
    if (!source)
        return;
    const auto shown = upsideDown ? _upsideDownImageWithImage(source) : source;
    setLayerContents(_imageWithCIImage(shown).get());
}

Ref<CIImage> AVCapturePixelBufferView::_upsideDownImageWithImage(CIImage* image)
{
    const auto extent = image ? image->extent() : CGRectZero;
    // Without inversion the same two steps run and change nothing.
    const auto scale = CGAffineTransformMakeScale(1.0, _invertedCIImage ? -1.0 : 1.0);
    const auto translation = CGAffineTransformMakeTranslation(0.0, _invertedCIImage ? extent.size.height : 0.0);
    return image ? image->imageByApplyingTransform(scale)->imageByApplyingTransform(translation) : nullptr;
}

Ref<NSImage> AVCapturePixelBufferView::_imageWithCIImage(CIImage* image)
{
    const auto representation = NSCIImageRep::imageRepWithCIImage(image);
    if (!representation)
        return nullptr;
    auto result = make<NSImage>(image->extent().size);
    result->addRepresentation(representation);
    return result;
}
