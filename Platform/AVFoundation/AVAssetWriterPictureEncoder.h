#pragma once

#include "Platform/AVFoundation/AVAssetWriterCodec.h"
#include "Platform/AVFoundation/AVAssetWriterPace.h"
#include "Platform/AVFoundation/AVAssetWriterTrack.h"

/// Compresses a movie's pictures to H.264: with the machine's own encoder if one has been found, else with libx264.
///
/// When pictures come as they happen, libx264 is given as little work as the machine has room for, and the work is
/// changed while the movie goes on: another encoder takes over with a key frame. The movie's decoder configuration
/// names the parameter sets of all of them from the beginning, so that it can be played whichever has made a picture.
/// Hardware that fails is replaced in the same way.
///
/// `open` belongs to the caller's thread, the rest to the thread that writes.
class AVAssetWriterPictureEncoder {
public:
    using Settings = AVAssetWriterCodec::Settings;
    /// Receives a compressed picture: NAL units behind four bytes of length each, its time, whether it is a key frame.
    using Output = std::function<void(std::span<const std::byte> picture, std::uint64_t time, bool isKeyFrame)>;
    /// How many pictures wait behind the one that is encoded, and how many can.
    struct Load {
        std::size_t waiting = 0;
        std::size_t mostWaiting = 1;
    };

    /// Fail point "AVAssetWriter.openEncoder".
    /// \param isInRealTime  whether every second picture may be left out when the machine is too slow for all
    /// \param error  receives the library's message when null is returned
    static std::unique_ptr<AVAssetWriterPictureEncoder> open(
        const Settings& settings, bool isInRealTime, Ref<NSError>* error);
    AVAssetWriterPictureEncoder(const AVAssetWriterPictureEncoder&) = delete;
    AVAssetWriterPictureEncoder& operator=(const AVAssetWriterPictureEncoder&) = delete;

    /// The encoder's name in libavcodec.
    const std::string& name() const noexcept { return mCodec->choice().name; }
    AVAssetWriterPace::Step step() const noexcept { return mPace.step(); }
    /// Size and colours of the track; its decoder configuration comes apart.
    AVAssetWriterTrack::PictureFormat trackFormat() const;
    /// What a decoder must know of every encoder that may come to work on this movie. Opens them all once.
    std::vector<std::byte> decoderConfiguration() const;

    /// Encodes the picture, or leaves it out. Fail points: AVAssetWriterCodec::encode; "AVAssetWriter.encodeByHardware"
    /// (status: an error number of libavcodec).
    /// \param time  in AVAssetWriterTrack::pictureTimescale, above the last picture's
    /// \return null, or why the encoder failed
    Ref<NSError> encode(CVPixelBufferRef picture, std::uint64_t time, const Load& load, const Output& output);
    /// Gets the last pictures out of the encoder, which takes no more.
    Ref<NSError> finish(const Output& output);

private:
    AVAssetWriterPictureEncoder(const Settings& settings, bool isInRealTime)
        : mSettings(settings)
        , mIsInRealTime(isInRealTime)
    {
    }
    bool isHardware() const noexcept { return mCodec->choice().preset.empty(); }
    void openHardware();
    void followPace(const Output& output);
    Ref<NSError> replaceHardware(const Ref<NSError>& failure, const Output& output);
    AVAssetWriterCodec::Output samplesTo(const Output& output);

    const Settings mSettings;
    const bool mIsInRealTime;
    std::unique_ptr<AVAssetWriterCodec> mCodec;
    AVAssetWriterPace mPace;
    std::uint64_t mLastTime = 0;
    std::vector<std::byte> mSample; ///< the picture that is given out
};
