// The recording half: the state, the asset writer with its two inputs, and the movie's file. What begins with an
// underscore runs on the write queue.

#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureFilteredMovieWriterController.h"

#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreGraphics/CGGeometry.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSPathUtilities.h"
#include "Platform/Foundation/TemporaryName.h"
#include "WithRequirements/Requirements.h"

namespace {

/// Below this many pixels a frame a movie gets fewer bits for each.
constexpr std::int32_t smallFramePixels = 640 * 480;
constexpr float bitsPerPixelOfSmallFrames = 4.05F;
constexpr float bitsPerPixelOfLargeFrames = 11.4F;
constexpr int mostFramesBetweenKeyFrames = 30;
constexpr int bitsPerSoundSample = 16;

CFDictionary* videoCompressionSettings(CMVideoDimensions dimensions)
{
    const std::int32_t pixels = dimensions.width * dimensions.height;
    const float bitsPerPixel = pixels < smallFramePixels ? bitsPerPixelOfSmallFrames : bitsPerPixelOfLargeFrames;
    const auto bitsPerSecond = static_cast<std::int64_t>(static_cast<float>(pixels) * bitsPerPixel);
    const auto compression = make<CFDictionary>();
    compression->set(AVVideoAverageBitRateKey, CFNumber::create(bitsPerSecond).get());
    compression->set(AVVideoMaxKeyFrameIntervalKey, CFNumber::create(mostFramesBetweenKeyFrames).get());
    const auto settings = make<CFDictionary>();
    settings->set(AVVideoCodecKey, AVVideoCodecH264);
    settings->set(AVVideoWidthKey, CFNumber::create(dimensions.width).get());
    settings->set(AVVideoHeightKey, CFNumber::create(dimensions.height).get());
    settings->set(AVVideoCompressionPropertiesKey, compression);
    return autorelease(settings);
}

CFDictionary* audioSettings(const AudioStreamBasicDescription* description)
{
    const auto settings = make<CFDictionary>();
    settings->set(AVFormatIDKey, CFNumber::create(kAudioFormatLinearPCM).get());
    settings->set(
        AVSampleRateKey, CFNumber::create(static_cast<float>(description ? description->mSampleRate : 0)).get());
    settings->set(AVNumberOfChannelsKey, CFNumber::create(description ? description->mChannelsPerFrame : 0).get());
    settings->set(AVLinearPCMBitDepthKey, CFNumber::create(bitsPerSoundSample).get());
    settings->set(AVLinearPCMIsFloatKey, kCFBooleanFalse);
    settings->set(AVLinearPCMIsBigEndianKey, kCFBooleanFalse);
    settings->set(AVLinearPCMIsNonInterleaved, kCFBooleanFalse);
    // Always empty: the writer takes the layout from the number of channels, whatever the source's was.
    settings->set(AVChannelLayoutKey, make<CFData>().get());
    return autorelease(settings);
}

}

CFString* AVCaptureFilteredMovieWriterController::defaultSessionOutputFolder()
{
    const auto folders = NSSearchPathForDirectoriesInDomains(NSMoviesDirectory, NSUserDomainMask, true);
    auto* const folder = folders ? kindOf<CFString>(folders->objectAtIndex(0)) : nullptr;
    return folder ? autorelease(stringByExpandingTildeInPath(folder)) : nullptr;
}

Ref<NSURL> AVCaptureFilteredMovieWriterController::recordingWithTemporaryMovieOutputURL()
{
    const AutoreleasePool pool;
    const auto name = Platform::tempnam(
        std::string(textOf(defaultSessionOutputFolder())), AVCaptureFilteredMovieWriter_movieFileNamePrefix->string());
    const char* const tempNameBytes = name ? name->c_str() : nullptr;
    if (!CFRequiredNotCFNull(tempNameBytes, "tempNameBytes"))
        return nullptr;
    const auto path = CFString::create(tempNameBytes);
    return NSURL::fileURLWithPath(stringByAppendingPathExtension(path, CFSTR("mov")).get());
}

bool AVCaptureFilteredMovieWriterController::removeFileAtURL(NSURL* fileURL)
{
    const AutoreleasePool pool;
    auto* const fileManager = NSFileManager::defaultManager();
    if (!fileURL || !fileManager->fileExistsAtPath(fileURL->path()))
        return false;
    Ref<NSError> error;
    const bool isRemoved = fileManager->removeItemAtPath_error(fileURL->path(), &error);
    return CFRequired(isRemoved, "[fileManager removeItemAtPath:fileURL.path error:&error]") && !error;
}

bool AVCaptureFilteredMovieWriterController::transitionToRecordingState(std::uint64_t newState)
{
    // The two states of passing from one to the other are refused with a line, never stored: a recording that has
    // begun but has no samples yet does not count as one, and everything that asks relies on that.
    switch (newState) {
    case AVVideoCaptureRecording_NotRecording:
    case AVVideoCaptureRecording_Recording:
        setRecordingState(newState);
        break;
    case AVVideoCaptureRecording_StartingRecording:
        (void)CFRequired(newState == AVVideoCaptureRecording_Recording, "newState==AVVideoCaptureRecording_Recording");
        break;
    case AVVideoCaptureRecording_StoppingRecording:
        (void)CFRequired(
            newState == AVVideoCaptureRecording_NotRecording, "newState==AVVideoCaptureRecording_NotRecording");
        break;
    default:
        break;
    }
    return recordingState() == newState;
}

void AVCaptureFilteredMovieWriterController::_saveMovieToCameraRoll()
{
    transitionToRecordingState(AVVideoCaptureRecording_NotRecording);
    delegatedRecordingDidStop();
}

void AVCaptureFilteredMovieWriterController::saveMovieToCameraRoll()
{
    transitionToRecordingState(AVVideoCaptureRecording_NotRecording);
    dispatchWriteQueue()->async([weakSelf = WeakRef { this }] {
        if (const auto self = weakSelf.strongReference())
            self->_saveMovieToCameraRoll();
    });
}

void AVCaptureFilteredMovieWriterController::writeSampleBuffer_ofType(
    CMSampleBufferRef sampleBuffer, AVMediaType mediaType)
{
    auto* const writer = assetWriter();
    if (!isPresent(writer))
        return;
    if (writer->status() == AVAssetWriterStatusUnknown) {
        try {
            // Whichever medium comes first, its first sample is the beginning of the movie.
            if (writer->startWriting())
                writer->startSessionAtSourceTime(CMSampleBufferGetPresentationTimeStamp(sampleBuffer));
            else
                delegatedRecordingError(writer->error());
        } catch (const NSException&) {
            // The status then says that nothing can be written.
        }
    }
    if (writer->status() != AVAssetWriterStatusWriting)
        return;
    if (mediaType == AVMediaTypeVideo) {
        auto* const input = assetWriterVideoIn();
        if (!input || !input->isReadyForMoreMediaData())
            return;
        if (!CFRequired(
                input->appendSampleBuffer(sampleBuffer), "[self.assetWriterVideoIn appendSampleBuffer:sampleBuffer]"))
            delegatedRecordingError(writer->error());
    } else if (mediaType == AVMediaTypeAudio) {
        auto* const input = assetWriterAudioIn();
        if (!input || !input->isReadyForMoreMediaData())
            return;
        if (!CFRequired(
                input->appendSampleBuffer(sampleBuffer), "[self.assetWriterAudioIn appendSampleBuffer:sampleBuffer]"))
            delegatedRecordingError(writer->error());
    }
}

CFDictionary* AVCaptureFilteredMovieWriterController::preferredAudioOutputFormatSettingsOnceWithFormatDescription(
    CMFormatDescriptionRef description)
{
    const auto* const stream = CMAudioFormatDescriptionGetStreamBasicDescription(description);
    std::size_t sizeofAudioChannelLayout = 0;
    const auto* const currentChannelLayout
        = CMAudioFormatDescriptionGetChannelLayout(description, &sizeofAudioChannelLayout);
    (void)CFRequiredNotCFNull(currentChannelLayout, "currentChannelLayout");
    (void)CFRequired(sizeofAudioChannelLayout > 0, "sizeofAudioChannelLayout>0");
    (void)CFRequired(
        sizeofAudioChannelLayout >= sizeof(AudioChannelLayout), "sizeofAudioChannelLayout>=sizeof(AudioChannelLayout)");

    auto* const writer = assetWriter();
    auto* const attempted = audioSettings(stream);
    if (CFRequired(writer && writer->canApplyOutputSettings_forMediaType(attempted, AVMediaTypeAudio),
            "[self.assetWriter canApplyOutputSettings:attemptingAudioCompressionSettings "
            "forMediaType:AVMediaTypeAudio]"))
        return attempted;
    (void)CFRequired(writer && writer->canApplyOutputSettings_forMediaType(nullptr, AVMediaTypeAudio),
        "[self.assetWriter canApplyOutputSettings:resultingAudioOutputSettings forMediaType:AVMediaTypeAudio]");
    return nullptr;
}

bool AVCaptureFilteredMovieWriterController::setupAssetWriterAudioInput(CMFormatDescriptionRef description)
{
    auto* const settings = preferredAudioOutputFormatSettingsOnceWithFormatDescription(description);
    setAssetWriterAudioIn(make<AVAssetWriterInput>(AVMediaTypeAudio, settings).get());
    auto* const input = assetWriterAudioIn();
    if (!isPresent(input))
        return false;
    input->setExpectsMediaDataInRealTime(true);
    auto* const writer = assetWriter();
    if (CFRequired(writer && writer->canAddInput(input), "[self.assetWriter canAddInput:self.assetWriterAudioIn]")) {
        writer->addInput(input);
        return true;
    }
    NSLog(CFSTR("Couldn't add asset writer audio input."));
    return false;
}

bool AVCaptureFilteredMovieWriterController::setupAssetWriterVideoInput(CMFormatDescriptionRef description)
{
    auto* const settings = videoCompressionSettings(CMVideoFormatDescriptionGetDimensions(description));
    auto* const writer = assetWriter();
    if (!CFRequired(writer && writer->canApplyOutputSettings_forMediaType(settings, AVMediaTypeVideo),
            "[self.assetWriter canApplyOutputSettings:videoCompressionSettings forMediaType:AVMediaTypeVideo]")) {
        NSLog(CFSTR("Couldn't apply video output settings."));
        return false;
    }
    setAssetWriterVideoIn(make<AVAssetWriterInput>(AVMediaTypeVideo, settings).get());
    auto* const input = assetWriterVideoIn();
    input->setExpectsMediaDataInRealTime(true);
    input->setTransform(CGAffineTransformIdentity);
    if (CFRequired(writer->canAddInput(input), "[self.assetWriter canAddInput:self.assetWriterVideoIn]")) {
        writer->addInput(input);
        return true;
    }
    NSLog(CFSTR("Couldn't add asset writer video input."));
    return false;
}

void AVCaptureFilteredMovieWriterController::_startRecording()
{
    if (recordingInProgress())
        return;
    auto* const url = movieURL();
    if (!isPresent(url))
        return;
    transitionToRecordingState(AVVideoCaptureRecording_StartingRecording);
    delegatedRecordingWillStart();
    removeFileAtURL(url);
    setAssetWriter(nullptr);
    Ref<NSError> error;
    setAssetWriter(AVAssetWriter::initWithURL_fileType_error(url, kUTTypeQuickTimeMovie, &error).get());
    if (isPresent(assetWriter()) && !error)
        return;
    delegatedRecordingError(error);
}

void AVCaptureFilteredMovieWriterController::_stopRecording()
{
    if (!recordingInProgress())
        return;
    transitionToRecordingState(AVVideoCaptureRecording_StoppingRecording);
    delegatedRecordingWillStop();
    auto* const writer = assetWriter();
    if (writer && writer->finishWriting()) {
        setAssetWriterAudioIn(nullptr);
        setAssetWriterVideoIn(nullptr);
        setAssetWriter(nullptr);
        setReadyToRecordVideo(false);
        setReadyToRecordAudio(false);
        saveMovieToCameraRoll();
    } else {
        delegatedRecordingError(writer ? writer->error() : nullptr);
    }
}

void AVCaptureFilteredMovieWriterController::_writeSampleBuffer_formatDescription_fromConnection(
    CMSampleBufferRef sampleBuffer, CMFormatDescriptionRef /*description*/, AVCaptureConnection* connection)
{
    if (!isPresent(assetWriter()))
        return;
    const bool wasReady = readyToRecordAudio() && readyToRecordVideo();
    // The sample's own description, not the one that came with it.
    CMFormatDescriptionRef description = CMSampleBufferGetFormatDescription(sampleBuffer);
    if (isFromVideoConnection(connection)) {
        if (!readyToRecordVideo())
            setReadyToRecordVideo(setupAssetWriterVideoInput(description));
        if (readyToRecordAudio() && readyToRecordVideo())
            writeSampleBuffer_ofType(sampleBuffer, AVMediaTypeVideo);
    } else if (isFromAudioConnection(connection)) {
        if (!readyToRecordAudio())
            setReadyToRecordAudio(setupAssetWriterAudioInput(description));
        if (readyToRecordAudio() && readyToRecordVideo())
            writeSampleBuffer_ofType(sampleBuffer, AVMediaTypeAudio);
    }
    if (readyToRecordAudio() && readyToRecordVideo() && !wasReady) {
        transitionToRecordingState(AVVideoCaptureRecording_Recording);
        delegatedRecordingDidStart();
    }
}

void AVCaptureFilteredMovieWriterController::asynchronousWriteSampleBuffer_withFormatDescription_fromConnection(
    CMSampleBufferRef sampleBuffer, CMFormatDescriptionRef description, AVCaptureConnection* connection)
{
    if (!isPresent(assetWriter()))
        return;
    dispatchWriteQueue()->async([weakSelf = WeakRef { this }, sampleBuffer = Ref(sampleBuffer),
                                    description = Ref(description), connection = Ref(connection)] {
        if (const auto self = weakSelf.strongReference())
            self->_writeSampleBuffer_formatDescription_fromConnection(sampleBuffer, description, connection);
    });
}

void AVCaptureFilteredMovieWriterController::actionStartRecording(NSObject* /*sender*/)
{
    dispatchWriteQueue()->async([weakSelf = WeakRef { this }] {
        if (const auto self = weakSelf.strongReference())
            self->_startRecording();
    });
}

void AVCaptureFilteredMovieWriterController::actionStopRecording(NSObject* /*sender*/)
{
    dispatchWriteQueue()->async([weakSelf = WeakRef { this }] {
        if (const auto self = weakSelf.strongReference())
            self->_stopRecording();
    });
}

void AVCaptureFilteredMovieWriterController::actionStartStopRecording(NSObject* sender)
{
    if (recordingInProgress())
        actionStopRecording(sender);
    else
        actionStartRecording(sender);
}
