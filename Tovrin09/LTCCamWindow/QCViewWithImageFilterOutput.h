#pragma once

#include "CoreLattice/LTCView.h"
#include "Platform/CoreGraphics/CGImage.h"
#include "Platform/CoreMedia/CMFormatDescription.h"
#include "Tovrin09/LTCCamWindow/QCViewWithImageFilterOutputDelegate.h"
#include "WithRequirements/ReferenceProperty.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureWeakOptional.h"

/// The picture of the main window and the filter stage of the frame path in one: takes camera frames in on any thread,
/// keeps the newest rendered frame for the capture queue to fetch without waiting, follows the formats of both sides,
/// feeds the pointer to the composition, and gives a still on demand.
///
/// Camera frames and rendered frames live in slots of one; the newest replaces the one before.
class QCViewWithImageFilterOutput : public LTCView {
    NS_OBJECT(QCViewWithImageFilterOutput)
public:
    CFString* inputVideoFormatDescriptionSync() const { return _inputVideoFormatDescription.sync(); }
    CMFormatDescriptionRef inputVideoFormatDescription() const { return _inputVideoFormatDescription.get(); }
    CMFormatDescriptionRef inputVideoFormatDescriptionAutoreleasedCopy() const
    {
        return _inputVideoFormatDescription.autoreleasedCopy();
    }
    Ref<CMFormatDescription> inputVideoFormatDescriptionRetainedCopy() const
    {
        return _inputVideoFormatDescription.retainedCopy();
    }
    Ref<CMFormatDescription> inputVideoFormatDescriptionCopy() const { return _inputVideoFormatDescription.copy(); }
    void setInputVideoFormatDescription(CMFormatDescriptionRef value) { _inputVideoFormatDescription.set(value); }

    CFString* outputVideoFormatDescriptionSync() const { return _outputVideoFormatDescription.sync(); }
    CMFormatDescriptionRef outputVideoFormatDescription() const { return _outputVideoFormatDescription.get(); }
    CMFormatDescriptionRef outputVideoFormatDescriptionAutoreleasedCopy() const
    {
        return _outputVideoFormatDescription.autoreleasedCopy();
    }
    Ref<CMFormatDescription> outputVideoFormatDescriptionRetainedCopy() const
    {
        return _outputVideoFormatDescription.retainedCopy();
    }
    Ref<CMFormatDescription> outputVideoFormatDescriptionCopy() const { return _outputVideoFormatDescription.copy(); }
    void setOutputVideoFormatDescription(CMFormatDescriptionRef value) { _outputVideoFormatDescription.set(value); }

    CFString* outputImageSync() const { return _outputImage.sync(); }
    CVPixelBufferRef outputImage() const { return _outputImage.get(); }
    CVPixelBufferRef outputImageAutoreleasedCopy() const { return _outputImage.autoreleasedCopy(); }
    Ref<CVPixelBuffer> outputImageRetainedCopy() const { return _outputImage.retainedCopy(); }
    Ref<CVPixelBuffer> outputImageCopy() const { return _outputImage.copy(); }
    void setOutputImage(CVPixelBufferRef value) { _outputImage.set(value); }

    CFString* inputImageSync() const { return _inputImage.sync(); }
    CVPixelBufferRef inputImage() const { return _inputImage.get(); }
    CVPixelBufferRef inputImageAutoreleasedCopy() const { return _inputImage.autoreleasedCopy(); }
    Ref<CVPixelBuffer> inputImageRetainedCopy() const { return _inputImage.retainedCopy(); }
    Ref<CVPixelBuffer> inputImageCopy() const { return _inputImage.copy(); }
    void setInputImage(CVPixelBufferRef value) { _inputImage.set(value); }

    NSObject* delegate() const { return _delegate.retainedAndAutoreleasedOrNil(); }
    void setDelegate(NSObject* delegate) { _delegate = delegate; }

    /// The next camera frame; any thread.
    void setCameraInputImage(CVPixelBufferRef inputImage);
    /// \return whether a valid description exists now
    bool setInputVideoFormatDescriptionWithCVPixelBuffer(CFType* inputPixelBuffer);
    bool setOutputVideoFormatDescriptionWithCVPixelBuffer(CFType* outputPixelBuffer);
    /// Of the rendered frames, or else of the camera's.
    CMFormatDescriptionRef videoFormatDescription();
    Ref<CMFormatDescription> copyVideoFormatDescription();

    bool renderAtTime_arguments(double time, CFDictionary* arguments) override;
    /// Gives the pointer's place to the composition; the arguments are not looked at.
    void setRenderingArguments(CFDictionary* arguments);
    /// The picture as it stands now, rendered by the composition framework; normally a `CGImage`.
    Ref<CFType> copySnapshotCGImageRef();

    bool acceptsFirstMouse(NSEvent* event) override;
    void mouseDown(NSEvent* event) override;
    void mouseMoved(NSEvent* event) override;
    /// In fractions of the view, from the bottom left.
    CGPoint normalizedMousePt() const;
    void setNormalizedMousePt(CGPoint point);

private:
    ReferenceProperty<CMFormatDescription> _inputVideoFormatDescription { "inputVideoFormatDescription" };
    ReferenceProperty<CMFormatDescription> _outputVideoFormatDescription { "outputVideoFormatDescription" };
    ReferenceProperty<CVPixelBuffer> _outputImage { "outputImage" };
    ReferenceProperty<CVPixelBuffer> _inputImage { "inputImage" };
    // Written on the main thread and read in the render, without a lock between the two.
    std::atomic<double> _normalizedMouseX = 0.5;
    std::atomic<double> _normalizedMouseY = 0.5;
    AVCapture::WeakOptional _delegate;
};
