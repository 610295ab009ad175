#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureFilteredMovieWriterController.h"

#include "Platform/CoreMedia/CMTimeValue.h"
#include "Platform/Foundation/NSLog.h"
#include "WithRequirements/Requirements.h"

#include <bit>

namespace {

const std::initializer_list<std::string_view> affectingSelectedVideoDevice { "videoDeviceInput" };

}

NS_IMPLEMENTATION(AVCaptureFilteredMovieWriterController, AVCameraSessionController)
{
    using Self = AVCaptureFilteredMovieWriterController;
    type.message("delegate", &Self::delegate);
    type.message("setDelegate:", &Self::setDelegate);
    type.message("captureOutput:didOutputSampleBuffer:fromConnection:",
        &Self::captureOutput_didOutputSampleBuffer_fromConnection);
    type.message("setupAndStartCaptureSession", &Self::setupAndStartCaptureSession);
    type.message("stopAndTearDownCaptureSession", &Self::stopAndTearDownCaptureSession);
    type.message("_captureSessionStoppedRunningNotification:", &Self::_captureSessionStoppedRunningNotification);
    type.message("actionPauseCaptureSession:", &Self::actionPauseCaptureSession);
    type.message("actionResumeCaptureSession:", &Self::actionResumeCaptureSession);
    type.message("actionPauseResumeRecording:", &Self::actionPauseResumeRecording);
    type.message("actionStartRecording:", &Self::actionStartRecording);
    type.message("actionStopRecording:", &Self::actionStopRecording);
    type.message("actionStartStopRecording:", &Self::actionStartStopRecording);
    type.key("recordingState", &Self::recordingState, &Self::setRecordingState);
    type.key("recording", &Self::recording, &Self::setRecording);
    type.key("recordingInProgress", &Self::recordingInProgress);
    type.key("movieURL", &Self::movieURL, &Self::setMovieURL);
    type.key("recordingMovieURL", &Self::recordingMovieURL);
    type.key("videoFrameRate", &Self::videoFrameRate);
    type.key("videoDeviceInput", &Self::videoDeviceInput, &Self::setVideoDeviceInput);
    type.key("captureSession", &Self::captureSession, &Self::setCaptureSession);
    type.dependentKey("selectedVideoDevice", affectingSelectedVideoDevice);
    type.outlet("delegate", &Self::delegate, &Self::setDelegate);
}

namespace {

/// The steps of the setup report under the one operation that they make up.
constexpr const char* setupFunction = "_setupCaptureSessionConnections";

}

CFString* AVCaptureFilteredMovieWriter_CaptureSessionPresetOrNil = nullptr;
NSSize AVCaptureFilteredMovieWriter_CapturePixelBufferSizeOrZero {};

AVCaptureFilteredMovieWriterController::AVCaptureFilteredMovieWriterController()
{
    const AutoreleasePool pool;
    _dispatchMainQueueUI.set(AVCaptureDispatchMainQueue::queueWithNameThatDoesNotWaitUntilEmpty(
        CFSTR("AVCaptureFilteredMovieWriterController.dispatchMainQueueUI")));
    _dispatchWriteQueue.set(
        AVCaptureFileWritingQueue::queueWithName(CFSTR("AVCaptureFilteredMovieWriterController.dispatchWriteQueue")));
    _dispatchVideoQueue.set(
        AVCaptureRenderingQueue::queueWithName(CFSTR("AVCaptureFilteredMovieWriterController.dispatchVideoQueue")));
    _dispatchAudioQueue.set(
        AVCaptureRenderingQueue::queueWithName(CFSTR("AVCaptureFilteredMovieWriterController.dispatchAudioQueue")));
    _processingQueue.set(
        AVCaptureRenderingQueue::queueWithName(CFSTR("AVCaptureFilteredMovieWriterController.processingQueue")));
    _previousSecondTimestamps.set(CFArray::create());
}

AVCaptureFilteredMovieWriterController::~AVCaptureFilteredMovieWriterController()
{
    const AutoreleasePool pool;
    if (session())
        stopAndTearDownCaptureSession();
    setPreviewBufferQueue(nullptr);
}

CMVideoDimensions AVCaptureFilteredMovieWriterController::videoDimensions() const
{
    return std::bit_cast<CMVideoDimensions>(_videoDimensions.load());
}

void AVCaptureFilteredMovieWriterController::setRecordingState(std::uint64_t state)
{
    const NSKeyValueChange change(this, "recordingState");
    _recordingState = state;
}

void AVCaptureFilteredMovieWriterController::setMovieURL(NSURL* url)
{
    const NSKeyValueChange change(this, "movieURL");
    _movieURL.set(url);
}

void AVCaptureFilteredMovieWriterController::setVideoDeviceInput(AVCaptureDeviceInput* input)
{
    const NSKeyValueChange change(this, "videoDeviceInput");
    _videoDeviceInput.set(input);
}

CFDictionary* AVCaptureFilteredMovieWriterController::defaultVideoCapturePixelBufferSettings()
{
    const auto settings = make<CFDictionary>();
    settings->set(kCVPixelBufferPixelFormatTypeKey, CFNumber::create(kCVPixelFormatType_32BGRA).get());
    settings->set(kCVPixelBufferIOSurfacePropertiesKey, make<CFDictionary>().get());
    settings->set(kCVPixelBufferMetalCompatibilityKey, kCFBooleanTrue);
    const auto& size = AVCaptureFilteredMovieWriter_CapturePixelBufferSizeOrZero;
    if (size != NSZeroSize) {
        settings->set(kCVPixelBufferWidthKey, CFNumber::create(size.width).get());
        settings->set(kCVPixelBufferHeightKey, CFNumber::create(size.height).get());
    }
    return autorelease(settings);
}

void AVCaptureFilteredMovieWriterController::calculateFramerateAtTimestamp(const CMTime& timestamp)
{
    auto* const timestamps = previousSecondTimestamps();
    timestamps->append(NSValue::valueWithCMTime(timestamp).get());
    const CMTime limit = CMTimeSubtract(timestamp, CMTimeMake(1, 1));
    while (const auto* const first = kindOf<NSValue>(timestamps->objectAtIndex(0))) {
        if (CMTimeCompare(first->CMTimeValue(), limit) >= 0)
            break;
        timestamps->removeObjectAtIndex(0);
    }
    _videoFrameRate = (_videoFrameRate + static_cast<double>(timestamps->count())) * 0.5;
}

AVCaptureConnection* AVCaptureFilteredMovieWriterController::videoConnection() const
{
    const auto* const output = videoDataOutput();
    return output ? output->connectionWithMediaType(AVMediaTypeVideo) : nullptr;
}

AVCaptureConnection* AVCaptureFilteredMovieWriterController::audioConnection() const
{
    const auto* const output = audioDataOutput();
    return output ? output->connectionWithMediaType(AVMediaTypeAudio) : nullptr;
}

bool AVCaptureFilteredMovieWriterController::isFromVideoConnection(AVCaptureConnection* connection) const
{
    return connection == videoConnection();
}

bool AVCaptureFilteredMovieWriterController::isFromAudioConnection(AVCaptureConnection* connection) const
{
    return connection == audioConnection();
}

void AVCaptureFilteredMovieWriterController::captureOutput_didOutputSampleBuffer_fromConnection(
    AVCaptureOutput* /*output*/, CMSampleBufferRef sampleBuffer, AVCaptureConnection* connection)
{
    const AutoreleasePool pool;
    if (isFromVideoConnection(connection)) {
        videoSampleBufferCame(sampleBuffer, connection);
    } else if (isFromAudioConnection(connection)) {
        CMFormatDescriptionRef description = CMSampleBufferGetFormatDescription(sampleBuffer);
        if (isPresent(assetWriter()))
            asynchronousWriteSampleBuffer_withFormatDescription_fromConnection(sampleBuffer, description, connection);
    }
}

void AVCaptureFilteredMovieWriterController::videoSampleBufferCame(
    CMSampleBufferRef sampleBuffer, AVCaptureConnection* connection)
{
    const auto processedSampleBuffer = _delegatedSynchronousImageProcessingOfSampleBuffer(sampleBuffer);
    if (!CFRequiredTypeOfIn("captureOutput_didOutputSampleBuffer_fromConnection", processedSampleBuffer,
            CMSampleBufferGetTypeID(), "processedSampleBuffer"))
        return;
    CMFormatDescriptionRef description = CMSampleBufferGetFormatDescription(processedSampleBuffer);
    calculateFramerateAtTimestamp(CMSampleBufferGetPresentationTimeStamp(processedSampleBuffer));
    if (videoDimensions() == CMVideoDimensions {})
        _videoDimensions = std::bit_cast<std::uint64_t>(CMVideoFormatDescriptionGetDimensions(description));
    if (_videoType == 0)
        _videoType = CMFormatDescriptionGetMediaSubType(description);
    if (isPresent(assetWriter()))
        asynchronousWriteSampleBuffer_withFormatDescription_fromConnection(
            processedSampleBuffer, description, connection);
    _delegatedSampleBufferImagePreview(processedSampleBuffer);
}

bool AVCaptureFilteredMovieWriterController::_setupCaptureSessionConnections()
{
    addAudioInput();
    addAudioOutput();
    addVideoInput();
    if (!addVideoOutput())
        return true;
    applySessionPreset();
    return true;
}

void AVCaptureFilteredMovieWriterController::addAudioInput()
{
    auto* const device = audioDeviceInFirstPosition();
    if (!isPresent(device))
        return;
    Ref<NSError> error;
    const auto audioInput = AVCaptureDeviceInput::initWithDevice_error(device, &error);
    if (!audioInput || error)
        return;
    auto* const session = captureSession();
    if (CFRequiredIn(
            setupFunction, session && session->canAddInput(audioInput), "[self.captureSession canAddInput:audioInput]"))
        session->addInput(audioInput);
}

void AVCaptureFilteredMovieWriterController::addAudioOutput()
{
    const auto output = make<AVCaptureAudioDataOutput>();
    if (auto* const queue = dispatchAudioQueue()->queue())
        output->setSampleBufferDelegate_queue(this, queue);
    auto* const session = captureSession();
    if (!CFRequiredIn(setupFunction, session && session->canAddOutput(output),
            "[self.captureSession canAddOutput:audioDataOutput]"))
        return;
    session->addOutput(output);
    setAudioDataOutput(output);
}

void AVCaptureFilteredMovieWriterController::addVideoInput()
{
    auto* const device = videoDeviceFaceTimeOrDeviceInDefaultPosition();
    if (!isPresent(device))
        return;
    Ref<NSError> error;
    const auto input = AVCaptureDeviceInput::initWithDevice_error(device, &error);
    if (!input || error)
        return;
    auto* const session = captureSession();
    if (!CFRequiredIn(setupFunction, session && session->canAddInput(input),
            "[self.captureSession canAddInput:videoDeviceInput]"))
        return;
    session->addInput(input);
    setVideoDeviceInput(input);
}

bool AVCaptureFilteredMovieWriterController::addVideoOutput()
{
    const auto output = make<AVCaptureVideoDataOutput>();
    if (!output)
        return false;
    output->setAlwaysDiscardsLateVideoFrames(true);
    output->setVideoSettings(delegatedPixelBufferProperties());
    if (auto* const queue = dispatchVideoQueue()->queue())
        output->setSampleBufferDelegate_queue(this, queue);
    auto* const session = captureSession();
    if (!CFRequiredIn(setupFunction, session && session->canAddOutput(output),
            "[self.captureSession canAddOutput:videoDataOutput]"))
        return true;
    session->addOutput(output);
    setVideoDataOutput(output);
    return true;
}

void AVCaptureFilteredMovieWriterController::applySessionPreset()
{
    auto* const preset = AVCaptureFilteredMovieWriter_CaptureSessionPresetOrNil;
    if (!preset)
        return;
    auto* const session = captureSession();
    if (CFRequiredIn(setupFunction, session && session->canSetSessionPreset(preset),
            "[self.captureSession canSetSessionPreset:AVCaptureFilteredMovieWriter_CaptureSessionPresetOrNil]"))
        session->setSessionPreset(preset);
}

bool AVCaptureFilteredMovieWriterController::captureSessionConnectionsAreSetup() const
{
    return audioConnection() || videoConnection();
}

void AVCaptureFilteredMovieWriterController::setupAndStartCaptureSession()
{
    const AutoreleasePool pool;
    // A graph that was torn down has no session any more: its parts are then refused with their lines.
    auto* const present = captureSession();
    if (!isPresent(movieURL()))
        setMovieURL(recordingWithTemporaryMovieOutputURL().get());
    setPreviewBufferQueue(nullptr);
    Ref<CMBufferQueue> queue;
    const OSStatus status
        = CMBufferQueueCreate(kCFAllocatorDefault, 1, CMBufferQueueGetCallbacksForUnsortedSampleBuffers(), &queue);
    if (!OSStatusRequired(status,
            "CMBufferQueueCreate(kCFAllocatorDefault, 1, CMBufferQueueGetCallbacksForUnsortedSampleBuffers(), "
            "&_previewBufferQueue)"))
        return;
    setPreviewBufferQueue(queue);
    (void)CFRequiredTypeOf(previewBufferQueue(), CMBufferQueueGetTypeID(), "self.previewBufferQueue");
    if (!captureSessionConnectionsAreSetup())
        _setupCaptureSessionConnections();
    NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
        this, "_captureSessionStoppedRunningNotification:", AVCaptureSessionDidStopRunningNotification, present);
    if (present && !present->isRunning())
        present->startRunning();
}

void AVCaptureFilteredMovieWriterController::stopAndTearDownCaptureSession()
{
    const AutoreleasePool pool;
    if (auto* const present = captureSession()) {
        present->stopRunning();
        NSNotificationCenter::defaultCenter()->removeObserver_name_object(
            this, AVCaptureSessionDidStopRunningNotification, present);
        destructRecordingSession();
    }
    setPreviewBufferQueue(nullptr);
    dispatchWriteQueue()->waitUntilQueueEmpty();
}

void AVCaptureFilteredMovieWriterController::_captureSessionStoppedRunningNotification(NSNotification* /*notification*/)
{
    dispatchWriteQueue()->async([weakSelf = WeakRef { this }] {
        const auto self = weakSelf.strongReference();
        if (self && self->recordingInProgress())
            self->_stopRecording();
    });
}

void AVCaptureFilteredMovieWriterController::actionPauseCaptureSession(NSObject* /*sender*/)
{
    auto* const present = captureSession();
    if (isPresent(present) && present->isRunning())
        present->stopRunning();
}

void AVCaptureFilteredMovieWriterController::actionResumeCaptureSession(NSObject* /*sender*/)
{
    auto* const present = captureSession();
    if (isPresent(present) && !present->isRunning())
        present->startRunning();
}

void AVCaptureFilteredMovieWriterController::actionPauseResumeRecording(NSObject* sender)
{
    auto* const present = captureSession();
    if (!isPresent(present))
        return;
    if (present->isRunning())
        actionPauseCaptureSession(sender);
    else
        actionResumeCaptureSession(sender);
}

Ref<NSSet> AVCaptureFilteredMovieWriterController::keyPathsForValuesAffectingSelectedVideoDevice()
{
    return make<NSSet>(affectingSelectedVideoDevice);
}

AVCaptureDevice* AVCaptureFilteredMovieWriterController::selectedVideoDevice()
{
    const auto* const input = videoDeviceInput();
    return input ? input->device() : nullptr;
}

void AVCaptureFilteredMovieWriterController::setSelectedVideoDevice(AVCaptureDevice* device)
{
    if (isPresent(device)) {
        NSLog(CFSTR("AVControllerBase::setSelectedVideoDevice(%@)\n"), device->localizedName());
        sessionConfigurationWithBlock(
            [this, device](AVCaptureSession* session) { selectVideoDevice(session, device); });
    }
    NSLog(CFSTR("(selectedVideoDevice)%@ = AVControllerBase::setSelectedVideoDevice\n"), selectedVideoDevice());
}

void AVCaptureFilteredMovieWriterController::selectVideoDevice(AVCaptureSession* session, AVCaptureDevice* device)
{
    if (auto* const old = videoDeviceInput()) {
        session->removeInput(old);
        setVideoDeviceInput(nullptr);
    }
    Ref<NSError> error;
    auto* const newInput = AVCaptureDeviceInput::deviceInputWithDevice_error(device, &error);
    if (newInput && !error) {
        if (CFRequiredIn("setSelectedVideoDevice", session->canAddInput(newInput),
                "[session canAddInput:newVideoDeviceInput]")) {
            updateSessionPresetForSelectedDevice(device);
            session->addInput(newInput);
            setVideoDeviceInput(newInput);
            return;
        }
    }
    delegatedRecordingError(error);
}
