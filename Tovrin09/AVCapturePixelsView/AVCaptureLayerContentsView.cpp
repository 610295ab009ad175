#include "Tovrin09/AVCapturePixelsView/AVCaptureLayerContentsView.h"

#include "Platform/AppKit/NSCIImageRep.h"
#include "Platform/QuartzCore/CATransaction.h"
#include "WithRequirements/NSIsRunningOnMainThread.h"
#include "WithRequirements/Requirements.h"
#include "WithRequirements/ZVOperatingSystemVersion.h"

NS_IMPLEMENTATION(AVCaptureLayerContentsView, NSView)
{
    using Self = AVCaptureLayerContentsView;
    type.message("invertedCIImage", &Self::invertedCIImage);
    type.message("isOpaque", &Self::isOpaque);
    type.message("setLayerContents:", &Self::setLayerContents);
    type.message("setLayerContentsUI:", &Self::setLayerContentsUI);
    type.message("setLayerImage:", &Self::setLayerImage);
    type.message("currentLayerContentsRef", &Self::currentLayerContentsRef);
    type.message("setCurrentLayerContentsRef:", &Self::setCurrentLayerContentsRef);
    type.message("setLayerSurface:", &Self::setLayerSurface);
    type.message("currentImageRef", &Self::currentImageRef);
    type.message("setCurrentImageRef:", &Self::setCurrentImageRef);
    type.message("layerImageRef", &Self::layerImageRef);
    type.message("setLayerImageRef:", &Self::setLayerImageRef);
    type.message("currentPixelBuffer", &Self::currentPixelBuffer);
    type.message("setCurrentPixelBuffer:", &Self::setCurrentPixelBuffer);
    type.message("layerPixelBuffer", &Self::layerPixelBuffer);
    type.message("setLayerPixelBuffer:", &Self::setLayerPixelBuffer);
    type.message("setLayerCIImage:", &Self::setLayerCIImage);
    type.message("setLayerCIImage:upsideDownImage:", &Self::setLayerCIImage_upsideDownImage);
}

AVCaptureLayerContentsView::AVCaptureLayerContentsView()
{
    _initCommon();
}

AVCaptureLayerContentsView::AVCaptureLayerContentsView(NSRect frame)
    : NSView(frame)
{
    _initCommon();
}

AVCaptureLayerContentsView::~AVCaptureLayerContentsView()
{
    if (auto* const contentsLayer = layer())
        contentsLayer->setContents(nullptr);
    setCurrentLayerContentsRef(nullptr);
}

void AVCaptureLayerContentsView::_initCommon()
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

bool AVCaptureLayerContentsView::upsideDownCIImage()
{
    return ZVOperatingSystemVersion_GetCurrent() > ZVOperatingSystemVersion_MacOS_13_0;
}

void AVCaptureLayerContentsView::setLayerContentsUI(CFType* contents)
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

CFType* AVCaptureLayerContentsView::currentPixelBuffer() const
{
    auto* const contents = currentLayerContentsRef();
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CVPixelBufferGetTypeID(), "self.currentLayerContentsRef");
    return contents;
}

void AVCaptureLayerContentsView::setCurrentPixelBuffer(CFType* buffer)
{
    setCurrentLayerContentsRef(buffer);
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CVPixelBufferGetTypeID(), "self.currentLayerContentsRef");
}

void AVCaptureLayerContentsView::setLayerPixelBuffer(CFType* layerPixelBuffer)
{
    const Ref<CFType> retained(layerPixelBuffer);
    setCurrentPixelBuffer(layerPixelBuffer);
    if (!CFRequiredTypeOf(layerPixelBuffer, CVPixelBufferGetTypeID()))
        return;
    _showPixelBuffer(kindOf<CVPixelBuffer>(layerPixelBuffer));
}

void AVCaptureLayerContentsView::_showPixelBufferAsCIImage(CVPixelBufferRef buffer)
{
    setLayerCIImage_upsideDownImage(CIImage::imageWithCVImageBuffer(buffer).get(), false);
}

void AVCaptureLayerContentsView::_showSurface(IOSurfaceRef pixelBufferSurface)
{
    if (CFRequiredTypeOfIn("setLayerPixelBuffer", pixelBufferSurface, IOSurfaceGetTypeID()))
        setLayerSurface(pixelBufferSurface);
}

CFType* AVCaptureLayerContentsView::currentImageRef() const
{
    auto* const contents = currentLayerContentsRef();
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CGImageGetTypeID(), "self.currentLayerContentsRef");
    return contents;
}

void AVCaptureLayerContentsView::setCurrentImageRef(CFType* image)
{
    setCurrentLayerContentsRef(image);
    CFRequiredTypeOf(currentLayerContentsRefRetainedCopy(), CGImageGetTypeID(), "self.currentLayerContentsRef");
}

void AVCaptureLayerContentsView::setLayerImageRef(CFType* layerImageRef)
{
    setCurrentImageRef(layerImageRef);
    if (!CFRequiredTypeOf(layerImageRef, CGImageGetTypeID()))
        return;
    setLayerContents(currentImageRef());
}

void AVCaptureLayerContentsView::setLayerCIImage(CFType* image)
{
    setLayerCIImage_upsideDownImage(image, true);
}

void AVCaptureLayerContentsView::setLayerCIImage_upsideDownImage(CFType* image, bool upsideDown)
{
    const Ref<CIImage> source = kindOf<CIImage>(image);
    if (!source)
        return;
    const auto shown = upsideDown ? _upsideDownImageWithImage(source) : source;
    setLayerContents(_imageWithCIImage(shown).get());
}

Ref<CIImage> AVCaptureLayerContentsView::_upsideDownImageWithImage(CIImage* image)
{
    const auto extent = image ? image->extent() : CGRectZero;
    // Without inversion the same two steps run and change nothing.
    const auto scale = CGAffineTransformMakeScale(1.0, _invertedCIImage ? -1.0 : 1.0);
    const auto translation = CGAffineTransformMakeTranslation(0.0, _invertedCIImage ? extent.size.height : 0.0);
    return image ? image->imageByApplyingTransform(scale)->imageByApplyingTransform(translation) : nullptr;
}

Ref<NSImage> AVCaptureLayerContentsView::_imageWithCIImage(CIImage* image)
{
    const auto representation = NSCIImageRep::imageRepWithCIImage(image);
    if (!representation)
        return nullptr;
    auto result = make<NSImage>(image->extent().size);
    result->addRepresentation(representation);
    return result;
}
