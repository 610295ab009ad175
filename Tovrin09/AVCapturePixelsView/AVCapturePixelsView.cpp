#include "Tovrin09/AVCapturePixelsView/AVCapturePixelsView.h"

#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchFunctions.h"

NS_IMPLEMENTATION(AVCapturePixelsView, AVCaptureLayerContentsView) { }

AVCapturePixelsView::AVCapturePixelsView(NSRect frame)
    : AVCaptureLayerContentsView(frame)
{
}

void AVCapturePixelsView::setLayerContents(CFType* contents)
{
    if (_pictureIsInFlight())
        return;
    _pictureHasLeft();
    // The callback holds the view, so that one that is released with a picture in flight stays until that has arrived.
    avcapture_dispatch_main_weak_self<AVCapturePixelsView, CFType>(
        this, contents, [self = Ref(this)](AVCapturePixelsView*, CFType* posted, bool /*synchronous*/) {
            self->setLayerContentsUI(posted);
            self->_pictureHasArrived();
        });
}

void AVCapturePixelsView::setLayerImage(CFType* image)
{
    setLayerContents(image);
}

void AVCapturePixelsView::_showPixelBuffer(CVPixelBufferRef buffer)
{
    if (CVPixelBufferGetPixelFormatType(buffer) == kCVPixelFormatType_32ARGB)
        _showPixelBufferAsCIImage(buffer);
    else
        _showSurface(CVPixelBufferGetIOSurface(buffer));
}
