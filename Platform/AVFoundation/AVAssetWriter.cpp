#include "Platform/AVFoundation/AVAssetWriter.h"

#include "Platform/AVFoundation/AVAssetWriterSession.h"
#include "Platform/AVFoundation/AVAssetWriterSettings.h"
#include "Platform/AVFoundation/AVMediaFormat.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/NSError.h"
#include "Platform/Foundation/NSURL.h"

#include <algorithm>

NS_IMPLEMENTATION(AVAssetWriter, NSObject)
{
    type.message("finishWriting", &AVAssetWriter::finishWriting);
    type.message("cancelWriting", &AVAssetWriter::cancelWriting);
    type.key("status", &AVAssetWriter::status);
    type.key("error", &AVAssetWriter::error);
}

Ref<AVAssetWriter> AVAssetWriter::initWithURL_fileType_error(NSURL* url, CFString* fileType, Ref<NSError>* error)
{
    NSErrorReturn(error, nullptr);
    if (const auto status = FAIL_POINT("AVAssetWriter.initWithURL:fileType:error:")) {
        NSErrorReturn(
            error, NSError::errorWithMessage(NSOSStatusErrorDomain, *status, "The movie writer could not be made"));
        return nullptr;
    }
    if (!url || !url->isFileURL()) {
        NSErrorReturn(error, NSError::errorWithErrno(EINVAL, "A movie needs the URL of a file"));
        return nullptr;
    }
    if (!fileType || !CFEqual(fileType, kUTTypeQuickTimeMovie)) {
        NSErrorReturn(error, NSError::errorWithErrno(ENOTSUP, "Movies are written as QuickTime files"));
        return nullptr;
    }
    return make<AVAssetWriter>(url);
}

AVAssetWriter::AVAssetWriter(NSURL* url)
    : mURL(url)
    , mSession(std::make_shared<AVAssetWriterSession>())
{
}

AVAssetWriter::~AVAssetWriter()
{
    if (mSession->isOpen())
        mSession->finish();
}

AVAssetWriterStatus AVAssetWriter::status() const noexcept
{
    return mSession->status();
}

NSError* AVAssetWriter::error() const
{
    return autorelease(mSession->error());
}

bool AVAssetWriter::canApplyOutputSettings_forMediaType(CFDictionary* outputSettings, CFString* mediaType) const
{
    if (FAIL_POINT("AVAssetWriter.canApplyOutputSettings:forMediaType:"))
        return false;
    return AVAssetWriterSettings::canApply(outputSettings, mediaType);
}

bool AVAssetWriter::canAddInput(AVAssetWriterInput* input) const
{
    if (FAIL_POINT("AVAssetWriter.canAddInput:"))
        return false;
    return input && !input->mSession && status() == AVAssetWriterStatusUnknown && !inputOf(input->mediaType());
}

void AVAssetWriter::addInput(AVAssetWriterInput* input)
{
    if (!input || input->mSession || status() != AVAssetWriterStatusUnknown || inputOf(input->mediaType()))
        throw NSException(NSInvalidArgumentException, "The input cannot be added to the writer");
    mInputs.push_back(Ref(input));
    input->attach(mSession);
}

AVAssetWriterInput* AVAssetWriter::inputOf(CFString* mediaType) const
{
    const auto found = std::find_if(
        mInputs.begin(), mInputs.end(), [&](const auto& input) { return input->mediaType() == mediaType; });
    return found == mInputs.end() ? nullptr : found->get();
}

bool AVAssetWriter::startWriting()
{
    if (status() == AVAssetWriterStatusFailed)
        return false;
    if (status() != AVAssetWriterStatusUnknown)
        throw NSException(NSInternalInconsistencyException, "Writing has started already");
    if (mInputs.empty())
        throw NSException(NSInternalInconsistencyException, "Writing cannot start without inputs");
    if (const auto code = FAIL_POINT("AVAssetWriter.startWriting"))
        return mSession->fail(NSError::errorWithMessage(NSOSStatusErrorDomain, *code, "Writing could not start"));

    std::optional<AVAssetWriterSession::PictureInput> picture;
    std::optional<AudioStreamBasicDescription> sound;
    auto* const pictureInput = inputOf(AVMediaTypeVideo);
    auto* const soundInput = inputOf(AVMediaTypeAudio);
    if (pictureInput)
        picture = { AVAssetWriterSettings::picture(pictureInput->outputSettings()), pictureInput->mTransform,
            pictureInput->expectsMediaDataInRealTime() };
    if (soundInput && soundInput->outputSettings())
        sound = AVAssetWriterSettings::sound(soundInput->outputSettings());
    return mSession->open(
        mURL->fileSystemRepresentation(), picture ? &*picture : nullptr, soundInput, sound ? &*sound : nullptr);
}

void AVAssetWriter::startSessionAtSourceTime(const CMTime& startTime)
{
    if (status() != AVAssetWriterStatusWriting || mSession->hasStarted())
        throw NSException(NSInternalInconsistencyException, "A session cannot start now");
    if (!CMTIME_IS_VALID(startTime))
        throw NSException(NSInvalidArgumentException, "A session cannot start at an invalid time");
    mSession->start(startTime);
}

bool AVAssetWriter::finishWriting()
{
    if (FAIL_POINT("AVAssetWriter.finishWriting"))
        return false;
    const bool hasBeenTold = status() == AVAssetWriterStatusFailed;
    const bool isPlayable = mSession->isOpen() && mSession->finish();
    return isPlayable || hasBeenTold;
}

bool AVAssetWriter::waitForUnfinishedMovies(std::chrono::milliseconds limit)
{
    return AVAssetWriterSession::waitForUnfinished(limit);
}

void AVAssetWriter::cancelWriting()
{
    mSession->cancel();
}
