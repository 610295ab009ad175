#pragma once

#include "Platform/AVFoundation/AVAssetWriter.h"
#include "Platform/AVFoundation/AVAssetWriterMovieFile.h"
#include "Platform/AVFoundation/AVAssetWriterPictureEncoder.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <variant>

/// What a writer and its inputs share: the status, the movie's time line, and the thread that encodes and writes.
///
/// Samples are put in their place in time on the thread that appends them and then wait, a limited number, for the
/// writing thread. An error of that thread becomes the status at the next append, so that somebody is told.
class AVAssetWriterSession : public std::enable_shared_from_this<AVAssetWriterSession> {
public:
    struct PictureInput {
        AVAssetWriterPictureEncoder::Settings settings;
        std::array<double, 6> transform;
        /// Whether samples that come while the machine is too slow are lost; else they are waited for.
        bool isInRealTime;
    };

    AVAssetWriterSession() = default;
    ~AVAssetWriterSession();
    AVAssetWriterSession(const AVAssetWriterSession&) = delete;
    AVAssetWriterSession& operator=(const AVAssetWriterSession&) = delete;

    AVAssetWriterStatus status() const noexcept { return mStatus.load(); }
    Ref<NSError> error() const;
    /// Sets status and error, and says so in the log, unless it has failed before. \return false
    bool fail(Ref<NSError> error);

    /// Opens encoder and file and starts the thread.
    /// \param picture  null without such an input
    /// \param sound  the format of the track; null when it is the first sample's
    bool open(
        const std::string& path, const PictureInput* picture, bool withSound, const AudioStreamBasicDescription* sound);
    /// Whether a file is open: from a successful `open` until `finish` or `cancel`.
    bool isOpen() const noexcept { return mIsOpen; }
    bool hasStarted() const noexcept { return mHasStarted.load(); }
    void start(const CMTime& startTime);

    bool isReadyForPicture() const;
    bool isReadyForSound() const;
    /// \return false when the sample cannot be taken; the session has then failed
    bool appendPicture(CMSampleBufferRef sampleBuffer);
    bool appendSound(CMSampleBufferRef sampleBuffer);

    /// Has everything written and the file completed. In real time it waits a limited time for a slow disk and leaves
    /// the rest to the thread, which then goes on after the writer has gone.
    /// \return whether a playable file is left
    bool finish();
    void cancel();

    /// Waits until what `finish` left to the threads is done. \return false when that takes longer than \p limit
    static bool waitForUnfinished(std::chrono::milliseconds limit);

private:
    struct Picture {
        Ref<CVPixelBuffer> buffer;
        std::uint64_t time;
        std::uint64_t duration;
    };
    struct Sound {
        std::vector<std::byte> bytes;
        std::uint32_t frames;
        std::uint64_t silence; ///< frames of silence before them
    };
    struct SoundFormat {
        AudioStreamBasicDescription format;
    };
    using Job = std::variant<Picture, Sound, SoundFormat>;
    enum class Ending { Not, Writing, Discarding };

    bool fail(CFString* line, Ref<NSError> error);
    bool takePendingError();
    bool matchesSoundFormat(CMFormatDescriptionRef format);
    void post(Job job);
    void end(Ending ending);
    /// Until the thread has done its last. \return false when that takes longer than \p limit
    bool waitForEnd(std::chrono::milliseconds limit);
    void join();

    void run();
    void work();
    bool isTooLateFor(const Job& job) const;
    Ref<NSError> write(Picture& picture);
    Ref<NSError> write(Sound& sound);
    Ref<NSError> write(SoundFormat& format);
    Ref<NSError> writeFragmentIfDue(double seconds);
    Ref<NSError> writeRest();
    /// No movie's sound is shorter than its picture: what was on its way when the recording ended becomes silence.
    Ref<NSError> writeMissingSound();
    /// By how many frames the next stamp may be off.
    double toleratedSoundFrames() const;
    void complete();
    void setCompleted();
    /// Has the session live until its thread has ended.
    void leaveToItsThread();
    AVAssetWriterPictureEncoder::Output output();

    std::atomic<AVAssetWriterStatus> mStatus { AVAssetWriterStatusUnknown };
    std::atomic<bool> mHasStarted { false };
    mutable std::mutex mErrorLock;
    Ref<NSError> mError;

    // The appending side.
    std::string mPath;
    CMTime mStartTime;
    std::optional<std::uint64_t> mLastPictureTime;
    bool mIsOpen = false;
    bool mHasSound = false;
    bool mIsInRealTime = false;
    std::optional<AudioStreamBasicDescription> mSoundFormat;
    std::uint64_t mSoundFrames = 0;
    int mSoundRuns = 0;
    std::int64_t mSoundTremble = 0; ///< how many frames the stamps were off at the most

    // Between the two.
    mutable std::mutex mJobsLock;
    std::condition_variable mJobsChanged;
    std::condition_variable mEnded;
    std::deque<Job> mJobs;
    std::size_t mWaitingPictures = 0;
    std::size_t mWaitingSoundBytes = 0;
    Ending mEnding = Ending::Not;
    std::chrono::steady_clock::time_point mLatePictures; ///< from when on they are let go
    bool mHasEnded = false;
    bool mIsLeftAlone = false;
    bool mIsPlayable = false; ///< what the file holds now
    Ref<NSError> mPendingError;

    // The writing side; everybody's once the thread has ended.
    std::unique_ptr<AVAssetWriterPictureEncoder> mEncoder;
    std::unique_ptr<AVAssetWriterMovieFile> mFile;
    AVAssetWriterTrack* mPictureTrack = nullptr;
    AVAssetWriterTrack* mSoundTrack = nullptr;
    std::uint64_t mLastPictureEnd = 0;
    std::uint64_t mWrittenSoundFrames = 0;
    Ref<NSError> mFinalError;
    std::thread mThread;
};
