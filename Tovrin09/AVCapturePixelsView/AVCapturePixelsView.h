#pragma once

#include "Platform/AppKit/NSImage.h"
#include "Platform/AppKit/NSView.h"
#include "Platform/CoreImage/CIImage.h"
#include "WithRequirements/ReferenceProperty.h"

#include <atomic>

/// Shows a picture as the contents of its layer, in the picture's shape on black bars. Takes a pixel buffer, a surface,
/// a `CGImage` or a `CIImage` from any thread, and drops what comes while a picture is on its way to the main thread,
/// so that a slow interface never holds up the camera. The older twin of `AVCapturePixelBufferView`, for interface
/// files.
class AVCapturePixelsView : public NSView {
    NS_OBJECT(AVCapturePixelsView)
public:
    AVCapturePixelsView();
    explicit AVCapturePixelsView(NSRect frame);
    ~AVCapturePixelsView() override;

    /// Whether images are flipped on this version of the system.
    static bool upsideDownCIImage();
    bool invertedCIImage() const { return _invertedCIImage; }
    bool isOpaque() override { return true; }

    /// The throttled entry; any thread.
    void setLayerContents(CFType* contents);
    /// Sets the layer; does nothing off the main thread.
    void setLayerContentsUI(CFType* contents);
    void setLayerImage(CFType* image);

    CFString* currentLayerContentsRefSync() const { return _currentLayerContentsRef.sync(); }
    CFType* currentLayerContentsRef() const { return _currentLayerContentsRef.get(); }
    CFType* currentLayerContentsRefAutoreleasedCopy() const { return _currentLayerContentsRef.autoreleasedCopy(); }
    Ref<CFType> currentLayerContentsRefRetainedCopy() const { return _currentLayerContentsRef.retainedCopy(); }
    Ref<CFType> currentLayerContentsRefCopy() const { return _currentLayerContentsRef.copy(); }
    void setCurrentLayerContentsRef(CFType* contents) { _currentLayerContentsRef.set(contents); }

    // Surfaces.

    void setLayerSurface(IOSurfaceRef surface) { setLayerContents(surface); }

    // Pixel buffers.

    CFType* currentPixelBuffer() const;
    void setCurrentPixelBuffer(CFType* buffer);
    CFType* layerPixelBuffer() const { return currentPixelBuffer(); }
    void setLayerPixelBuffer(CFType* layerPixelBuffer);

    // Images with pixels.

    CFType* currentImageRef() const;
    void setCurrentImageRef(CFType* image);
    CFType* layerImageRef() const { return currentImageRef(); }
    void setLayerImageRef(CFType* layerImageRef);

    // Images that are rendered when they are shown.

    void setLayerCIImage(CFType* image);
    void setLayerCIImage_upsideDownImage(CFType* image, bool upsideDown);
    Ref<CIImage> _upsideDownImageWithImage(CIImage* image);
    /// Null when no image could be made.
    Ref<NSImage> _imageWithCIImage(CIImage* image);

private:
    void _initCommon();

    /// Reserved; nobody sets it.
    Ref<NSObject> _mainQueueUI;
    ReferenceProperty<CFType> _currentLayerContentsRef { "currentLayerContentsRef" };
    /// 1 while a picture is on its way to the main thread.
    std::atomic<std::int32_t> _throttledQueueFullnessCount = 0;
    bool _invertedCIImage = false;
};
