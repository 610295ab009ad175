#pragma once

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/CoreMedia/CMSampleBuffer.h"
#include "Platform/Foundation/NSObject.h"

#include <array>
#include <memory>

class AVAssetWriterSession;
struct CGAffineTransform;

/// One medium of a movie that is being written: takes the samples of a picture or a sound track.
///
/// Belongs to the writer's queue like the writer itself; `isReadyForMoreMediaData` may be asked on any thread.
class AVAssetWriterInput : public NSObject {
    NS_OBJECT(AVAssetWriterInput)
public:
    /// \param mediaType  AVMediaTypeVideo or AVMediaTypeAudio
    /// \param outputSettings  how the samples are stored (AVVideoSettings.h, AVAudioSettings.h); null stores sound as
    /// it comes \throws NSException NSInvalidArgumentException for another medium, and for settings that no writer can
    /// apply
    AVAssetWriterInput(CFString* mediaType, CFDictionary* outputSettings);
    ~AVAssetWriterInput() override;

    CFString* mediaType() const noexcept { return mMediaType; }
    CFDictionary* outputSettings() const noexcept { return mOutputSettings; }

    /// Says that samples come as they happen and may be lost: pictures are then compressed with what time the machine
    /// has, every second one at worst, and finishing waits neither for an encoder nor for a disk that is behind. Else
    /// everything that was appended is in the movie when finishing returns. False unless set.
    /// \throws NSException NSInternalInconsistencyException once writing has started
    void setExpectsMediaDataInRealTime(bool expects);
    bool expectsMediaDataInRealTime() const noexcept { return mExpectsMediaDataInRealTime; }
    /// How a player turns and mirrors the track; translation in pixels.
    /// \throws NSException NSInternalInconsistencyException once writing has started
    void setTransform(const CGAffineTransform& transform);

    /// False while as many samples wait for the encoder as it is given; a sample that comes then should be let go.
    /// True before writing starts, and true when an append would report an error.
    /// Fail point "AVAssetWriterInput.isReadyForMoreMediaData".
    bool isReadyForMoreMediaData() const;

    /// Hands over one picture (BGRA, kept until it is encoded and not to be drawn over; another size is scaled) or a
    /// run of sound (interleaved, as the settings say). Never waits for the encoder or the disk. Samples from before
    /// the session's start are cut off, or moved to it when they are pictures; a picture that is not later than the
    /// last one is let go. Missing sound becomes silence.
    ///
    /// \return false when the sample cannot be taken, or when an earlier one could not be written: the writer's status
    /// is then AVAssetWriterStatusFailed and its error says why. Fail point "AVAssetWriterInput.appendSampleBuffer:"
    /// \throws NSException NSInternalInconsistencyException when the writer's session has not started, and when the
    /// input is not ready for more
    bool appendSampleBuffer(CMSampleBufferRef sampleBuffer);

private:
    friend class AVAssetWriter;
    void attach(std::shared_ptr<AVAssetWriterSession> session);

    const Ref<CFString> mMediaType;
    const Ref<CFDictionary> mOutputSettings;
    bool mExpectsMediaDataInRealTime = false;
    std::array<double, 6> mTransform { 1, 0, 0, 1, 0, 0 };
    std::shared_ptr<AVAssetWriterSession> mSession;
};
