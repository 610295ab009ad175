#pragma once

#include "Tovrin09/AVCapturePixelsView/AVCaptureLayerContentsView.h"

/// The pixel view of the output window. Made for one producer, off the main thread: after a picture that was set on the
/// main thread, all later ones are dropped.
class AVCapturePixelBufferView : public AVCaptureLayerContentsView {
    NS_OBJECT(AVCapturePixelBufferView)
public:
    AVCapturePixelBufferView() = default;
    explicit AVCapturePixelBufferView(NSRect frame);

    void setLayerContents(CFType* contents) override;
    /// For an image with pixels, which is kept as well.
    void setLayerImage(CFType* image) override;

protected:
    /// The surface, or an image where there is none or the bytes come alpha first.
    void _showPixelBuffer(CVPixelBufferRef buffer) override;
};
