#include "ZVFoundationAVCapture/AVCaptureCommon/AVCapturePixelBufferRendererDoubleBufferedGlobal.h"

#include "Platform/Foundation/NSLog.h"
#include "WithRequirements/Requirements.h"

NS_IMPLEMENTATION(AVCapturePixelBufferRendererDoubleBufferedGlobal, AVCapturePixelBufferRenderer)
{
    using Self = AVCapturePixelBufferRendererDoubleBufferedGlobal;
    type.message("setutputPixelBufferA:", &Self::setutputPixelBufferA);
    type.message("setutputPixelBufferB:", &Self::setutputPixelBufferB);
    type.key("frameNumber", &Self::frameNumber, &Self::setFrameNumber);
}

AVCapturePixelBufferRendererDoubleBufferedGlobal::AVCapturePixelBufferRendererDoubleBufferedGlobal(
    CGSize dimensions, std::uint32_t pixelFormat)
    : AVCapturePixelBufferRenderer(dimensions, pixelFormat)
{
    const AutoreleasePool pool;
    const auto properties = CFDictionary::create({ { kIOSurfaceIsGlobal, kCFBooleanTrue } });
    setPixelBufferAttributes(pixelBufferAttributesWithSurfaceProperties(properties));
    _createPixelBuffers();
}

AVCapturePixelBufferRendererDoubleBufferedGlobal::~AVCapturePixelBufferRendererDoubleBufferedGlobal()
{
    // No method carries these names, so the host's failure for an unknown message strikes. It ends here, with its line:
    // the surfaces go with their fields.
    try {
        performSelector("setOutputPixelBufferA:");
        performSelector("setOutputPixelBufferB:");
    } catch (const NSException& exception) {
        NSLog(CFSTR("%@"), CFString::create(exception.reason()));
    }
}

Ref<AVCapturePixelBufferRendererDoubleBufferedGlobal>
AVCapturePixelBufferRendererDoubleBufferedGlobal::initWithRendererDimensions_renderPixelFormat(
    CGSize dimensions, std::uint32_t pixelFormat)
{
    return make<AVCapturePixelBufferRendererDoubleBufferedGlobal>(dimensions, pixelFormat);
}

bool AVCapturePixelBufferRendererDoubleBufferedGlobal::_createPixelBuffers()
{
    const AutoreleasePool pool;
    const auto create = [this](Ref<CVPixelBuffer>& buffer) {
        return CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(rendererDimensions().width),
            static_cast<std::size_t>(rendererDimensions().height), rendererPixelFormat(), pixelBufferAttributes(),
            &buffer);
    };
    Ref<CVPixelBuffer> madeA;
    (void)CoreVideoRequired(create(madeA),
        "CVPixelBufferCreate(kCFAllocatorDefault, self.rendererDimensions.width, self.rendererDimensions.height, "
        "self.rendererPixelFormat, self.pixelBufferAttributes, &_outputPixelBufferA)");
    (void)CFRequiredTypeOf(madeA, CVPixelBufferGetTypeID(), "_outputPixelBufferA");
    setutputPixelBufferA(madeA);
    Ref<CVPixelBuffer> madeB;
    (void)CoreVideoRequired(create(madeB),
        "CVPixelBufferCreate(kCFAllocatorDefault, self.rendererDimensions.width, self.rendererDimensions.height, "
        "self.rendererPixelFormat, self.pixelBufferAttributes, &_outputPixelBufferB)");
    (void)CFRequiredTypeOf(madeB, CVPixelBufferGetTypeID(), "_outputPixelBufferB");
    setutputPixelBufferB(madeB);
    const bool hasA = CFRequiredTypeOf(outputPixelBufferA(), CVPixelBufferGetTypeID(), "self.outputPixelBufferA");
    const bool hasB = CFRequiredTypeOf(outputPixelBufferB(), CVPixelBufferGetTypeID(), "self.outputPixelBufferB");
    return hasA && hasB;
}

void AVCapturePixelBufferRendererDoubleBufferedGlobal::inputPixelBufferChanged()
{
    const AutoreleasePool pool;
    const auto input = inputPixelBufferRetainedCopy();
    if (!CFRequiredTypeOf(input, CVPixelBufferGetTypeID(), "inputPixelBufferRetainedCopy"))
        return;
    const auto output = copyOutputPixelBuffer();
    if (!CFRequiredTypeOf(output, CVPixelBufferGetTypeID(), "outputPixelBufferRetainedCopy"))
        return;
    // The counter moves between the choice and the render: from now on readers get the other surface.
    setFrameNumber(frameNumber() + 1);
    renderInputPixelBuffer_destinationPixelBuffer(input, output);
}

Ref<CVPixelBuffer> AVCapturePixelBufferRendererDoubleBufferedGlobal::copyOutputPixelBuffer()
{
    return frameNumber() % 2 == 1 ? outputPixelBufferBRetainedCopy() : outputPixelBufferARetainedCopy();
}
