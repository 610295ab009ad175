#include "Tovrin09/AVCapturePixelsView/AVCapturePixelsView.h"

#include "Platform/AppKit/NSCIImageRep.h"
#include "Platform/QuartzCore/CATransaction.h"
#include "WithRequirements/NSIsRunningOnMainThread.h"
#include "WithRequirements/Requirements.h"
#include "WithRequirements/ZVOperatingSystemVersion.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchFunctions.h"

NS_IMPLEMENTATION(AVCapturePixelsView, NSView)
{
    type.message("setLayerContents:", &AVCapturePixelsView::setLayerContents);
    type.message("setLayerContentsUI:", &AVCapturePixelsView::setLayerContentsUI);
    type.message("setLayerPixelBuffer:", &AVCapturePixelsView::setLayerPixelBuffer);
    type.message("setLayerImageRef:", &AVCapturePixelsView::setLayerImageRef);
    type.message("setLayerImage:", &AVCapturePixelsView::setLayerImage);
    type.message("setLayerSurface:", &AVCapturePixelsView::setLayerSurface);
    type.message("setLayerCIImage:", &AVCapturePixelsView::setLayerCIImage);
}

AVCapturePixelsView::AVCapturePixelsView()
{
    _initCommon();
}

AVCapturePixelsView::AVCapturePixelsView(NSRect frame)
    : NSView(frame)
{
    _initCommon();
}

AVCapturePixelsView::~AVCapturePixelsView()
{
    if (auto* const contentsLayer = layer())
        contentsLayer->setContents(nullptr);
    setCurrentLayerContentsRef(nullptr);
}

void AVCapturePixelsView::_initCommon()
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

bool AVCapturePixelsView::upsideDownCIImage()
{
    return ZVOperatingSystemVersion_GetCurrent() > ZVOperatingSystemVersion_MacOS_13_0;
}

void AVCapturePixelsView::setLayerContentsUI(CFType* contents)
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

void AVCapturePixelsView::setLayerContents(CFType* contents)
{
    if (_throttledQueueFullnessCount.load(std::memory_order_relaxed) != 0)
        return;
    _throttledQueueFullnessCount.fetch_add(1);
    avcapture_dispatch_main_weak_self<AVCapturePixelsView, CFType>(
        this, contents, [self = Ref(this)](AVCapturePixelsView*, CFType* posted, bool /*synchronous*/) {
            self->setLayerContentsUI(posted);
            self->_throttledQueueFullnessCount.fetch_sub(1);
        });
}

void AVCapturePixelsView::setLayerImage(CFType* image)
{
    setLayerContents(image);
}

CFType* AVCapturePixelsView::currentPixelBuffer() const
{
    auto* const contents = currentLayerContentsRef();
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CVPixelBufferGetTypeID(), "self.currentLayerContentsRef");
    return contents;
}

void AVCapturePixelsView::setCurrentPixelBuffer(CFType* buffer)
{
    setCurrentLayerContentsRef(buffer);
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CVPixelBufferGetTypeID(), "self.currentLayerContentsRef");
}

void AVCapturePixelsView::setLayerPixelBuffer(CFType* layerPixelBuffer)
{
    const Ref<CFType> retained(layerPixelBuffer);
    setCurrentPixelBuffer(layerPixelBuffer);
    if (!CFRequiredTypeOf(layerPixelBuffer, CVPixelBufferGetTypeID()))
        return;
    auto* const buffer = kindOf<CVPixelBuffer>(layerPixelBuffer);
    if (CVPixelBufferGetPixelFormatType(buffer) == kCVPixelFormatType_32ARGB) {
        setLayerCIImage_upsideDownImage(CIImage::imageWithCVImageBuffer(buffer).get(), false);
        return;
    }
    IOSurfaceRef const pixelBufferSurface = CVPixelBufferGetIOSurface(buffer);
    if (CFRequiredTypeOf(pixelBufferSurface, IOSurfaceGetTypeID()))
        setLayerSurface(pixelBufferSurface);
}

CFType* AVCapturePixelsView::currentImageRef() const
{
    auto* const contents = currentLayerContentsRef();
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CGImageGetTypeID(), "self.currentLayerContentsRef");
    return contents;
}

void AVCapturePixelsView::setCurrentImageRef(CFType* image)
{
    setCurrentLayerContentsRef(image);
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CGImageGetTypeID(), "self.currentLayerContentsRef");
}

void AVCapturePixelsView::setLayerImageRef(CFType* layerImageRef)
{
    setCurrentImageRef(layerImageRef);
    if (!CFRequiredTypeOf(layerImageRef, CGImageGetTypeID()))
        return;
    setLayerContents(currentImageRef());
}

void AVCapturePixelsView::setLayerCIImage(CFType* image)
{
    setLayerCIImage_upsideDownImage(image, true);
}

void AVCapturePixelsView::setLayerCIImage_upsideDownImage(CFType* image, bool upsideDown)
{
    const Ref<CIImage> source = kindOf<CIImage>(image);
    if (!source)
        return;
    const auto shown = upsideDown ? _upsideDownImageWithImage(source) : source;
    setLayerContents(_imageWithCIImage(shown).get());
}

Ref<CIImage> AVCapturePixelsView::_upsideDownImageWithImage(CIImage* image)
{
    const auto extent = image ? image->extent() : CGRectZero;
    // Without inversion the same two steps run and change nothing.
    const auto scale = CGAffineTransformMakeScale(1.0, _invertedCIImage ? -1.0 : 1.0);
    const auto translation = CGAffineTransformMakeTranslation(0.0, _invertedCIImage ? extent.size.height : 0.0);
    return image ? image->imageByApplyingTransform(scale)->imageByApplyingTransform(translation) : nullptr;
}

Ref<NSImage> AVCapturePixelsView::_imageWithCIImage(CIImage* image)
{
    const auto representation = NSCIImageRep::imageRepWithCIImage(image);
    if (!representation)
        return nullptr;
    auto result = make<NSImage>(image->extent().size);
    result->addRepresentation(representation);
    return result;
}
