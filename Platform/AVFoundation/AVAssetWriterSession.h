#pragma once

#include "Platform/AVFoundation/AVAssetWriter.h"
#include "Platform/AVFoundation/AVAssetWriterMovieFile.h"
#include "Platform/AVFoundation/AVAssetWriterPictureEncoder.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <variant>

/// What a writer and its inputs share: the status, the movie's time line, and the thread that encodes and writes.
///
/// Samples are cut, moved and converted on the thread that appends them and then wait, a limited number, for the
/// writing thread. An error of that thread becomes the status at the next append, so that somebody is told.
class AVAssetWriterSession {
public:
    AVAssetWriterSession() = default;
    ~AVAssetWriterSession();
    AVAssetWriterSession(const AVAssetWriterSession&) = delete;
    AVAssetWriterSession& operator=(const AVAssetWriterSession&) = delete;

    AVAssetWriterStatus status() const noexcept { return mStatus.load(); }
    Ref<NSError> error() const;
    /// Sets status and error, unless it has failed before. \return false
    bool fail(Ref<NSError> error);

    /// Opens encoder and file and starts the thread.
    /// \param picture, sound  the inputs' settings; null without such an input
    bool open(const std::string& path, const AVAssetWriterPictureEncoder::Settings* picture,
        const std::array<double, 6>& transform, bool withSound, const AudioStreamBasicDescription* sound);
    /// Whether a file is open: from a successful `open` until `finish` or `cancel`.
    bool isOpen() const noexcept { return static_cast<bool>(mFile); }
    bool hasStarted() const noexcept { return mHasStarted.load(); }
    void start(const CMTime& startTime);

    bool isReadyForPicture() const;
    bool isReadyForSound() const;
    /// \return false when the sample cannot be taken; the session has then failed
    bool appendPicture(CMSampleBufferRef sampleBuffer);
    bool appendSound(CMSampleBufferRef sampleBuffer);

    /// Waits until everything is in the file and completes it.
    /// \return whether a playable file is left
    bool finish();
    void cancel();

private:
    struct Picture {
        AVAssetWriterPictureEncoder::Frame frame;
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

    bool takePendingError();
    bool matchesSoundFormat(CMFormatDescriptionRef format);
    void post(Job job);
    void run();
    Ref<NSError> write(Picture& picture);
    Ref<NSError> write(Sound& sound);
    Ref<NSError> write(SoundFormat& format);
    Ref<NSError> writeFragmentIfDue(double seconds);
    Ref<NSError> writeRest();
    void stopThread(bool discardWaiting);
    AVAssetWriterPictureEncoder::Output output();

    std::atomic<AVAssetWriterStatus> mStatus { AVAssetWriterStatusUnknown };
    std::atomic<bool> mHasStarted { false };
    mutable std::mutex mErrorLock;
    Ref<NSError> mError;

    // The appending side.
    CMTime mStartTime;
    std::optional<std::uint64_t> mLastPictureTime;
    bool mHasSound = false;
    std::optional<AudioStreamBasicDescription> mSoundFormat;
    std::uint64_t mSoundFrames = 0;

    // Between the two.
    mutable std::mutex mJobsLock;
    std::condition_variable mJobsChanged;
    std::deque<Job> mJobs;
    std::size_t mWaitingPictures = 0;
    std::size_t mWaitingSoundBytes = 0;
    bool mIsEnding = false;
    Ref<NSError> mPendingError;

    // The writing side; everybody's once the thread has ended.
    std::unique_ptr<AVAssetWriterPictureEncoder> mEncoder;
    std::unique_ptr<AVAssetWriterMovieFile> mFile;
    AVAssetWriterTrack* mPictureTrack = nullptr;
    AVAssetWriterTrack* mSoundTrack = nullptr;
    std::uint64_t mLastPictureEnd = 0;
    std::thread mThread;
};
