#pragma once

#include "Tovrin09/AVCapturePixelsView/AVCaptureLayerContentsView.h"

/// The older twin of `AVCapturePixelBufferView`, for interface files. On the main thread it shows each picture at once.
class AVCapturePixelsView : public AVCaptureLayerContentsView {
    NS_OBJECT(AVCapturePixelsView)
public:
    AVCapturePixelsView() = default;
    explicit AVCapturePixelsView(NSRect frame);

    void setLayerContents(CFType* contents) override;
    void setLayerImage(CFType* image) override;

protected:
    /// The surface, or an image where the bytes come alpha first; a buffer with no surface is reported and not shown.
    void _showPixelBuffer(CVPixelBufferRef buffer) override;

private:
    /// Reserved; nobody sets it.
    Ref<NSObject> _mainQueueUI;
};
