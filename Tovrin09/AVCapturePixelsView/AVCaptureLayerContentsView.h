#pragma once

#include "Platform/AppKit/NSImage.h"
#include "Platform/AppKit/NSView.h"
#include "Platform/CoreImage/CIImage.h"
#include "WithRequirements/ReferenceProperty.h"

#include <atomic>

/// What the two pixel views have in common. Shows a picture as the contents of its layer, in the picture's shape on
/// black bars. Takes a pixel buffer, a surface, a `CGImage` or a `CIImage` from any thread, and drops what comes while
/// a picture is on its way to the main thread, so that a slow interface never holds up the camera.
///
/// The views differ in how a picture gets to the main thread, in which form a pixel buffer is shown, and in whether
/// `setLayerImage` keeps what it shows.
class AVCaptureLayerContentsView : public NSView {
    NS_OBJECT(AVCaptureLayerContentsView)
public:
    ~AVCaptureLayerContentsView() override;

    /// Whether images are flipped on this version of the system.
    static bool upsideDownCIImage();
    bool invertedCIImage() const { return _invertedCIImage; }
    bool isOpaque() override { return true; }

    /// The throttled entry; any thread.
    virtual void setLayerContents(CFType* contents) = 0;
    /// Sets the layer; does nothing off the main thread.
    void setLayerContentsUI(CFType* contents);
    virtual void setLayerImage(CFType* image) = 0;

    CFString* currentLayerContentsRefSync() const { return _currentLayerContentsRef.sync(); }
    CFType* currentLayerContentsRef() const { return _currentLayerContentsRef.get(); }
    CFType* currentLayerContentsRefAutoreleasedCopy() const { return _currentLayerContentsRef.autoreleasedCopy(); }
    Ref<CFType> currentLayerContentsRefRetainedCopy() const { return _currentLayerContentsRef.retainedCopy(); }
    Ref<CFType> currentLayerContentsRefCopy() const { return _currentLayerContentsRef.copy(); }
    void setCurrentLayerContentsRef(CFType* contents) { _currentLayerContentsRef.set(contents); }

    // Surfaces.

    void setLayerSurface(IOSurfaceRef surface) { setLayerContents(surface); }

    // Pixel buffers.

    /// What was set last, whatever it is; something else than a pixel buffer is reported.
    CFType* currentPixelBuffer() const;
    void setCurrentPixelBuffer(CFType* buffer);
    CFType* layerPixelBuffer() const { return currentPixelBuffer(); }
    /// Keeps the buffer, also if the picture is dropped, and shows it.
    void setLayerPixelBuffer(CFType* layerPixelBuffer);

    // Images with pixels.

    /// What was set last, whatever it is; something else than an image is reported.
    CFType* currentImageRef() const;
    void setCurrentImageRef(CFType* image);
    CFType* layerImageRef() const { return currentImageRef(); }
    void setLayerImageRef(CFType* layerImageRef);

    // Images that are rendered when they are shown.

    void setLayerCIImage(CFType* image);
    void setLayerCIImage_upsideDownImage(CFType* image, bool upsideDown);
    /// Null for null.
    Ref<CIImage> _upsideDownImageWithImage(CIImage* image);
    /// Null when no image could be made.
    Ref<NSImage> _imageWithCIImage(CIImage* image);

protected:
    AVCaptureLayerContentsView();
    explicit AVCaptureLayerContentsView(NSRect frame);

    /// The part of `setLayerPixelBuffer` in which the views differ: which form of \p buffer is shown.
    virtual void _showPixelBuffer(CVPixelBufferRef buffer) = 0;
    /// Shows the buffer as an image, which is never flipped.
    void _showPixelBufferAsCIImage(CVPixelBufferRef buffer);
    /// Shows the surface without a copy; reports a buffer that has none.
    void _showSurface(IOSurfaceRef pixelBufferSurface);

    // One picture may be on its way. The test and the increase are two steps, so this holds for one producer.

    bool _pictureIsInFlight() const { return _throttledQueueFullnessCount.load(std::memory_order_relaxed) != 0; }
    void _pictureHasLeft() { _throttledQueueFullnessCount.fetch_add(1); }
    void _pictureHasArrived() { _throttledQueueFullnessCount.fetch_sub(1); }

private:
    void _initCommon();

    ReferenceProperty<CFType> _currentLayerContentsRef { "currentLayerContentsRef" };
    /// 1 while a picture is on its way to the main thread.
    std::atomic<std::int32_t> _throttledQueueFullnessCount = 0;
    bool _invertedCIImage = false;
};
