#include "Tovrin09/LTCCamWindow/LTCCamWindowController.h"

#include "Platform/AppKit/NSApplication.h"
#include "WithRequirements/Requirements.h"
#include "WithRequirements/ZVOperatingSystemVersion.h"

namespace {

constexpr SEL didOutputPixelBuffer = "camWindowController:didOutputPixelBuffer:";

}

void LTCCamWindowController_CaptureDefaultsConstructor()
{
    AVCaptureFilteredMovieWriter_CapturePixelBufferSizeOrZero = NSMakeSize(1280, 720);
    AVCaptureFilteredMovieWriter_CaptureSessionPresetOrNil = AVCaptureSessionPreset1280x720;
}

NS_IMPLEMENTATION(LTCCamWindowController, NSWindowController)
{
    using Self = LTCCamWindowController;
    type.outlet("delegate", &Self::delegate, &Self::setDelegate);
    type.outlet("outletQCView", &Self::outletQCView);
    type.outlet("outletQCParameterView", &Self::outletQCParameterView);
    type.outlet("outletQCPickerView", &Self::outletQCPickerView);
    type.outlet("outletMovieWriter", &Self::outletMovieWriter);
    type.outlet("outletRevealPictures", &Self::outletRevealPictures);
    type.outlet("outletRevealMovies", &Self::outletRevealMovies);
    type.outlet("outletCaptureFormat", &Self::outletCaptureFormat);
    type.outlet("outletProcessedFormat", &Self::outletProcessedFormat);
    type.outlet("outletThumbnailRenderer", &Self::outletThumbnailRenderer);
    type.outlet("outletButtonStartStopRecording", &Self::outletButtonStartStopRecording);

    type.message("windowWillClose:", &Self::windowWillClose);
    type.message("draggingEntered:", &Self::draggingEntered);
    type.message("performDragOperation:", &Self::performDragOperation);
    type.message("applicationWillFinishLaunching:", &Self::applicationWillFinishLaunching);
    type.message("applicationDidFinishLaunching:", &Self::applicationDidFinishLaunching);
    type.message("applicationWillTerminate:", &Self::applicationWillTerminate);
    type.message("actionToggleWindowVisibility:", &Self::actionToggleWindowVisibility);
    type.message("actionFakeWebCamPanel:", &Self::actionFakeWebCamPanel);
    type.message("actionToggleCompositionPicker:", &Self::actionToggleCompositionPicker);
    type.message("actionButtonStartStopRecording:", &Self::actionButtonStartStopRecording);
    type.message("actionButtonSavePNG:", &Self::actionButtonSavePNG);
    type.message("recording:processSampleBuffer:", &Self::recording_processSampleBuffer);
    type.message("recordingIsInTeardown:", &Self::recordingIsInTeardown);
    type.message("recording:pixelBufferReadyForDisplay:", &Self::recording_pixelBufferReadyForDisplay);
    type.message("recording:handleError:", &Self::recording_handleError);
    type.message("ltcView:didRenderCompositionWithVideoCVPixelBuffer:",
        &Self::ltcView_didRenderCompositionWithVideoCVPixelBuffer);
    type.message("_didSelectComposition:", &Self::_didSelectComposition);
    type.message("compositionPickerView:didSelectComposition:", &Self::compositionPickerView_didSelectComposition);
    type.message(
        "compositionPickerView:shouldIncludeComposition:", &Self::compositionPickerView_shouldIncludeComposition);
    type.message("compositionParameterView:shouldDisplayParameterWithKey:attributes:",
        &Self::compositionParameterView_shouldDisplayParameterWithKey_attributes);
    type.message("compositionParameterView:didChangeParameterWithKey:",
        &Self::compositionParameterView_didChangeParameterWithKey);

    type.key("snapInProgress", &Self::snapInProgress, &Self::setSnapInProgress);
    type.key("recordingInProgress", &Self::recordingInProgress, &Self::setRecordingInProgress);
    type.key("cameraPreviewFlippedY", &Self::cameraPreviewFlippedY, &Self::setCameraPreviewFlippedY);
    type.key("currentOSVersion", &Self::currentOSVersion);
    type.key("recentMovieRecordingURL", &Self::recentMovieRecordingURL, &Self::setRecentMovieRecordingURL);
    type.key("recentPhotoSnapshotURL", &Self::recentPhotoSnapshotURL, &Self::setRecentPhotoSnapshotURL);
}

LTCCamWindowController::LTCCamWindowController(NSWindow* window)
    : NSWindowController(window)
{
}

LTCCamWindowController::~LTCCamWindowController()
{
    destructWeakDelegates();
    setRecentMovieRecordingURL(nullptr);
    setRecentPhotoSnapshotURL(nullptr);
    setHiddenProtocolKeys(nullptr);
    setHiddenCompositionIdentifiers(nullptr);
}

Ref<CFString> LTCCamWindowController::windowNibName()
{
    return NSStringFromClass(classObject());
}

void LTCCamWindowController::windowDidLoad()
{
    NSWindowController::windowDidLoad();
    if (outletQCView.strongReference())
        setCameraPreviewFlippedY(LTCView::classDefaultIsPreviewFlipped());
    if (auto* const shown = window())
        shown->registerForDraggedTypes(CFArray::create({ NSPasteboardTypeFileURL }).get());
}

void LTCCamWindowController::windowWillClose(NSNotification* /*notification*/)
{
    _stopCapturingVideo();
    if (const auto view = outletQCView.strongReference())
        view->stopRendering();
    destructWeakDelegates();
    NSApplication::sharedApplication()->terminate(this);
}

void LTCCamWindowController::destructWeakDelegates()
{
    if (const auto view = outletQCView.strongReference())
        view->setDelegate(nullptr);
    if (const auto parameters = outletQCParameterView.strongReference())
        parameters->setDelegate(nullptr);
    if (auto* const picker = kindOf<LTCCompositionPickerViewProtocol>(outletQCPickerView.strongReference().get()))
        picker->setDelegate(nullptr);
    outletQCView = nullptr;
    outletQCParameterView = nullptr;
    outletQCPickerView = nullptr;
}

void LTCCamWindowController::applicationWillFinishLaunching(NSNotification* /*notification*/)
{
    if (outletQCView.strongReference())
        prepareCompositions();
    if (const auto movies = outletRevealMovies.strongReference()) {
        auto* const folder = AVCaptureFilteredMovieWriterController::defaultSessionOutputFolder();
        movies->setRepresentedFolderURL(NSURL::fileURLWithPath(folder).get());
    }
    if (const auto pictures = outletRevealPictures.strongReference())
        pictures->setRepresentedFolderURL(defaultPictureSavingFolderURL().get());
}

void LTCCamWindowController::applicationDidFinishLaunching(NSNotification* /*notification*/)
{
    NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
        this, "_didSelectComposition:", QCCompositionPickerPanelDidSelectCompositionNotification, nullptr);
    if (const auto writer = outletMovieWriter.strongReference())
        writer->setupAndStartCaptureSession();
    if (const auto view = outletQCView.strongReference())
        view->startRendering();
}

void LTCCamWindowController::applicationWillTerminate(NSNotification* /*notification*/)
{
    _stopCapturingVideo();
    NSNotificationCenter::defaultCenter()->removeObserver_name_object(
        this, QCCompositionPickerPanelDidSelectCompositionNotification, nullptr);
}

void LTCCamWindowController::_stopCapturingVideo()
{
    const auto writer = outletMovieWriter.strongReference();
    // The second time the delegate is gone and nothing happens.
    if (!writer || writer->delegate() != this)
        return;
    writer->setDelegate(nullptr);
    writer->stopAndTearDownCaptureSession();
}

void LTCCamWindowController::actionToggleWindowVisibility(NSObject* sender)
{
    auto* const toggled = kindOf<NSWindow>(sender);
    if (!toggled)
        return;
    if (toggled->isVisible())
        toggled->orderOut(this);
    else
        toggled->orderFront(this);
}

void LTCCamWindowController::actionFakeWebCamPanel(NSObject* sender)
{
    const auto delegate = _delegate.strongReferenceOrNil();
    if (!delegate || !delegate->respondsToSelector("actionFakeWebCamPanel:"))
        return;
    if (auto* const told = kindOf<LTCCamWindowControllerDelegate>(delegate))
        told->actionFakeWebCamPanel(sender);
}

void LTCCamWindowController::actionToggleCompositionPicker(NSObject* /*sender*/) { }

void LTCCamWindowController::actionButtonStartStopRecording(NSObject* sender)
{
    const auto writer = outletMovieWriter.strongReference();
    if (!writer)
        return;
    const NSKeyValueChange change(this, "recordingInProgress");
    // The writer decides, not the button: it may have ended a recording on its own.
    if (writer->recordingInProgress()) {
        writer->actionStopRecording(sender);
        setRecordingInProgress(false);
        return;
    }
    writer->actionStartRecording(sender);
    setRecordingInProgress(true);
    setRecentMovieRecordingURL(writer->recordingMovieURL());
}

void LTCCamWindowController::setSnapInProgress(bool inProgress)
{
    const NSKeyValueChange change(this, "snapInProgress");
    _snapInProgress = inProgress;
}

void LTCCamWindowController::setRecordingInProgress(bool inProgress)
{
    const NSKeyValueChange change(this, "recordingInProgress");
    _recordingInProgress = inProgress;
}

void LTCCamWindowController::setRecentMovieRecordingURL(NSURL* url)
{
    const NSKeyValueChange change(this, "recentMovieRecordingURL");
    _recentMovieRecordingURL.set(url);
}

void LTCCamWindowController::setRecentPhotoSnapshotURL(NSURL* url)
{
    const NSKeyValueChange change(this, "recentPhotoSnapshotURL");
    _recentPhotoSnapshotURL.set(url);
}

bool LTCCamWindowController::cameraPreviewFlippedY() const
{
    const auto view = outletQCView.strongReference();
    return view && view->isPreviewFlippedY();
}

void LTCCamWindowController::setCameraPreviewFlippedY(bool flipped)
{
    const NSKeyValueChange change(this, "cameraPreviewFlippedY");
    if (const auto view = outletQCView.strongReference())
        view->setIsPreviewFlippedY(flipped);
}

Ref<CFString> LTCCamWindowController::currentOSVersion() const
{
    const auto version = ZVOperatingSystemVersion_GetCurrentStruct();
    const auto text = CFFormat("%d.%02d.%02d", { version.majorVersion, version.minorVersion, version.patchVersion });
    return CFStringCreateWithFormat(CFSTR("defaultCameraPreviewFlippedY:%@ %@"),
        CFBoolean::of(LTCView::classDefaultIsPreviewFlipped()), CFString::create(text));
}

Ref<CMSampleBuffer> LTCCamWindowController::recording_processSampleBuffer(
    AVCaptureFilteredMovieWriterController* /*controller*/, CMSampleBufferRef sampleBuffer)
{
    CVPixelBufferRef const capturePixelBuffer = CMSampleBufferGetImageBuffer(sampleBuffer);
    if (!CFRequiredTypeOf(capturePixelBuffer, CVPixelBufferGetTypeID()))
        return sampleBuffer;
    const auto processedPixelBuffer = copyProcessedPixelBufferWithInputPixelBuffer(capturePixelBuffer);
    if (!CFRequiredTypeOf(processedPixelBuffer, CVPixelBufferGetTypeID()))
        return sampleBuffer;

    Ref<CMSampleBuffer> result(sampleBuffer);
    const auto processedVideoDesc
        = copyVideoFormatDescriptionFromCaptureSampleBuffer_forProcessedPixelBuffer(sampleBuffer, processedPixelBuffer);
    if (CFRequiredTypeOf(processedVideoDesc, CMFormatDescriptionGetTypeID())) {
        // Stamped with the moment of processing: the frame comes from an earlier moment of capture anyway.
        CMSampleTimingInfo timing;
        timing.presentationTimeStamp = CMClockGetTime(CMClockGetHostTimeClock());
        Ref<CMSampleBuffer> processedSampleBuffer;
        const auto status = CMSampleBufferCreateForImageBuffer(
            kCFAllocatorDefault, processedPixelBuffer, true, processedVideoDesc, &timing, &processedSampleBuffer);
        if (status == noErr)
            result = std::move(processedSampleBuffer);
    }

    const auto delegate = _delegate.strongReferenceOrNil();
    if (delegate && delegate->respondsToSelector(didOutputPixelBuffer)) {
        if (auto* const told = kindOf<LTCCamWindowControllerDelegate>(delegate))
            told->camWindowController_didOutputPixelBuffer(this, processedPixelBuffer);
    }
    return result;
}

Ref<CVPixelBuffer> LTCCamWindowController::copyProcessedPixelBufferWithInputPixelBuffer(
    CVPixelBufferRef inputPixelBuffer)
{
    const auto view = outletQCView.strongReference();
    if (!view)
        return inputPixelBuffer;
    view->setCameraInputImage(inputPixelBuffer);
    setQCPickerViewPreviewInputImage(inputPixelBuffer);
    if (auto newest = view->outputImageRetainedCopy())
        return newest;
    return inputPixelBuffer;
}

Ref<CMFormatDescription>
LTCCamWindowController::copyVideoFormatDescriptionFromCaptureSampleBuffer_forProcessedPixelBuffer(
    CMSampleBufferRef sampleBuffer, CVPixelBufferRef processedPixelBuffer)
{
    CVPixelBufferRef const capturePixelBuffer = CMSampleBufferGetImageBuffer(sampleBuffer);
    if (!CFRequiredTypeOf(capturePixelBuffer, CVPixelBufferGetTypeID()))
        return nullptr;
    CMFormatDescriptionRef const captureFormatDesc = CMSampleBufferGetFormatDescription(sampleBuffer);
    if (!CFRequiredTypeOf(captureFormatDesc, CMFormatDescriptionGetTypeID()))
        return nullptr;
    if (const auto captureFormat = outletCaptureFormat.strongReference())
        captureFormat->setVideoFormatDescription(captureFormatDesc);

    const auto capturedWidth = static_cast<std::uint32_t>(CVPixelBufferGetWidth(capturePixelBuffer));
    const auto capturedHeight = static_cast<std::uint32_t>(CVPixelBufferGetHeight(capturePixelBuffer));
    const auto capturePixelFormat = CVPixelBufferGetPixelFormatType(capturePixelBuffer);
    const auto processedWidth = static_cast<std::uint32_t>(CVPixelBufferGetWidth(processedPixelBuffer));
    const auto processedHeight = static_cast<std::uint32_t>(CVPixelBufferGetHeight(processedPixelBuffer));
    const auto processedPixelFormat = CVPixelBufferGetPixelFormatType(processedPixelBuffer);

    const auto view = outletQCView.strongReference();
    const auto processedFormatDesc = view ? view->copyVideoFormatDescription() : nullptr;
    if (CFRequiredTypeOf(processedFormatDesc, CMFormatDescriptionGetTypeID())) {
        if (const auto processedFormat = outletProcessedFormat.strongReference())
            processedFormat->setVideoFormatDescription(processedFormatDesc);
        return processedFormatDesc;
    }
    if (!CFRequired((capturedWidth == processedWidth) && (capturedHeight == processedHeight),
            "(capturedWidth==processedWidth) && (capturedHeight==processedHeight)"))
        return nullptr;
    if (!CFRequired(capturePixelFormat == processedPixelFormat, "capturePixelFormat==processedPixelFormat"))
        return nullptr;
    if (!CFRequired(CMVideoFormatDescriptionMatchesImageBuffer(captureFormatDesc, processedPixelBuffer),
            "CMVideoFormatDescriptionMatchesImageBuffer(captureFormatDesc,processedPixelBuffer)"))
        return nullptr;
    return captureFormatDesc;
}

bool LTCCamWindowController::recordingIsInTeardown(AVCaptureFilteredMovieWriterController* /*controller*/)
{
    return false;
}

void LTCCamWindowController::recording_pixelBufferReadyForDisplay(
    AVCaptureFilteredMovieWriterController* /*controller*/, CVPixelBufferRef /*pixelBuffer*/)
{
    // The filter output view draws the window's picture.
}

void LTCCamWindowController::recording_handleError(
    AVCaptureFilteredMovieWriterController* /*controller*/, NSError* /*error*/)
{
}

void LTCCamWindowController::ltcView_didRenderCompositionWithVideoCVPixelBuffer(
    LTCView* /*view*/, CVPixelBufferRef /*buffer*/)
{
    // Must exist: the view stores no output for a delegate without it.
}
