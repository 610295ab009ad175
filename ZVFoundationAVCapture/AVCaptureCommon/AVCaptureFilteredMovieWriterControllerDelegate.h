#pragma once

#include "Platform/CoreMedia/CMSampleBuffer.h"
#include "Platform/Foundation/NSError.h"

class AVCaptureFilteredMovieWriterController;

/// What the owner of a capture graph is asked and told. The selectors are those of the names, colons for underscores;
/// the controller asks for each before it sends it.
class AVCaptureFilteredMovieWriterControllerDelegate {
public:
    /// Asked on the write queue before each preview; true ends it.
    virtual bool recordingIsInTeardown(AVCaptureFilteredMovieWriterController* /*controller*/) { return false; }
    /// On the write queue; the buffer is valid for the call.
    virtual void recording_pixelBufferReadyForDisplay(
        AVCaptureFilteredMovieWriterController* /*controller*/, CVPixelBufferRef /*pixelBuffer*/)
    {
    }
    /// On the write queue, or on the caller's thread when a camera could not be selected. The error may be null.
    virtual void recording_handleError(AVCaptureFilteredMovieWriterController* /*controller*/, NSError* /*error*/) { }
    /// On the video queue, inside the capture callback: the next captured frame.
    /// \return the frame to go on with, the argument or another; null loses the frame
    virtual Ref<CMSampleBuffer> recording_processSampleBuffer(
        AVCaptureFilteredMovieWriterController* /*controller*/, CMSampleBufferRef sampleBuffer)
    {
        return Ref(sampleBuffer);
    }
    /// While the graph is built: the settings to use in place of \p defaults.
    virtual CFDictionary* recording_pixelBufferProperties(
        AVCaptureFilteredMovieWriterController* /*controller*/, CFDictionary* defaults)
    {
        return defaults;
    }
    /// The four steps of a recording, on the write queue.
    virtual void recordingWillStart(AVCaptureFilteredMovieWriterController* /*controller*/) { }
    virtual void recordingDidStart(AVCaptureFilteredMovieWriterController* /*controller*/) { }
    virtual void recordingWillStop(AVCaptureFilteredMovieWriterController* /*controller*/) { }
    virtual void recordingDidStop(AVCaptureFilteredMovieWriterController* /*controller*/) { }

protected:
    ~AVCaptureFilteredMovieWriterControllerDelegate() = default;
};
