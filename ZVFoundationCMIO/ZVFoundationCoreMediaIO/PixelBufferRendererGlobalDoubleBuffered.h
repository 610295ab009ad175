#pragma once

#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/AcceleratedCIContext.h"
#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/OSTypeRef.h"
#include "ZVFoundationCMIO/ZVFoundationCoreMediaIO/UCoreSpinlockMutex.h"

namespace ZVCMIO {

/// Scales pixel buffers into two global surfaces in turn. A reader gets the surface that was written last, and has the
/// time of one frame before it is written again; one that comes during a render gets the surface that is being written.
///
/// Any thread may set an input, one at a time. Reading takes no lock.
class PixelBufferRendererGlobalDoubleBuffered {
public:
    struct cfdictionary_config_t {
        using type = CFDictionary;
    };
    struct cvpixelbuffer_config_t {
        using type = CVPixelBuffer;
    };

    PixelBufferRendererGlobalDoubleBuffered();
    ~PixelBufferRendererGlobalDoubleBuffered();
    PixelBufferRendererGlobalDoubleBuffered(const PixelBufferRendererGlobalDoubleBuffered&) = delete;
    PixelBufferRendererGlobalDoubleBuffered& operator=(const PixelBufferRendererGlobalDoubleBuffered&) = delete;

    /// Sets both outputs up, with a context of its own once more: that of the constructor stays for the life of the
    /// process.
    bool Construct(CGSize dimensions, std::uint32_t pixelFormat);
    bool IsConstructed() const { return mRendererPixelBufferProperties.get_object(); }
    bool CreatePixelBuffers();
    Ref<CFDictionary> CopyPixelBufferAttributesWithSurfaceProperties(CFDictionary* properties) const;
    void SetInputPixelBuffer(CVPixelBufferRef buffer);
    /// The step inside the lock.
    void OnInputPixelBufferChanged(CVPixelBufferRef buffer);
    Ref<CVPixelBuffer> CopyOutputPixelBuffer() const;
    /// The proportions are not kept.
    bool RenderInputPixelBufferToDestinationPixelBuffer(CVPixelBufferRef inputBuffer, CVPixelBufferRef renderBuffer);
    /// 0 for A, 1 for B.
    std::uint32_t GetRenderedSurfaceNumber() const { return static_cast<std::uint32_t>(frameNumber() % 2); }
    /// All ones where there is no surface.
    IOSurfaceID GetSurfaceIDFromPixelBuffer(CVPixelBufferRef pixelBuffer) const;
    IOSurfaceID GetSurfaceIDOutputPixelBufferA() const;
    IOSurfaceID GetSurfaceIDOutputPixelBufferB() const;

protected:
    const AcceleratedCIContext* acceleratedCIContext() const { return mAcceleratedCIContext.get(); }

private:
    std::uint64_t frameNumber() const { return mFrameNumber.load(std::memory_order_relaxed); }
    void makeContext(const char* function);

    CGSize mRendererDimensions;
    std::uint32_t mRendererPixelFormat = 0;
    requiredCpp::T_ostyperef<cfdictionary_config_t> mRendererPixelBufferProperties;
    std::unique_ptr<AcceleratedCIContext> mAcceleratedCIContext;
    requiredCpp::T_ostyperef<cvpixelbuffer_config_t> mInputPixelBuffer;
    requiredCpp::T_ostyperef<cvpixelbuffer_config_t> mOutputPixelBufferA;
    requiredCpp::T_ostyperef<cvpixelbuffer_config_t> mOutputPixelBufferB;
    std::atomic<std::uint64_t> mFrameNumber { 0 };
    UCoreSpinlockMutex mPixelBufferMutex;
};

}
