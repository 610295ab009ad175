// What the controller asks and tells its delegate. A delegate is tested before every call, never trusted to be there.

#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureFilteredMovieWriterController.h"

#include "WithRequirements/Requirements.h"

using Delegate = AVCaptureFilteredMovieWriterControllerDelegate;

/// The guard of every call: the delegate, if it is there and has the message.
Ref<NSObject> AVCaptureFilteredMovieWriterController::delegateRespondingTo(SEL selector) const
{
    auto object = _weakDelegate.strongReferenceOrNil();
    if (!isPresent(object.get()) || !object->respondsToSelector(selector))
        return nullptr;
    return object;
}

void AVCaptureFilteredMovieWriterController::delegatedRecordingDidStart()
{
    const auto object = delegateRespondingTo("recordingDidStart:");
    if (auto* const receiver = kindOf<Delegate>(object))
        receiver->recordingDidStart(this);
}

void AVCaptureFilteredMovieWriterController::delegatedRecordingDidStop()
{
    const auto object = delegateRespondingTo("recordingDidStop:");
    if (auto* const receiver = kindOf<Delegate>(object))
        receiver->recordingDidStop(this);
}

void AVCaptureFilteredMovieWriterController::delegatedRecordingWillStart()
{
    const auto object = delegateRespondingTo("recordingWillStart:");
    if (auto* const receiver = kindOf<Delegate>(object))
        receiver->recordingWillStart(this);
}

void AVCaptureFilteredMovieWriterController::delegatedRecordingWillStop()
{
    // The test is for the start's message, not the stop's: a delegate without that one is not told.
    const auto object = delegateRespondingTo("recordingDidStart:");
    if (auto* const receiver = kindOf<Delegate>(object))
        receiver->recordingWillStop(this);
}

void AVCaptureFilteredMovieWriterController::delegatedRecordingError(NSError* error)
{
    const auto object = delegateRespondingTo("recording:handleError:");
    if (auto* const receiver = kindOf<Delegate>(object))
        receiver->recording_handleError(this, error);
}

CFDictionary* AVCaptureFilteredMovieWriterController::delegatedPixelBufferProperties()
{
    auto* const defaults = defaultVideoCapturePixelBufferSettings();
    const auto object = delegateRespondingTo("recording:pixelBufferProperties:");
    auto* const receiver = kindOf<Delegate>(object);
    return receiver ? receiver->recording_pixelBufferProperties(this, defaults) : defaults;
}

void AVCaptureFilteredMovieWriterController::delegatedProcessPixelBuffer(CVPixelBufferRef /*pixelBuffer*/) { }

void AVCaptureFilteredMovieWriterController::delegatedPreviewVideoSampleBuffer(CMSampleBufferRef sampleBuffer)
{
    if (!delegate())
        return;
    const auto asked = delegateRespondingTo("recordingIsInTeardown:");
    auto* const answerer = kindOf<Delegate>(asked);
    const bool recordingInTeardown = answerer && answerer->recordingIsInTeardown(this);
    if (!CFRequired(!recordingInTeardown, "!recordingInTeardown"))
        return;
    CVPixelBufferRef pixelBufferRef = CMSampleBufferGetImageBuffer(sampleBuffer);
    if (!CFRequiredTypeOf(pixelBufferRef, CVPixelBufferGetTypeID(), "pixelBufferRef"))
        return;
    const auto object = delegateRespondingTo("recording:pixelBufferReadyForDisplay:");
    if (auto* const receiver = kindOf<Delegate>(object))
        receiver->recording_pixelBufferReadyForDisplay(this, pixelBufferRef);
}

void AVCaptureFilteredMovieWriterController::_delegatedSampleBufferImagePreview(CMSampleBufferRef sampleBuffer)
{
    const auto queue = previewBufferQueueRetainedCopy();
    // While an earlier frame waits for the write queue, this one is not shown.
    if (CMBufferQueueEnqueue(queue.get(), sampleBuffer) != noErr)
        return;
    dispatchWriteQueue()->async([weakSelf = WeakRef { this }] {
        const auto self = weakSelf.strongReference();
        if (!self)
            return;
        const auto sampleBufferRef = CMBufferQueueDequeueAndRetain(self->previewBufferQueueRetainedCopy().get());
        if (!CFRequiredTypeOfIn(
                "_delegatedSampleBufferImagePreview", sampleBufferRef, CMSampleBufferGetTypeID(), "sampleBufferRef"))
            return;
        self->delegatedPreviewVideoSampleBuffer(sampleBufferRef);
    });
}

Ref<CMSampleBuffer> AVCaptureFilteredMovieWriterController::_delegatedSynchronousImageProcessingOfSampleBuffer(
    CMSampleBufferRef sampleBuffer)
{
    if (!delegateRespondingTo("recording:processSampleBuffer:"))
        return sampleBuffer;
    // Fetched once more: a delegate that has gone in between takes the frame with it.
    const auto object = _weakDelegate.strongReferenceOrNil();
    auto* const receiver = kindOf<Delegate>(object);
    return receiver ? receiver->recording_processSampleBuffer(this, sampleBuffer) : nullptr;
}
