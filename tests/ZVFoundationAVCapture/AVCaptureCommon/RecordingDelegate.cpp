#include "tests/ZVFoundationAVCapture/AVCaptureCommon/RecordingDelegate.h"

NS_IMPLEMENTATION(RecordingDelegate, NSObject)
{
    type.message("recordingIsInTeardown:", &RecordingDelegate::recordingIsInTeardown);
    type.message("recording:pixelBufferReadyForDisplay:", &RecordingDelegate::recording_pixelBufferReadyForDisplay);
    type.message("recording:handleError:", &RecordingDelegate::recording_handleError);
    type.message("recording:processSampleBuffer:", &RecordingDelegate::recording_processSampleBuffer);
    type.message("recording:pixelBufferProperties:", &RecordingDelegate::recording_pixelBufferProperties);
    type.message("recordingWillStart:", &RecordingDelegate::recordingWillStart);
    type.message("recordingDidStart:", &RecordingDelegate::recordingDidStart);
    type.message("recordingWillStop:", &RecordingDelegate::recordingWillStop);
    type.message("recordingDidStop:", &RecordingDelegate::recordingDidStop);
}

NS_IMPLEMENTATION(StopOnlyDelegate, NSObject)
{
    type.message("recordingWillStop:", &StopOnlyDelegate::recordingWillStop);
}
