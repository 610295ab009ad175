#pragma once

#include "WithRequirements/ReferenceProperty.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContextDelegate.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContextProtocol.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAtomicReference.h"

/// Scales pixel buffers to one size with the image context of an accelerated context, which tells it when it can. The
/// input is only kept; each read makes a new buffer and renders into it, on the reader's thread.
class AVCapturePixelBufferRenderer : public NSObject, public AVCaptureAcceleratedContextDelegate {
    NS_OBJECT(AVCapturePixelBufferRenderer)
public:
    AVCapturePixelBufferRenderer(CGSize dimensions, std::uint32_t pixelFormat);
    ~AVCapturePixelBufferRenderer() override;
    static Ref<AVCapturePixelBufferRenderer> initWithRendererDimensions_renderPixelFormat(
        CGSize dimensions, std::uint32_t pixelFormat);

    CGSize rendererDimensions() const { return _rendererDimensions; }
    std::uint32_t rendererPixelFormat() const { return _rendererPixelFormat; }
    CFString* inputPixelBufferSync() const { return _inputPixelBuffer.sync(); }
    CVPixelBufferRef inputPixelBuffer() const { return _inputPixelBuffer.get(); }
    CVPixelBufferRef inputPixelBufferAutoreleasedCopy() const { return _inputPixelBuffer.autoreleasedCopy(); }
    Ref<CVPixelBuffer> inputPixelBufferRetainedCopy() const { return _inputPixelBuffer.retainedCopy(); }
    Ref<CVPixelBuffer> inputPixelBufferCopy() const { return _inputPixelBuffer.copy(); }
    /// Ends with `inputPixelBufferChanged`.
    void setInputPixelBuffer(CVPixelBufferRef buffer);
    CFDictionary* pixelBufferAttributes() const { return _pixelBufferAttributes.get(); }
    void setPixelBufferAttributes(CFDictionary* attributes) { _pixelBufferAttributes.set(attributes); }
    CIContext* rendererCIContext() const { return _rendererCIContext.get(); }
    void setRendererCIContext(CIContext* context) { _rendererCIContext.set(context); }
    CGColorSpaceRef rendererColorSpace() const { return _rendererColorSpace.get(); }
    void setRendererColorSpace(CGColorSpaceRef space) { _rendererColorSpace.set(space); }

    CFDictionary* pixelBufferAttributesWithSurfaceProperties(CFDictionary* properties) const;
    /// The proportions are not kept.
    void renderInputPixelBuffer_destinationPixelBuffer(CVPixelBufferRef inputBuffer, CVPixelBufferRef renderBuffer);
    virtual Ref<CVPixelBuffer> copyOutputPixelBuffer();
    bool constructRendererWithAcceleratedContext(AVCaptureAcceleratedContextProtocol* context) override;
    virtual void inputPixelBufferChanged() { }

private:
    const CGSize _rendererDimensions;
    const std::uint32_t _rendererPixelFormat;
    ReferenceProperty<CVPixelBuffer> _inputPixelBuffer { "inputPixelBuffer" };
    AVCaptureAtomicReference<CFDictionary> _pixelBufferAttributes;
    AVCaptureAtomicReference<CIContext> _rendererCIContext;
    AVCaptureAtomicReference<CGColorSpace> _rendererColorSpace;
};
