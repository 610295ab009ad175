#include "Tovrin09/LTCCamWindow/QCViewWithImageFilterOutput.h"

#include "Tovrin09/LTCCamWindow/NSView+NormalizedMouse.h"
#include "WithRequirements/Requirements.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureDispatchFunctions.h"

namespace {

constexpr SEL didRender = "ltcView:didRenderCompositionWithVideoCVPixelBuffer:";

/// Makes the description of \p pixelBuffer, reporting in the name of \p function what went wrong.
Ref<CMFormatDescription> createFormatDescription(
    const char* function, CVPixelBufferRef pixelBuffer, const char* reportOfContradiction)
{
    Ref<CMFormatDescription> newVideoFormatDesc;
    const auto status
        = CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, pixelBuffer, &newVideoFormatDesc);
    if (status == noErr && newVideoFormatDesc)
        return newVideoFormatDesc;
    if (CFRequiredTypeOfIn(function, newVideoFormatDesc, CMFormatDescriptionGetTypeID(), "newVideoFormatDesc"))
        __CoreMediaOSStatusRequiredBody(1, function, REQUIRED_FILE, __LINE__, reportOfContradiction);
    return nullptr;
}

}

NS_IMPLEMENTATION(QCViewWithImageFilterOutput, LTCView)
{
    type.outlet("delegate", &QCViewWithImageFilterOutput::delegate, &QCViewWithImageFilterOutput::setDelegate);
    type.message("setCameraInputImage:", &QCViewWithImageFilterOutput::setCameraInputImage);
    type.message("setRenderingArguments:", &QCViewWithImageFilterOutput::setRenderingArguments);
    type.message("copySnapshotCGImageRef", &QCViewWithImageFilterOutput::copySnapshotCGImageRef);
}

void QCViewWithImageFilterOutput::setCameraInputImage(CVPixelBufferRef inputImage)
{
    setInputImage(inputImage);
    // Made once, from the first frame: a later change of the camera's format leaves it as it is.
    if (!inputVideoFormatDescription())
        setInputVideoFormatDescriptionWithCVPixelBuffer(inputImage);
    auto* const ports = attributes();
    if (!ports || !isPresent(ports->objectForKey(QCCompositionInputImageKey)))
        return;
    if (!CFRequiredNotCFNull(inputImage))
        return;
    avcapture_dispatch_main_strong_self<QCViewWithImageFilterOutput, CVPixelBuffer>(
        this, inputImage, [](QCViewWithImageFilterOutput* self, CVPixelBuffer* frame, bool /*synchronous*/) {
            self->setValue_forInputKey(frame, QCCompositionInputImageKey);
            self->setNeedsDisplay(true);
        });
}

bool QCViewWithImageFilterOutput::setInputVideoFormatDescriptionWithCVPixelBuffer(CFType* inputPixelBuffer)
{
    if (CFRequiredTypeOf(inputPixelBuffer, CVPixelBufferGetTypeID()) && !inputVideoFormatDescription()) {
        const auto description = createFormatDescription(__func__, kindOf<CVPixelBuffer>(inputPixelBuffer),
            "SRC>>CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, inputPixelBuffer, "
            "&newVideoFormatDesc)==noErr");
        if (description)
            setInputVideoFormatDescription(description);
    }
    return CFRequiredTypeOf(
        inputVideoFormatDescriptionRetainedCopy(), CMFormatDescriptionGetTypeID(), "self.inputVideoFormatDescription");
}

bool QCViewWithImageFilterOutput::setOutputVideoFormatDescriptionWithCVPixelBuffer(CFType* outputPixelBuffer)
{
    if (CFRequiredTypeOf(outputPixelBuffer, CVPixelBufferGetTypeID())) {
        auto* const buffer = kindOf<CVPixelBuffer>(outputPixelBuffer);
        if (const auto present = outputVideoFormatDescriptionRetainedCopy(); present
            && !CFRequired(CMVideoFormatDescriptionMatchesImageBuffer(present, buffer),
                "CMVideoFormatDescriptionMatchesImageBuffer(self.outputVideoFormatDescription,outputPixelBuffer)"))
            setOutputVideoFormatDescription(nullptr);
        if (!outputVideoFormatDescription()) {
            const auto description = createFormatDescription(__func__, buffer,
                "SRC>>CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, outputPixelBuffer, "
                "&newVideoFormatDesc)==noErr");
            if (description)
                setOutputVideoFormatDescription(description);
        }
    }
    return CFRequiredTypeOf(outputVideoFormatDescriptionRetainedCopy(), CMFormatDescriptionGetTypeID(),
        "self.outputVideoFormatDescription");
}

CMFormatDescriptionRef QCViewWithImageFilterOutput::videoFormatDescription()
{
    CMFormatDescriptionRef const videoFormatDescription = outputVideoFormatDescription();
    if (CFRequiredNotCFNull(videoFormatDescription))
        return videoFormatDescription;
    return inputVideoFormatDescription();
}

Ref<CMFormatDescription> QCViewWithImageFilterOutput::copyVideoFormatDescription()
{
    if (auto output = outputVideoFormatDescriptionRetainedCopy())
        return output;
    return inputVideoFormatDescriptionRetainedCopy();
}

bool QCViewWithImageFilterOutput::renderAtTime_arguments(double time, CFDictionary* arguments)
{
    const auto renderingArguments = arguments ? arguments->copy() : CFDictionary::create();
    setRenderingArguments(renderingArguments);
    const bool rendered = LTCView::renderAtTime_arguments(time, renderingArguments);
    const auto delegate = _delegate.strongReferenceOrNil();
    if (!rendered || !delegate || !delegate->respondsToSelector(didRender))
        return rendered;
    const auto output = valueForOutputKey_ofType(QCCompositionOutputImageKey, CFSTR("CVPixelBuffer"));
    auto* const buffer = kindOf<CVPixelBuffer>(output);
    if (!buffer)
        return rendered;
    setOutputImage(buffer);
    setOutputVideoFormatDescriptionWithCVPixelBuffer(buffer);
    if (auto* const told = kindOf<QCViewWithImageFilterOutputDelegate>(delegate))
        told->ltcView_didRenderCompositionWithVideoCVPixelBuffer(this, buffer);
    return rendered;
}

void QCViewWithImageFilterOutput::setRenderingArguments(CFDictionary* /*arguments*/)
{
    const auto point = normalizedMousePt();
    auto* const keys = inputKeys();
    if (!keys)
        return;
    if (keys->containsObject(QCCompositionInputXKey))
        setValue_forInputKey(CFNumber::create(static_cast<float>(point.x)).get(), QCCompositionInputXKey);
    if (keys->containsObject(QCCompositionInputYKey))
        setValue_forInputKey(CFNumber::create(static_cast<float>(point.y)).get(), QCCompositionInputYKey);
}

Ref<CFType> QCViewWithImageFilterOutput::copySnapshotCGImageRef()
{
    auto newSnapshotImage = valueForOutputKey_ofType(QCCompositionOutputImageKey, CFSTR("CGImage"));
    if (!CFRequiredNotCFNull(newSnapshotImage))
        return newSnapshotImage;
    CFRequiredTypeOf(newSnapshotImage, CGImageGetTypeID());
    return newSnapshotImage;
}

bool QCViewWithImageFilterOutput::acceptsFirstMouse(NSEvent* /*event*/)
{
    return true;
}

void QCViewWithImageFilterOutput::mouseDown(NSEvent* event)
{
    setNormalizedMousePt(NormalizedMouse::normalizedPointFromEvent(this, event));
}

void QCViewWithImageFilterOutput::mouseMoved(NSEvent* event)
{
    setNormalizedMousePt(NormalizedMouse::normalizedPointFromEvent(this, event));
}

CGPoint QCViewWithImageFilterOutput::normalizedMousePt() const
{
    return { _normalizedMouseX.load(std::memory_order_relaxed), _normalizedMouseY.load(std::memory_order_relaxed) };
}

void QCViewWithImageFilterOutput::setNormalizedMousePt(CGPoint point)
{
    _normalizedMouseX.store(point.x, std::memory_order_relaxed);
    _normalizedMouseY.store(point.y, std::memory_order_relaxed);
}
