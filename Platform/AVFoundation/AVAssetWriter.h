#pragma once

#include "Platform/AVFoundation/AVAssetWriterInput.h"
#include "Platform/AVFoundation/AVAudioSettings.h"
#include "Platform/AVFoundation/AVVideoSettings.h"
#include "Platform/CoreMedia/CMTime.h"

#include <atomic>
#include <chrono>
#include <vector>

class NSError;
class NSURL;

/// The movie format that `AVAssetWriter` writes, QuickTime.
inline CFString* const kUTTypeQuickTimeMovie = CFSTR("video/quicktime");

enum AVAssetWriterStatus : std::int64_t {
    AVAssetWriterStatusUnknown = 0,
    AVAssetWriterStatusWriting = 1,
    AVAssetWriterStatusCompleted = 2,
    AVAssetWriterStatusFailed = 3,
    AVAssetWriterStatusCancelled = 4,
};

/// Writes one QuickTime movie: H.264 pictures and linear PCM sound.
///
/// The samples of all inputs are put into the file by a thread of the writer's own. While it grows the file is a
/// fragmented movie, three fragments a second, so that whatever happens to the program it can be played up to that
/// point; `finishWriting` makes it an ordinary one, in place, by adding the index and changing sixteen bytes. Formats:
/// QuickTime File Format; ISO/IEC 14496-12 (boxes and movie fragments) and 14496-15 (H.264 in them).
///
/// One writer writes one movie, once. Its operations and those of its inputs belong to one queue at a time.
class AVAssetWriter : public NSObject {
    NS_OBJECT(AVAssetWriter)
public:
    /// A writer for a file that must not exist when writing starts. Creates nothing yet.
    /// Fail point "AVAssetWriter.initWithURL:fileType:error:".
    /// \param fileType  kUTTypeQuickTimeMovie
    /// \param error  receives the reason when null is returned, else null; may be null
    /// \return null for a null or non-file URL or another type
    static Ref<AVAssetWriter> initWithURL_fileType_error(NSURL* url, CFString* fileType, Ref<NSError>* error);
    /// For initWithURL_fileType_error.
    explicit AVAssetWriter(NSURL* url);
    /// Completes a movie that nobody finished.
    ~AVAssetWriter() override;

    NSURL* outputURL() const noexcept { return mURL; }
    AVAssetWriterStatus status() const noexcept;
    /// Why the status is AVAssetWriterStatusFailed, in the words of the library or host that failed; else null. Kept by
    /// the innermost pool.
    NSError* error() const;

    /// Whether an input with these settings could be written; null stands for samples as they come, which only sound
    /// can be. Fail point "AVAssetWriter.canApplyOutputSettings:forMediaType:".
    bool canApplyOutputSettings_forMediaType(CFDictionary* outputSettings, CFString* mediaType) const;
    /// True for an input of no writer, before writing starts, when its medium has no input yet.
    /// Fail point "AVAssetWriter.canAddInput:".
    bool canAddInput(AVAssetWriterInput* input) const;
    /// \throws NSException NSInvalidArgumentException when canAddInput is false (fail points aside)
    void addInput(AVAssetWriterInput* input);

    /// Opens the encoder and creates the file. Fail points "AVAssetWriter.startWriting", "AVAssetWriter.openEncoder"
    /// and "AVAssetWriter.createFile".
    /// \return false when that failed (status AVAssetWriterStatusFailed), and when it had failed before
    /// \throws NSException NSInternalInconsistencyException without inputs, and in any other status than
    /// AVAssetWriterStatusUnknown and AVAssetWriterStatusFailed
    bool startWriting();
    /// \param startTime  the sample time that is the movie's beginning, on the host clock
    /// \throws NSException NSInternalInconsistencyException unless writing, and for a second session;
    /// NSInvalidArgumentException for an invalid time
    void startSessionAtSourceTime(const CMTime& startTime);
    /// Writes what waits, completes the index in place and closes the file: under 200 ms however long the movie is.
    /// With inputs in real time that also holds for an encoder and a disk that are behind: pictures that still wait are
    /// lost, and a disk that takes longer gets the rest from the writer's thread, beside everything else. The file can
    /// be played all the while. A disk that has not taken the movie's beginning is waited for a moment longer, then the
    /// writer has failed, with the disk's name in its error, and what there is goes to the disk as soon as it answers.
    /// Fail point "AVAssetWriter.finishWriting".
    ///
    /// \return true when a playable file is left, also when a part was lost, and when nothing is left to be told: a
    /// writer that has failed before, and has said so, is done with then. False when there is no movie and nobody has
    /// been told, and in any status but writing and failed.
    bool finishWriting();
    /// Waits until the movies that `finishWriting` left to their threads are complete; the end of the process does so.
    /// \return false when that takes longer than \p limit
    static bool waitForUnfinishedMovies(std::chrono::milliseconds limit);
    /// Ends writing and removes the file; the status becomes AVAssetWriterStatusCancelled unless it has failed.
    void cancelWriting();

private:
    AVAssetWriterInput* inputOf(CFString* mediaType) const;

    const Ref<NSURL> mURL;
    std::vector<Ref<AVAssetWriterInput>> mInputs;
    std::shared_ptr<AVAssetWriterSession> mSession;
};
