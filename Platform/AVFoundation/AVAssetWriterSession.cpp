#include "Platform/AVFoundation/AVAssetWriterSession.h"

#include "Platform/dispatch/DispatchThreads.h"
#include "Platform/Foundation/NSLog.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

/// Whatever ends the program costs less than this, what waits for the encoder and one frame more, in seconds of the
/// movie: well under a second on a busy machine too.
constexpr double fragmentSeconds = 1.0 / 3;
/// They are surfaces of the pool that the view and the virtual camera draw from too: half of what it has.
constexpr std::size_t mostWaitingPictures = 8;
constexpr double mostWaitingSoundSeconds = 4;
/// What the stamps of sound may be off before frames are cut or silence is put in, in seconds. Stamps of some callers
/// tremble, and clocks of sound cards go their own way slowly; where they did not until now, less is a gap.
constexpr double mostSoundTolerance = 0.04;
constexpr double leastSoundTolerance = 0.005;
constexpr int runsUntilTrusted = 10;
/// Sound that ends this much before the pictures, in seconds, is still on its way and becomes silence; when more is
/// missing, nobody delivers any.
constexpr double mostMissingAtTheEnd = 5;
/// How long finishing waits: for the pictures that wait to be encoded, and for all together. The write queue, with
/// every frame that comes meanwhile, stands still for that time.
constexpr std::chrono::milliseconds timeForLatePictures { 80 };
constexpr std::chrono::milliseconds timeToFinish { 150 };
/// And for a movie of which nothing can be played yet, since an error is told after it.
constexpr std::chrono::milliseconds timeToBegin { 1500 };
/// At the end of the process, for a disk that is slow.
constexpr std::chrono::seconds timeToFinishAtExit { 10 };
CFString* const endWasLost = CFSTR("The end of a movie was lost: %@");
constexpr std::uint64_t usualPictureDuration = AVAssetWriterTrack::pictureTimescale / 30;

/// \p time in units of 1/\p scale second, rounded.
std::int64_t rescale(const CMTime& time, std::int64_t scale)
{
    if (!CMTIME_IS_VALID(time) || time.timescale <= 0)
        return 0;
    return std::llround(static_cast<long double>(time.value) * static_cast<long double>(scale) / time.timescale);
}

bool isSameFormat(const AudioStreamBasicDescription& a, const AudioStreamBasicDescription& b)
{
    constexpr std::uint32_t floatBigSigned = 7;
    return std::lround(a.mSampleRate) == std::lround(b.mSampleRate) && a.mChannelsPerFrame == b.mChannelsPerFrame
        && a.mBitsPerChannel == b.mBitsPerChannel && a.mBytesPerFrame == b.mBytesPerFrame
        && (a.mFormatFlags & floatBigSigned) == (b.mFormatFlags & floatBigSigned);
}

Ref<NSError> sampleError(std::string_view message)
{
    return NSError::errorWithMessage(NSCocoaErrorDomain, 0, message);
}

/// Sessions whose threads complete their movies after the writers have gone.
struct Unfinished {
    std::mutex lock;
    std::vector<std::shared_ptr<AVAssetWriterSession>> sessions;
};

/// Never destroyed: a thread that hangs in a dead disk may outlast everything.
Unfinished& unfinished()
{
    static Unfinished& sessions = *[] {
        static const auto atExit = [] {
            // Called when the threads stop and when the process ends, with one time for both.
            static const auto deadline = std::chrono::steady_clock::now() + timeToFinishAtExit;
            const auto left
                = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            AVAssetWriterSession::waitForUnfinished(std::max(left, std::chrono::milliseconds(0)));
        };
        std::atexit(atExit);
        DispatchMain::whenThreadsStop(atExit);
        return std::make_unique<Unfinished>().release();
    }();
    return sessions;
}

}

AVAssetWriterSession::~AVAssetWriterSession()
{
    end(Ending::Discarding);
    join();
}

Ref<NSError> AVAssetWriterSession::error() const
{
    const std::scoped_lock lock(mErrorLock);
    return mError;
}

bool AVAssetWriterSession::fail(Ref<NSError> error)
{
    return fail(CFSTR("A movie cannot be written on: %@"), std::move(error));
}

bool AVAssetWriterSession::fail(CFString* line, Ref<NSError> error)
{
    const std::scoped_lock lock(mErrorLock);
    if (!mError) {
        NSLog(line, error->localizedDescription());
        mError = std::move(error);
    }
    mStatus = AVAssetWriterStatusFailed;
    return false;
}

bool AVAssetWriterSession::open(
    const std::string& path, const PictureInput* picture, bool withSound, const AudioStreamBasicDescription* sound)
{
    Ref<NSError> error;
    mIsInRealTime = picture && picture->isInRealTime;
    if (picture) {
        mEncoder = AVAssetWriterPictureEncoder::open(picture->settings, mIsInRealTime, &error);
        if (!mEncoder)
            return fail(error);
    }
    mPath = path;
    mFile = AVAssetWriterMovieFile::create(path, &error);
    if (!mFile)
        return fail(error);
    if (mEncoder) {
        auto format = mEncoder->trackFormat();
        format.transform = picture->transform;
        mPictureTrack = &mFile->addTrack(std::move(format));
    }
    mHasSound = withSound;
    if (sound) {
        mSoundFormat = *sound;
        mSoundTrack = &mFile->addTrack(*sound);
    }
    mThread = std::thread([this] { run(); });
    mIsOpen = true;
    mStatus = AVAssetWriterStatusWriting;
    return true;
}

void AVAssetWriterSession::start(const CMTime& startTime)
{
    mStartTime = startTime;
    mHasStarted = true;
}

bool AVAssetWriterSession::isReadyForPicture() const
{
    const std::scoped_lock lock(mJobsLock);
    return mPendingError || mWaitingPictures < mostWaitingPictures;
}

bool AVAssetWriterSession::isReadyForSound() const
{
    const double bytesPerSecond = mSoundFormat ? mSoundFormat->mSampleRate * mSoundFormat->mBytesPerFrame : 0;
    const std::scoped_lock lock(mJobsLock);
    return mPendingError || mWaitingSoundBytes == 0
        || static_cast<double>(mWaitingSoundBytes) < bytesPerSecond * mostWaitingSoundSeconds;
}

bool AVAssetWriterSession::takePendingError()
{
    Ref<NSError> error;
    {
        const std::scoped_lock lock(mJobsLock);
        error = mPendingError;
    }
    if (error)
        fail(error);
    return error;
}

bool AVAssetWriterSession::appendPicture(CMSampleBufferRef sampleBuffer)
{
    if (takePendingError())
        return false;
    auto* const picture = sampleBuffer ? sampleBuffer->imageBuffer() : nullptr;
    if (!picture || picture->pixelFormat() != kCVPixelFormatType_32BGRA)
        return fail(sampleError("The sample holds no picture that can be written"));

    constexpr std::int64_t scale = AVAssetWriterTrack::pictureTimescale;
    const auto& timing = sampleBuffer->timing();
    const std::int64_t sinceStart = rescale(CMTimeSubtract(timing.presentationTimeStamp, mStartTime), scale);
    // The first picture stands from the movie's beginning on, so that no movie begins with darkness.
    const auto time = mLastPictureTime ? static_cast<std::uint64_t>(std::max<std::int64_t>(sinceStart, 0)) : 0;
    if (mLastPictureTime && time <= *mLastPictureTime)
        return true;
    const std::int64_t duration = rescale(timing.duration, scale);
    mLastPictureTime = time;
    post(Picture { Ref(picture), time, duration > 0 ? static_cast<std::uint64_t>(duration) : usualPictureDuration });
    return true;
}

bool AVAssetWriterSession::matchesSoundFormat(CMFormatDescriptionRef format)
{
    const auto* const description = CMAudioFormatDescriptionGetStreamBasicDescription(format);
    if (!description || description->mFormatID != kAudioFormatLinearPCM || description->mBytesPerFrame == 0
        || description->mSampleRate < 1)
        return false;
    if (mSoundFormat)
        return isSameFormat(*mSoundFormat, *description);
    mSoundFormat = *description;
    post(SoundFormat { *description });
    return true;
}

bool AVAssetWriterSession::appendSound(CMSampleBufferRef sampleBuffer)
{
    if (takePendingError())
        return false;
    if (!sampleBuffer || !matchesSoundFormat(sampleBuffer->formatDescription()))
        return fail(sampleError("The sample holds no sound in the format of the track"));

    const double rate = mSoundFormat->mSampleRate;
    const auto sinceStart = CMTimeSubtract(sampleBuffer->timing().presentationTimeStamp, mStartTime);
    const std::int64_t difference = rescale(sinceStart, std::lround(rate)) - static_cast<std::int64_t>(mSoundFrames);
    const double tolerated = toleratedSoundFrames();
    std::uint64_t silence = 0;
    std::size_t cut = 0;
    if (static_cast<double>(difference) > tolerated)
        silence = static_cast<std::uint64_t>(difference);
    else if (static_cast<double>(-difference) > tolerated)
        cut = static_cast<std::size_t>(-difference);
    else
        mSoundTremble = std::max(mSoundTremble, std::abs(difference));
    ++mSoundRuns;
    const std::size_t frames = sampleBuffer->sampleCount();
    if (cut >= frames)
        return true;

    const auto bytes = sampleBuffer->sound().subspan(
        cut * mSoundFormat->mBytesPerFrame, (frames - cut) * mSoundFormat->mBytesPerFrame);
    mSoundFrames += silence + frames - cut;
    post(Sound { { bytes.begin(), bytes.end() }, static_cast<std::uint32_t>(frames - cut), silence });
    return true;
}

double AVAssetWriterSession::toleratedSoundFrames() const
{
    if (mSoundFrames == 0)
        return 0;
    const double most = mSoundFormat->mSampleRate * mostSoundTolerance;
    if (mSoundRuns < runsUntilTrusted)
        return most;
    return std::min(most, mSoundFormat->mSampleRate * leastSoundTolerance + 2 * static_cast<double>(mSoundTremble));
}

void AVAssetWriterSession::post(Job job)
{
    const std::scoped_lock lock(mJobsLock);
    if (std::holds_alternative<Picture>(job))
        ++mWaitingPictures;
    else if (const auto* const sound = std::get_if<Sound>(&job))
        mWaitingSoundBytes += sound->bytes.size();
    mJobs.push_back(std::move(job));
    mJobsChanged.notify_one();
}

void AVAssetWriterSession::run()
{
    pthread_setname_np(pthread_self(), "movie writer");
    const AutoreleasePool pool;
    if (mEncoder)
        mPictureTrack->setDecoderConfiguration(mEncoder->decoderConfiguration());
    work();
    if (mEnding == Ending::Writing)
        complete();
    else
        mFile->remove();
    mFile.reset();
    mEncoder.reset();
    const std::scoped_lock lock(mJobsLock);
    mHasEnded = true;
    mEnded.notify_all();
}

void AVAssetWriterSession::work()
{
    std::unique_lock lock(mJobsLock);
    for (;;) {
        mJobsChanged.wait(lock, [this] { return mEnding != Ending::Not || !mJobs.empty(); });
        if (mJobs.empty())
            return;
        Job job = std::move(mJobs.front());
        mJobs.pop_front();
        const std::size_t soundBytes = std::holds_alternative<Sound>(job) ? std::get<Sound>(job).bytes.size() : 0;
        const bool isPicture = std::holds_alternative<Picture>(job);
        Ref<NSError> error = mPendingError;
        if (!error && !isTooLateFor(job)) {
            lock.unlock();
            const AutoreleasePool pool;
            error = std::visit([this](auto& what) { return write(what); }, job);
            job = SoundFormat {}; // a picture's memory goes back now
            lock.lock();
        }
        mPendingError = error;
        mIsPlayable = mFile->hasFragments();
        mWaitingSoundBytes -= soundBytes;
        mWaitingPictures -= isPicture ? 1 : 0;
    }
}

/// Whether it is a picture that nobody has the time to encode any more.
bool AVAssetWriterSession::isTooLateFor(const Job& job) const
{
    return mIsInRealTime && mEnding != Ending::Not && std::holds_alternative<Picture>(job)
        && std::chrono::steady_clock::now() > mLatePictures;
}

AVAssetWriterPictureEncoder::Output AVAssetWriterSession::output()
{
    return [this](std::span<const std::byte> picture, std::uint64_t time, bool isKeyFrame) {
        mPictureTrack->appendPicture(picture, time, isKeyFrame);
    };
}

Ref<NSError> AVAssetWriterSession::write(Picture& picture)
{
    AVAssetWriterPictureEncoder::Load load { 0, mostWaitingPictures };
    {
        const std::scoped_lock lock(mJobsLock);
        load.waiting = mWaitingPictures - 1;
    }
    if (auto error = mEncoder->encode(picture.buffer, picture.time, load, output()))
        return error;
    mLastPictureEnd = picture.time + picture.duration;
    return writeFragmentIfDue(fragmentSeconds);
}

Ref<NSError> AVAssetWriterSession::write(Sound& sound)
{
    const auto frameSize = static_cast<std::size_t>(mSoundTrack->sound().mBytesPerFrame);
    const std::uint64_t oneSecond = mSoundTrack->timescale();
    while (sound.silence > 0) {
        const std::uint64_t frames = std::min(sound.silence, oneSecond);
        mSoundTrack->appendSound(std::vector<std::byte>(frames * frameSize), static_cast<std::uint32_t>(frames));
        sound.silence -= frames;
        mWrittenSoundFrames += frames;
        if (auto error = writeFragmentIfDue(fragmentSeconds))
            return error;
    }
    mSoundTrack->appendSound(sound.bytes, sound.frames);
    mWrittenSoundFrames += sound.frames;
    return writeFragmentIfDue(fragmentSeconds);
}

Ref<NSError> AVAssetWriterSession::write(SoundFormat& format)
{
    if (mFile->hasFragments())
        return sampleError("The sound's format became known after the movie had begun");
    mSoundTrack = &mFile->addTrack(format.format);
    return nullptr;
}

Ref<NSError> AVAssetWriterSession::writeFragmentIfDue(double seconds)
{
    // The file begins with a list of its tracks, so it begins when the sound's format is known, or goes without sound.
    constexpr double mostSecondsBeforeTheFormat = 2;
    const double due = mHasSound && !mSoundTrack ? mostSecondsBeforeTheFormat : seconds;
    return mFile->pendingSeconds() >= due ? mFile->writeFragment() : nullptr;
}

Ref<NSError> AVAssetWriterSession::writeRest()
{
    Ref<NSError> error;
    if (mEncoder && !mPendingError)
        error = mEncoder->finish(output());
    if (mPictureTrack)
        mPictureTrack->endPictures(mLastPictureEnd);
    if (mPictureTrack && mSoundTrack && !error && !mPendingError)
        error = writeMissingSound();
    const auto fileError = mFile->writeFragment();
    return error ? error : fileError;
}

Ref<NSError> AVAssetWriterSession::writeMissingSound()
{
    const std::uint64_t rate = mSoundTrack->timescale();
    const std::uint64_t end
        = (mLastPictureEnd * rate + AVAssetWriterTrack::pictureTimescale - 1) / AVAssetWriterTrack::pictureTimescale;
    if (mWrittenSoundFrames == 0 || end <= mWrittenSoundFrames
        || static_cast<double>(end - mWrittenSoundFrames) > mostMissingAtTheEnd * static_cast<double>(rate))
        return nullptr;
    Sound rest { {}, 0, end - mWrittenSoundFrames };
    return write(rest);
}

void AVAssetWriterSession::complete()
{
    Ref<NSError> error = mPendingError;
    if (const auto restError = writeRest(); restError && !error)
        error = restError;
    const auto completeError = mFile->complete();
    const bool isPlayable = mFile->isPlayable();
    if (!isPlayable && !mFile->hasFragments())
        mFile->remove();
    const std::scoped_lock lock(mJobsLock);
    mIsPlayable = isPlayable;
    mFinalError = error ? error : completeError;
    // No append will tell of this any more, nor will `finish`, which has returned.
    if (mIsLeftAlone && mFinalError)
        NSLog(endWasLost, mFinalError->localizedDescription());
}

void AVAssetWriterSession::end(Ending ending)
{
    const std::scoped_lock lock(mJobsLock);
    if (mEnding != Ending::Not)
        return;
    mEnding = ending;
    mLatePictures = std::chrono::steady_clock::now() + timeForLatePictures;
    if (ending == Ending::Discarding)
        mJobs.clear();
    mJobsChanged.notify_one();
}

bool AVAssetWriterSession::waitForEnd(std::chrono::milliseconds limit)
{
    std::unique_lock lock(mJobsLock);
    return mEnded.wait_for(lock, limit, [this] { return mHasEnded; });
}

void AVAssetWriterSession::join()
{
    if (mThread.joinable())
        mThread.join();
}

bool AVAssetWriterSession::finish()
{
    end(Ending::Writing);
    mIsOpen = false;
    if (mIsInRealTime && !waitForEnd(timeToFinish)) {
        std::unique_lock lock(mJobsLock);
        if (!mIsPlayable)
            mEnded.wait_for(lock, timeToBegin, [this] { return mHasEnded; });
        if (!mHasEnded && !mPendingError) {
            mIsLeftAlone = true;
            const bool isPlayable = mIsPlayable;
            lock.unlock();
            leaveToItsThread();
            if (!isPlayable)
                return fail(CFSTR("There is no movie yet: %@"),
                    sampleError(
                        "The disk with \"" + mPath + "\" does not answer; the movie is completed when it does"));
            setCompleted();
            return true;
        }
    }
    join();
    if (!mFinalError) {
        setCompleted();
        return mIsPlayable;
    }
    fail(mIsPlayable ? endWasLost : CFSTR("There is no movie: %@"), mFinalError);
    return mIsPlayable;
}

void AVAssetWriterSession::setCompleted()
{
    auto writing = AVAssetWriterStatusWriting;
    mStatus.compare_exchange_strong(writing, AVAssetWriterStatusCompleted);
}

void AVAssetWriterSession::leaveToItsThread()
{
    waitForUnfinished(std::chrono::milliseconds(0));
    auto& others = unfinished();
    const std::scoped_lock lock(others.lock);
    others.sessions.push_back(shared_from_this());
}

void AVAssetWriterSession::cancel()
{
    end(Ending::Discarding);
    mIsOpen = false;
    join();
    if (status() != AVAssetWriterStatusFailed)
        mStatus = AVAssetWriterStatusCancelled;
}

bool AVAssetWriterSession::waitForUnfinished(std::chrono::milliseconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    auto& list = unfinished();
    const std::scoped_lock lock(list.lock);
    std::erase_if(list.sessions, [&](const std::shared_ptr<AVAssetWriterSession>& session) {
        const auto left
            = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (!session->waitForEnd(std::max(left, std::chrono::milliseconds(0))))
            return false;
        session->join();
        return true;
    });
    return list.sessions.empty();
}
