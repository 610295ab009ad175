#include "Platform/AVFoundation/AVAssetWriterInput.h"

#include "Platform/AVFoundation/AVAssetWriterSession.h"
#include "Platform/AVFoundation/AVAssetWriterSettings.h"
#include "Platform/AVFoundation/AVMediaFormat.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreGraphics/CGGeometry.h"

namespace {

void requireNotStarted(const std::shared_ptr<AVAssetWriterSession>& session)
{
    if (session && session->status() != AVAssetWriterStatusUnknown)
        throw NSException(NSInternalInconsistencyException, "An input cannot be changed once writing has started");
}

}

NS_IMPLEMENTATION(AVAssetWriterInput, NSObject) { }

AVAssetWriterInput::AVAssetWriterInput(CFString* mediaType, CFDictionary* outputSettings)
    : mMediaType(mediaType)
    , mOutputSettings(outputSettings)
{
    if (!AVAssetWriterSettings::canApply(outputSettings, mediaType))
        throw NSException(NSInvalidArgumentException, "The output settings cannot be applied to the medium");
}

AVAssetWriterInput::~AVAssetWriterInput() = default;

void AVAssetWriterInput::setExpectsMediaDataInRealTime(bool expects)
{
    requireNotStarted(mSession);
    mExpectsMediaDataInRealTime = expects;
}

void AVAssetWriterInput::setTransform(const CGAffineTransform& transform)
{
    requireNotStarted(mSession);
    mTransform = { transform.a, transform.b, transform.c, transform.d, transform.tx, transform.ty };
}

bool AVAssetWriterInput::isReadyForMoreMediaData() const
{
    if (FAIL_POINT("AVAssetWriterInput.isReadyForMoreMediaData"))
        return false;
    if (!mSession || mSession->status() != AVAssetWriterStatusWriting)
        return true;
    return mMediaType.get() == AVMediaTypeVideo ? mSession->isReadyForPicture() : mSession->isReadyForSound();
}

bool AVAssetWriterInput::appendSampleBuffer(CMSampleBufferRef sampleBuffer)
{
    if (!mSession || mSession->status() == AVAssetWriterStatusUnknown)
        throw NSException(NSInternalInconsistencyException, "A sample cannot be appended before writing has started");
    if (mSession->status() != AVAssetWriterStatusWriting)
        return false;
    if (!mSession->hasStarted())
        throw NSException(
            NSInternalInconsistencyException, "A sample cannot be appended before the session has started");
    if (const auto status = FAIL_POINT("AVAssetWriterInput.appendSampleBuffer:"))
        return mSession->fail(
            NSError::errorWithMessage(NSOSStatusErrorDomain, *status, "A sample could not be appended"));
    if (!isReadyForMoreMediaData())
        throw NSException(NSInternalInconsistencyException, "A sample cannot be appended while the input is not ready");
    return mMediaType.get() == AVMediaTypeVideo ? mSession->appendPicture(sampleBuffer)
                                                : mSession->appendSound(sampleBuffer);
}

void AVAssetWriterInput::attach(std::shared_ptr<AVAssetWriterSession> session)
{
    mSession = std::move(session);
}
