#pragma once

#include "Platform/AppKit/NSImage.h"
#include "Platform/CoreGraphics/CGContext.h"
#include "Platform/CoreMedia/CMFormatDescription.h"
#include "Platform/CoreMedia/CMTime.h"
#include "Platform/CoreVideo/CVPixelBufferPool.h"

#include <functional>

/// Keys of what is written to the surfaces of a picture source: who made them, and whether that was an extension.
inline CFString* const ZVCMIOPixelBufferRenderer_Name = CFSTR("ZVCMIOPixelBufferRenderer_Name");
inline CFString* const ZVCMIOPixelBufferRenderer_Extension = CFSTR("ZVCMIOPixelBufferRenderer_Extension");

/// A picture source that needs no camera: each call makes a new pixel buffer and draws a test picture into it with the
/// processor, by default the application's icon pulsing on a plain ground.
///
/// What is drawn with is fixed after creation and each call works on its own buffer, so calls from several threads need
/// no guard.
class ZVCMIOPixelBufferRenderer : public NSObject {
    NS_OBJECT(ZVCMIOPixelBufferRenderer)
public:
    /// Replaces the default picture: gets the context, its width and height in pixels, and the time.
    using RenderBlock = std::function<void(CGContextRef, double, double, const CMTime&)>;

    /// \param frameRate  not looked at
    ZVCMIOPixelBufferRenderer(CMVideoDimensions dimensions, double frameRate);
    ~ZVCMIOPixelBufferRenderer() override;
    /// One of the class that is asked, kept by the innermost pool.
    template <class Receiver = ZVCMIOPixelBufferRenderer>
    static Receiver* rendererWithDimensions_frameRate(CMVideoDimensions dimensions, double frameRate)
    {
        return autorelease(make<Receiver>(dimensions, frameRate));
    }

    /// Changes to the other colours, for good.
    void invertColors() { _invertColors.store(true, std::memory_order_relaxed); }
    OSType pixelBufferPixelFormat() const { return _rendererPixelFormat; }
    bool recreatePixelBufferPool();

    // Each of these gives a new buffer; null when none could be allocated, undrawn when it could not be locked.

    Ref<CVPixelBuffer> copyFreshNewPixelBufferWithAllocationStrategy();
    /// Every byte of it is 255, whatever the name says.
    Ref<CVPixelBuffer> copyPixelBufferWithBlackOutput();
    Ref<CVPixelBuffer> copyFrameWithPresentationTimeStamp(const CMTime& presentationTime);
    Ref<CVPixelBuffer> copyFrameWithPresentationTimeStampCurrentTime();

    Ref<CGImage> copyCGImageFromNSImage(NSImage* image);
    /// Null, with no line, when the bundle names no icon or has none of that name.
    Ref<CGImage> copyMainBundleIconImageRef();

    static Ref<CFDictionary> _pixelBufferSurfaceAnnotationValues();
    static void _setPixelBufferSurfaceAnnotationValues_surfaceValues(
        CVPixelBufferRef buffer, CFDictionary* surfaceValues);
    /// Called for every new buffer. Empty here; a class for an extension registers its own.
    static void setPixelBufferSurfaceValues(CVPixelBufferRef buffer);
    static void dumpPixelBufferSurfaceValues(CVPixelBufferRef buffer);

    CGImageRef mainBundleIconImageRef() const { return _mainBundleIconImageRef; }
    void setMainBundleIconImageRef(CGImageRef image) { _mainBundleIconImageRef = image; }
    CMFormatDescriptionRef videoDescription() const { return _videoDescription; }
    CVPixelBufferPoolRef bufferPool() const { return _bufferPool; }
    void setBufferPool(CVPixelBufferPoolRef pool) { _bufferPool = pool; }
    RenderBlock renderBlock() const;
    void setRenderBlock(RenderBlock renderBlock);

    bool usePixelBufferAllocationPool = false;
    Ref<CFDictionary> pixelBufferAttributes; ///< of buffers that are made one by one
    Ref<CFDictionary> bufferAuxAttributes; ///< of buffers that come from the pool

    void _renderBundleIconBufferWithCGContext_drawableSizePixels_presentationTime(
        CGContextRef context, CGSize drawableSizePixels, const CMTime& presentationTime);
    void _renderFlyingSquarePixelBufferWithCGContext_drawableSizePixels_presentationTime(
        CGContextRef context, CGSize drawableSizePixels, const CMTime& presentationTime);

private:
    Ref<CVPixelBuffer> _copyPixelBufferWithPresentationTime(const CMTime& presentationTime);
    /// Makes a buffer, lets the class annotate it, and has \p draw draw between lock and unlock.
    Ref<CVPixelBuffer> copyPixelBufferDrawnBy(
        const char* function, const std::function<void(CVPixelBufferRef, void* base)>& draw);
    double secondsSinceStart(const CMTime& presentationTime) const;

    Ref<CGImage> _mainBundleIconImageRef;
    double _startStreamPresentationTime = 0;
    std::atomic<bool> _invertColors = false;
    CMVideoDimensions _rendererDimensions;
    OSType _rendererPixelFormat = kCVPixelFormatType_32BGRA;
    Ref<CMFormatDescription> _videoDescription;
    mutable std::mutex _renderBlockLock;
    RenderBlock _renderBlock;
    Ref<CVPixelBufferPool> _bufferPool;
};
