#pragma once

#include "Platform/AVFoundation/AVAssetWriter.h"
#include "Platform/CoreGraphics/CGGeometry.h"
#include "Platform/CoreMedia/CMQueues.h"
#include "Platform/Foundation/NSURL.h"
#include "WithRequirements/ReferenceProperty.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCameraSessionController.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureFilteredMovieWriterControllerDelegate.h"
#include "ZVFoundationAVCapture/AVCaptureDispatchQueue/AVCaptureQueues.h"

/// The preset and the picture size of every capture session. Zero, for no preset and no forced size, until the main
/// window controller's load-time initialiser has set them; only read here.
extern CFString* AVCaptureFilteredMovieWriter_CaptureSessionPresetOrNil;
extern NSSize AVCaptureFilteredMovieWriter_CapturePixelBufferSizeOrZero;

inline CFString* const AVCaptureFilteredMovieWriter_movieFileNamePrefix = CFSTR("Tovrin Movie ");

/// Only the first and the third are ever stored; the others are requests that are refused with a line in the log.
enum AVVideoCaptureRecordingState : std::uint64_t {
    AVVideoCaptureRecording_NotRecording = 0,
    AVVideoCaptureRecording_StartingRecording = 1,
    AVVideoCaptureRecording_Recording = 2,
    AVVideoCaptureRecording_StoppingRecording = 3,
};

/// Owns the capture graph and the movie writer: receives every sample on its own queues, lets its delegate replace each
/// picture, writes pictures and sound into a movie while one is recorded, and offers each picture for display.
///
/// The capture half is in AVCaptureFilteredMovieWriterController.cpp, what it asks and tells its delegate in
/// …+Delegate.cpp and the recording half in …+Recording.cpp. An underscore in front marks an operation that belongs to
/// one of the queues.
class AVCaptureFilteredMovieWriterController : public AVCameraSessionController,
                                               public AVCaptureAudioDataOutputSampleBufferDelegate,
                                               public AVCaptureVideoDataOutputSampleBufferDelegate {
    NS_OBJECT(AVCaptureFilteredMovieWriterController)
public:
    AVCaptureFilteredMovieWriterController();
    ~AVCaptureFilteredMovieWriterController() override;

    CFString* previewBufferQueueSync() const { return _previewBufferQueue.sync(); }
    CMBufferQueueRef previewBufferQueue() const { return _previewBufferQueue.get(); }
    CMBufferQueueRef previewBufferQueueAutoreleasedCopy() const { return _previewBufferQueue.autoreleasedCopy(); }
    Ref<CMBufferQueue> previewBufferQueueRetainedCopy() const { return _previewBufferQueue.retainedCopy(); }
    Ref<CMBufferQueue> previewBufferQueueCopy() const { return _previewBufferQueue.copy(); }
    void setPreviewBufferQueue(CMBufferQueueRef queue) { _previewBufferQueue.set(queue); }

    NSObject* delegate() const { return _weakDelegate.retainedAndAutoreleasedOrNil(); }
    void setDelegate(NSObject* delegate) { _weakDelegate = delegate; }
    AVCaptureSession* captureSession() const { return session(); }
    void setCaptureSession(AVCaptureSession* session) { setSession(session); }

    // Properties.
    bool isRecording() const { return _isRecording; }
    bool readyToRecordAudio() const { return _readyToRecordAudio; }
    void setReadyToRecordAudio(bool ready) { _readyToRecordAudio = ready; }
    bool readyToRecordVideo() const { return _readyToRecordVideo; }
    void setReadyToRecordVideo(bool ready) { _readyToRecordVideo = ready; }
    FourCharCode videoType() const { return _videoType; }
    double videoFrameRate() const { return _videoFrameRate; }
    CMVideoDimensions videoDimensions() const;
    NSMutableArray* previousSecondTimestamps() const { return _previousSecondTimestamps.get(); }
    std::uint64_t recordingState() const { return _recordingState; }
    void setRecordingState(std::uint64_t state);
    NSURL* movieURL() const { return _movieURL.get(); }
    void setMovieURL(NSURL* url);
    AVCaptureAudioDataOutput* audioDataOutput() const { return _audioDataOutput.get(); }
    void setAudioDataOutput(AVCaptureAudioDataOutput* output) { _audioDataOutput.set(output); }
    AVCaptureVideoDataOutput* videoDataOutput() const { return _videoDataOutput.get(); }
    void setVideoDataOutput(AVCaptureVideoDataOutput* output) { _videoDataOutput.set(output); }
    AVAssetWriter* assetWriter() const { return _assetWriter.get(); }
    void setAssetWriter(AVAssetWriter* writer) { _assetWriter.set(writer); }
    AVAssetWriterInput* assetWriterAudioIn() const { return _assetWriterAudioIn.get(); }
    void setAssetWriterAudioIn(AVAssetWriterInput* input) { _assetWriterAudioIn.set(input); }
    AVAssetWriterInput* assetWriterVideoIn() const { return _assetWriterVideoIn.get(); }
    void setAssetWriterVideoIn(AVAssetWriterInput* input) { _assetWriterVideoIn.set(input); }
    AVCaptureDispatchMainQueue* dispatchMainQueueUI() const { return _dispatchMainQueueUI.get(); }
    AVCaptureFileWritingQueue* dispatchWriteQueue() const { return _dispatchWriteQueue.get(); }
    AVCaptureRenderingQueue* dispatchAudioQueue() const { return _dispatchAudioQueue.get(); }
    AVCaptureRenderingQueue* dispatchVideoQueue() const { return _dispatchVideoQueue.get(); }
    AVCaptureRenderingQueue* processingQueue() const { return _processingQueue.get(); }
    AVCaptureDeviceInput* videoDeviceInput() const { return _videoDeviceInput.get(); }
    void setVideoDeviceInput(AVCaptureDeviceInput* input);

    // What the delegate is asked and told.
    void delegatedRecordingDidStart();
    void delegatedRecordingDidStop();
    void delegatedRecordingWillStart();
    void delegatedRecordingWillStop();
    void delegatedRecordingError(NSError* error);
    CFDictionary* delegatedPixelBufferProperties();
    void delegatedPreviewVideoSampleBuffer(CMSampleBufferRef sampleBuffer);
    void delegatedProcessPixelBuffer(CVPixelBufferRef pixelBuffer);
    void _delegatedSampleBufferImagePreview(CMSampleBufferRef sampleBuffer);
    Ref<CMSampleBuffer> _delegatedSynchronousImageProcessingOfSampleBuffer(CMSampleBufferRef sampleBuffer);

    // Capture.
    static CFDictionary* defaultVideoCapturePixelBufferSettings();
    void calculateFramerateAtTimestamp(const CMTime& timestamp);
    AVCaptureConnection* videoConnection() const;
    AVCaptureConnection* audioConnection() const;
    bool isFromVideoConnection(AVCaptureConnection* connection) const;
    bool isFromAudioConnection(AVCaptureConnection* connection) const;
    void captureOutput_didOutputSampleBuffer_fromConnection(
        AVCaptureOutput* output, CMSampleBufferRef sampleBuffer, AVCaptureConnection* connection) override;
    bool _setupCaptureSessionConnections();
    bool captureSessionConnectionsAreSetup() const;
    void setupAndStartCaptureSession();
    void stopAndTearDownCaptureSession();
    void _captureSessionStoppedRunningNotification(NSNotification* notification);
    void actionPauseCaptureSession(NSObject* sender);
    void actionResumeCaptureSession(NSObject* sender);
    void actionPauseResumeRecording(NSObject* sender);
    static Ref<NSSet> keyPathsForValuesAffectingSelectedVideoDevice();
    AVCaptureDevice* selectedVideoDevice() override;
    void setSelectedVideoDevice(AVCaptureDevice* device) override;

    // Recording.
    static CFString* defaultSessionOutputFolder();
    static Ref<NSURL> recordingWithTemporaryMovieOutputURL();
    static bool removeFileAtURL(NSURL* fileURL);
    std::uint64_t recording() const { return recordingState(); }
    void setRecording(std::uint64_t state) { setRecordingState(state); }
    bool transitionToRecordingState(std::uint64_t newState);
    NSURL* recordingMovieURL() const { return movieURL(); }
    bool recordingInProgress() const { return recordingState() != AVVideoCaptureRecording_NotRecording; }
    void _saveMovieToCameraRoll();
    void saveMovieToCameraRoll();
    void writeSampleBuffer_ofType(CMSampleBufferRef sampleBuffer, AVMediaType mediaType);
    CFDictionary* preferredAudioOutputFormatSettingsOnceWithFormatDescription(CMFormatDescriptionRef description);
    bool setupAssetWriterAudioInput(CMFormatDescriptionRef description);
    bool setupAssetWriterVideoInput(CMFormatDescriptionRef description);
    void _startRecording();
    void _stopRecording();
    void _writeSampleBuffer_formatDescription_fromConnection(
        CMSampleBufferRef sampleBuffer, CMFormatDescriptionRef description, AVCaptureConnection* connection);
    void asynchronousWriteSampleBuffer_withFormatDescription_fromConnection(
        CMSampleBufferRef sampleBuffer, CMFormatDescriptionRef description, AVCaptureConnection* connection);
    void actionStartRecording(NSObject* sender);
    void actionStopRecording(NSObject* sender);
    void actionStartStopRecording(NSObject* sender);

private:
    Ref<NSObject> delegateRespondingTo(SEL selector) const;
    void addAudioInput();
    void addAudioOutput();
    void addVideoInput();
    bool addVideoOutput();
    void applySessionPreset();
    void videoSampleBufferCame(CMSampleBufferRef sampleBuffer, AVCaptureConnection* connection);
    void selectVideoDevice(AVCaptureSession* session, AVCaptureDevice* device);

    AVCapture::WeakOptional _weakDelegate;
    ReferenceProperty<CMBufferQueue> _previewBufferQueue { "previewBufferQueue" };
    std::atomic<bool> _isRecording { false };
    std::atomic<bool> _readyToRecordAudio { false };
    std::atomic<bool> _readyToRecordVideo { false };
    std::atomic<FourCharCode> _videoType { 0 };
    std::atomic<std::uint64_t> _recordingState { AVVideoCaptureRecording_NotRecording };
    std::atomic<double> _videoFrameRate { 0 };
    std::atomic<std::uint64_t> _videoDimensions { 0 }; ///< the bits of a CMVideoDimensions: one word for every compiler
    AVCaptureAtomicReference<NSURL> _movieURL;
    AVCaptureAtomicReference<NSMutableArray> _previousSecondTimestamps;
    AVCaptureAtomicReference<AVCaptureAudioDataOutput> _audioDataOutput;
    AVCaptureAtomicReference<AVCaptureVideoDataOutput> _videoDataOutput;
    AVCaptureAtomicReference<AVAssetWriter> _assetWriter;
    AVCaptureAtomicReference<AVAssetWriterInput> _assetWriterAudioIn;
    AVCaptureAtomicReference<AVAssetWriterInput> _assetWriterVideoIn;
    AVCaptureAtomicReference<AVCaptureDispatchMainQueue> _dispatchMainQueueUI;
    AVCaptureAtomicReference<AVCaptureFileWritingQueue> _dispatchWriteQueue;
    AVCaptureAtomicReference<AVCaptureRenderingQueue> _dispatchAudioQueue;
    AVCaptureAtomicReference<AVCaptureRenderingQueue> _dispatchVideoQueue;
    AVCaptureAtomicReference<AVCaptureRenderingQueue> _processingQueue;
    AVCaptureAtomicReference<AVCaptureDeviceInput> _videoDeviceInput;
};
