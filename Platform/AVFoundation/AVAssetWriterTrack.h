#pragma once

#include "Platform/AVFoundation/AVAssetWriterBoxBuffer.h"
#include "Platform/CoreMedia/CMFormatDescription.h"

#include <array>
#include <optional>

/// One track of a movie file: the samples that wait for the next fragment, and the index of those that are in the file.
///
/// Times count in `timescale` units from the movie's beginning, where every track begins. A sample of the picture track
/// is a frame; its duration is known when the next one comes, so the newest frame always waits. A sample of the sound
/// track is one frame of every channel; a fragment lists them by runs, as they were appended.
class AVAssetWriterTrack {
public:
    /// Units a second of picture tracks: whole numbers for the usual frame rates, and fine enough for irregular ones.
    static constexpr std::uint32_t pictureTimescale = 90000;

    struct PictureFormat {
        std::uint16_t width = 0;
        std::uint16_t height = 0;
        std::array<double, 6> transform {};
        std::vector<std::byte> decoderConfiguration; ///< ISO/IEC 14496-15, 5.3.3.1 (avcC)
        std::uint16_t primaries = 0, transfer = 0, matrix = 0; ///< ISO/IEC 23091-2
    };

    AVAssetWriterTrack(std::uint32_t identifier, PictureFormat format);
    AVAssetWriterTrack(std::uint32_t identifier, const AudioStreamBasicDescription& format);

    bool isPicture() const noexcept { return mPicture.has_value(); }
    const AudioStreamBasicDescription& sound() const noexcept { return mSound; }
    std::uint32_t identifier() const noexcept { return mIdentifier; }
    std::uint32_t timescale() const noexcept { return mTimescale; }

    /// Before the first fragment. \param configuration  ISO/IEC 14496-15, 5.3.3.1 (avcC)
    void setDecoderConfiguration(std::vector<std::byte> configuration);
    /// \param picture  NAL units behind four bytes of length each
    /// \param time  above the last frame's
    void appendPicture(std::span<const std::byte> picture, std::uint64_t time, bool isKeyFrame);
    /// \param frames  sound frames that \p sound holds
    void appendSound(std::span<const std::byte> sound, std::uint32_t frames);
    /// Gives the newest frame its duration, so that it need not wait any more.
    void endPictures(std::uint64_t endTime);

    /// How much time waits for the next fragment, in seconds.
    double pendingSeconds() const;
    bool hasPendingSamples() const noexcept { return completeSamples() > 0; }
    /// The bytes of the samples that the next fragment takes.
    std::span<const std::byte> pendingBytes() const;
    /// Writes `traf` for them. \p fragmentOffset is where the fragment begins in the file.
    /// \return where in \p boxes the distance from there to the bytes belongs, four bytes
    std::size_t writeFragment(AVAssetWriterBoxBuffer& boxes, std::uint64_t fragmentOffset) const;
    /// Moves them to the index: they are in the file, their bytes at \p offset.
    void pendingWereWritten(std::uint64_t offset);

    bool isEmpty() const noexcept { return mChunks.empty(); }
    /// Of what is in the file, in `timescale` units.
    std::uint64_t duration() const noexcept { return mDuration; }
    /// At least as many bytes as the track's part of the index takes.
    std::uint64_t indexSizeBound() const noexcept;
    /// Writes `trak`: with the index of all samples, or with an empty one for a movie whose fragments carry it.
    void writeTrack(AVAssetWriterBoxBuffer& boxes, std::uint64_t durationInMovie, bool withIndex) const;

private:
    struct Pending {
        std::uint32_t size;
        std::uint32_t duration; ///< 0 while it is not known
        bool isKeyFrame;
    };
    struct Chunk {
        std::uint64_t offset;
        std::uint32_t samples;
    };
    struct Run {
        std::uint32_t samples;
        std::uint32_t duration;
    };

    std::size_t completeSamples() const noexcept;
    void addDuration(std::uint32_t samples, std::uint32_t duration);
    void writeMediaInformation(AVAssetWriterBoxBuffer& boxes, bool withIndex) const;
    void writeSampleDescription(AVAssetWriterBoxBuffer& boxes) const;
    void writePictureDescription(AVAssetWriterBoxBuffer& boxes) const;
    void writeSoundDescription(AVAssetWriterBoxBuffer& boxes) const;
    void writeSampleTables(AVAssetWriterBoxBuffer& boxes, bool withIndex) const;

    const std::uint32_t mIdentifier;
    const std::uint32_t mTimescale;
    std::optional<PictureFormat> mPicture;
    const AudioStreamBasicDescription mSound {};

    std::vector<std::byte> mPendingBytes;
    std::vector<Pending> mPending;
    std::uint64_t mLastTime = 0;
    std::uint64_t mPendingDuration = 0;

    std::vector<Chunk> mChunks;
    std::vector<Run> mDurations;
    std::vector<std::uint32_t> mSizes; ///< of frames; sound frames all have one size
    std::vector<std::uint32_t> mKeyFrames; ///< numbers from 1
    std::uint64_t mDuration = 0;
};
