#pragma once

#include "ZVFoundationAVCapture/AVCaptureCommon/AVCapturePixelBufferRenderer.h"

/// Scales pixel buffers into two global surfaces in turn: each input is rendered as it comes, and a reader gets the
/// surface that the input before the last one wrote, so it is one frame behind and never sees a picture half drawn.
///
/// Made for one producer. Lives as long as the process: the setters that its end asks for do not exist, since they are
/// spelled without a letter.
class AVCapturePixelBufferRendererDoubleBufferedGlobal : public AVCapturePixelBufferRenderer {
    NS_OBJECT(AVCapturePixelBufferRendererDoubleBufferedGlobal)
public:
    AVCapturePixelBufferRendererDoubleBufferedGlobal(CGSize dimensions, std::uint32_t pixelFormat);
    ~AVCapturePixelBufferRendererDoubleBufferedGlobal() override;
    static Ref<AVCapturePixelBufferRendererDoubleBufferedGlobal> initWithRendererDimensions_renderPixelFormat(
        CGSize dimensions, std::uint32_t pixelFormat);

    CFString* outputPixelBufferASync() const { return _outputPixelBufferA.sync(); }
    CVPixelBufferRef outputPixelBufferA() const { return _outputPixelBufferA.get(); }
    CVPixelBufferRef outputPixelBufferAAutoreleasedCopy() const { return _outputPixelBufferA.autoreleasedCopy(); }
    Ref<CVPixelBuffer> outputPixelBufferARetainedCopy() const { return _outputPixelBufferA.retainedCopy(); }
    Ref<CVPixelBuffer> outputPixelBufferACopy() const { return _outputPixelBufferA.copy(); }
    void setutputPixelBufferA(CVPixelBufferRef buffer) { _outputPixelBufferA.set(buffer); }
    CFString* outputPixelBufferBSync() const { return _outputPixelBufferB.sync(); }
    CVPixelBufferRef outputPixelBufferB() const { return _outputPixelBufferB.get(); }
    CVPixelBufferRef outputPixelBufferBAutoreleasedCopy() const { return _outputPixelBufferB.autoreleasedCopy(); }
    Ref<CVPixelBuffer> outputPixelBufferBRetainedCopy() const { return _outputPixelBufferB.retainedCopy(); }
    Ref<CVPixelBuffer> outputPixelBufferBCopy() const { return _outputPixelBufferB.copy(); }
    void setutputPixelBufferB(CVPixelBufferRef buffer) { _outputPixelBufferB.set(buffer); }
    std::uint64_t frameNumber() const { return _frameNumber.load(std::memory_order_relaxed); }
    void setFrameNumber(std::uint64_t number) { _frameNumber.store(number, std::memory_order_relaxed); }

    bool _createPixelBuffers();
    void inputPixelBufferChanged() override;
    Ref<CVPixelBuffer> copyOutputPixelBuffer() override;

private:
    ReferenceProperty<CVPixelBuffer> _outputPixelBufferA { "outputPixelBufferA" };
    ReferenceProperty<CVPixelBuffer> _outputPixelBufferB { "outputPixelBufferB" };
    std::atomic<std::uint64_t> _frameNumber { 0 };
};
