#pragma once

#include "CoreLattice/LTCCompositionParameterView.h"
#include "CoreLattice/LTCCompositionParameterViewDelegate.h"
#include "CoreLattice/LTCCompositionPickerViewDelegate.h"
#include "CoreLattice/LTCCompositionPickerViewProtocol.h"
#include "Platform/AppKit/NSButton.h"
#include "Platform/AppKit/NSWindowController.h"
#include "Platform/Foundation/NSSet.h"
#include "Platform/Foundation/NSURL.h"
#include "Tovrin09/LTCCamWindow/CMFormatDescriptionModel.h"
#include "Tovrin09/LTCCamWindow/LTCCamWindowControllerDelegate.h"
#include "Tovrin09/LTCCamWindow/LTCThumbnailInputRenderer.h"
#include "Tovrin09/LTCCamWindow/NXRolloverTextFieldRevealFolder.h"
#include "Tovrin09/LTCCamWindow/QCViewWithImageFilterOutput.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureFilteredMovieWriterController.h"

/// A picture for the picker's tiles and what is still to be done to it.
struct tagThumbnailImage {
    Ref<CVPixelBuffer> pixelBuffer;
    CGAffineTransform transform;
};

/// The controller of the main window and the application's side of the capture graph: sends each captured frame through
/// the filter, hands the newest filtered one back to the recorder and on to its delegate, and serves the window's
/// controls.
///
/// Compositions are in LTCCamWindowController+Compositions.cpp, snapshots in LTCCamWindowController+Snapshots.cpp.
class LTCCamWindowController : public NSWindowController,
                               public NSWindowDelegate,
                               public NSDraggingDestination,
                               public AVCaptureFilteredMovieWriterControllerDelegate,
                               public LTCCompositionParameterViewDelegate,
                               public LTCCompositionPickerViewDelegate,
                               public QCViewWithImageFilterOutputDelegate {
    NS_OBJECT(LTCCamWindowController)
public:
    LTCCamWindowController() = default;
    explicit LTCCamWindowController(NSWindow* window);
    ~LTCCamWindowController() override;

    // Window.
    Ref<CFString> windowNibName() override;
    void windowDidLoad() override;
    void windowWillClose(NSNotification* notification) override;
    void destructWeakDelegates();
    NSObject* delegate() const { return _delegate.retainedAndAutoreleasedOrNil(); }
    void setDelegate(NSObject* delegate) { _delegate = delegate; }

    // Launch and quit.
    void applicationWillFinishLaunching(NSNotification* notification);
    void applicationDidFinishLaunching(NSNotification* notification);
    void applicationWillTerminate(NSNotification* notification);

    // Actions.
    void actionToggleWindowVisibility(NSObject* sender);
    void actionFakeWebCamPanel(NSObject* sender);
    void actionToggleCompositionPicker(NSObject* sender);
    void actionButtonStartStopRecording(NSObject* sender);
    void actionButtonSavePNG(NSObject* sender);

    // What bindings read.
    bool snapInProgress() const { return _snapInProgress; }
    void setSnapInProgress(bool inProgress);
    bool recordingInProgress() const { return _recordingInProgress; }
    void setRecordingInProgress(bool inProgress);
    NSURL* recentMovieRecordingURL() const { return _recentMovieRecordingURL.get(); }
    void setRecentMovieRecordingURL(NSURL* url);
    NSURL* recentPhotoSnapshotURL() const { return _recentPhotoSnapshotURL.get(); }
    void setRecentPhotoSnapshotURL(NSURL* url);
    bool cameraPreviewFlippedY() const;
    void setCameraPreviewFlippedY(bool flipped);
    Ref<CFString> currentOSVersion() const;

    // Frames, off the main thread.
    Ref<CMSampleBuffer> recording_processSampleBuffer(
        AVCaptureFilteredMovieWriterController* controller, CMSampleBufferRef sampleBuffer) override;
    bool recordingIsInTeardown(AVCaptureFilteredMovieWriterController* controller) override;
    void recording_pixelBufferReadyForDisplay(
        AVCaptureFilteredMovieWriterController* controller, CVPixelBufferRef pixelBuffer) override;
    void recording_handleError(AVCaptureFilteredMovieWriterController* controller, NSError* error) override;
    /// The newest filtered frame, or \p inputPixelBuffer itself where there is none. Waits for nothing.
    Ref<CVPixelBuffer> copyProcessedPixelBufferWithInputPixelBuffer(CVPixelBufferRef inputPixelBuffer);
    /// Null when no description fits \p processedPixelBuffer.
    Ref<CMFormatDescription> copyVideoFormatDescriptionFromCaptureSampleBuffer_forProcessedPixelBuffer(
        CMSampleBufferRef sampleBuffer, CVPixelBufferRef processedPixelBuffer);
    void ltcView_didRenderCompositionWithVideoCVPixelBuffer(LTCView* view, CVPixelBufferRef buffer) override;

    // Compositions.
    static Ref<NSSet> copyHiddenCompositionIdentifiers();
    static Ref<NSSet> copyHiddenProtocolKeys();
    NSSet* hiddenCompositionIdentifiers() const { return _hiddenCompositionIdentifiers.get(); }
    void setHiddenCompositionIdentifiers(NSSet* identifiers) { _hiddenCompositionIdentifiers.set(identifiers); }
    NSSet* hiddenProtocolKeys() const { return _hiddenProtocolKeys.get(); }
    void setHiddenProtocolKeys(NSSet* keys) { _hiddenProtocolKeys.set(keys); }
    void prepareCompositions();
    void prepareSoundOfCompositions();
    void prepareLTCCompositionPickerView();
    void prepareLTCCompositionPreviewView();
    void prepareLTCCompositionParameterView();
    void selectComposition(CFType* composition);
    void _didSelectComposition(NSNotification* notification);
    void compositionPickerView_didSelectComposition(
        LTCCompositionPickerView* view, QCComposition* composition) override;
    bool compositionPickerView_shouldIncludeComposition(
        LTCCompositionPickerView* view, QCComposition* composition) override;
    bool compositionParameterView_shouldDisplayParameterWithKey_attributes(
        LTCCompositionParameterView* view, CFString* key, CFDictionary* attributes) override;
    void compositionParameterView_didChangeParameterWithKey(LTCCompositionParameterView* view, CFString* key) override;
    void setQCPickerViewPreviewInputImage(CVPixelBufferRef videoImage);
    void setQCPickerViewPreviewInputImageOnMainThread(CVPixelBufferRef videoImage);
    tagThumbnailImage _thumbnailPixelBufferWithPixelBuffer(CVPixelBufferRef videoImage);

    // Compositions' files that are dropped on the window.
    NSDragOperation draggingEntered(NSDraggingInfo* sender) override;
    bool performDragOperation(NSDraggingInfo* sender) override;

    // Snapshots.
    static Ref<NSURL> defaultPictureSavingFolderURL();
    Ref<NSURL> uniquePictureURLWithinFolderURL(NSURL* folderURL);
    bool saveSnapshotImageToURL(NSURL* url);

    // Set by the interface files; read on any thread, unchanged from launch to quit.
    WeakRef<QCViewWithImageFilterOutput> outletQCView;
    WeakRef<LTCCompositionParameterView> outletQCParameterView;
    WeakRef<NSObject> outletQCPickerView;
    WeakRef<AVCaptureFilteredMovieWriterController> outletMovieWriter;
    WeakRef<NXRolloverTextFieldRevealFolder> outletRevealPictures;
    WeakRef<NXRolloverTextFieldRevealFolder> outletRevealMovies;
    WeakRef<CMFormatDescriptionModel> outletCaptureFormat;
    WeakRef<CMFormatDescriptionModel> outletProcessedFormat;
    WeakRef<LTCThumbnailInputRenderer> outletThumbnailRenderer;
    WeakRef<NSButton> outletButtonStartStopRecording;

private:
    void _stopCapturingVideo();

    AVCapture::WeakOptional _delegate;
    AVCaptureAtomicReference<NSSet> _hiddenProtocolKeys;
    AVCaptureAtomicReference<NSSet> _hiddenCompositionIdentifiers;
    std::atomic<bool> _snapInProgress = false;
    std::atomic<bool> _recordingInProgress = false;
    AVCaptureAtomicReference<NSURL> _recentMovieRecordingURL;
    AVCaptureAtomicReference<NSURL> _recentPhotoSnapshotURL;
};

/// Sets the preset and the picture size of every capture session. Runs when the program is loaded, after the log
/// exists.
void LTCCamWindowController_CaptureDefaultsConstructor();
