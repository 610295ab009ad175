#include "Tovrin09/AVCapturePixelsView/AVCapturePixelBufferView.h"

#include "Platform/dispatch/dispatch.h"
#include "WithRequirements/NSIsRunningOnMainThread.h"

NS_IMPLEMENTATION(AVCapturePixelBufferView, AVCaptureLayerContentsView) { }

AVCapturePixelBufferView::AVCapturePixelBufferView(NSRect frame)
    : AVCaptureLayerContentsView(frame)
{
}

void AVCapturePixelBufferView::setLayerContents(CFType* contents)
{
    if (_pictureIsInFlight())
        return;
    _pictureHasLeft();
    if (__NSIsRunningOnMainThread()) {
        // The count stays at 1: a call on the main thread blocks all later pictures. Callers stay off it.
        setLayerContentsUI(contents);
        return;
    }
    // Holds the view, so that one that is released with a picture in flight stays until that has arrived.
    dispatch_async(dispatch_get_main_queue(), [self = Ref(this), contents = Ref(contents)] {
        self->setLayerContentsUI(contents);
        self->_pictureHasArrived();
    });
}

void AVCapturePixelBufferView::setLayerImage(CFType* image)
{
    setLayerImageRef(image);
}

void AVCapturePixelBufferView::_showPixelBuffer(CVPixelBufferRef buffer)
{
    const auto format = CVPixelBufferGetPixelFormatType(buffer);
    IOSurfaceRef const pixelBufferSurface = CVPixelBufferGetIOSurface(buffer);
    if (pixelBufferSurface && format != kCVPixelFormatType_32ARGB)
        _showSurface(pixelBufferSurface);
    else
        _showPixelBufferAsCIImage(buffer);
}
