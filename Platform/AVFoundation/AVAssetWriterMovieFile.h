#pragma once

#include "Platform/AVFoundation/AVAssetWriterTrack.h"
#include "Platform/Foundation/NSError.h"

#include <memory>
#include <string>

/// A QuickTime file that grows in fragments and becomes an ordinary movie when it is completed.
///
///     while it grows:  ftyp, wide, moov (empty index), moof, mdat, moof, mdat, ...
///     completed:       ftyp, mdat (all of the above from wide on), moov (whole index)
///
/// The index is written behind the last fragment. Then the eight bytes of `wide` and the header of the first `moov`
/// become, in one write of sixteen bytes, the long header of an `mdat` that reaches up to the index: samples keep their
/// places, and what described the fragments is data that nothing refers to. At each moment of this the file can be
/// played: before the last write readers find the first `moov` and the fragments, after it only the second.
///
/// Room for the index is reserved on the disk ahead of the fragments, so that a full disk ends a movie but does not
/// spoil it; where that cannot be done, the volume is asked for its free room. A failed write is undone up to the last
/// whole fragment. Belongs to one thread at a time.
class AVAssetWriterMovieFile {
public:
    /// Creates the file, which must not exist. Fail point "AVAssetWriter.createFile" (status: an errno).
    /// \param error  receives the reason when null is returned
    static std::unique_ptr<AVAssetWriterMovieFile> create(const std::string& path, Ref<NSError>* error);
    explicit AVAssetWriterMovieFile(int descriptor, std::string path)
        : mDescriptor(descriptor)
        , mPath(std::move(path))
    {
    }
    ~AVAssetWriterMovieFile();
    AVAssetWriterMovieFile(const AVAssetWriterMovieFile&) = delete;
    AVAssetWriterMovieFile& operator=(const AVAssetWriterMovieFile&) = delete;

    /// Before the first fragment. \return the track, which lives as long as the file
    AVAssetWriterTrack& addTrack(AVAssetWriterTrack::PictureFormat format);
    AVAssetWriterTrack& addTrack(const AudioStreamBasicDescription& format);
    bool hasFragments() const noexcept { return mFragments > 0; }

    /// How much time waits in the track that waits longest, in seconds.
    double pendingSeconds() const;
    /// Puts what waits into the file. Fail points "AVAssetWriter.writeFragment" and "AVAssetWriter.reserve" (status: an
    /// errno), and "AVAssetWriter.writeSlowly" (status: milliseconds that it takes longer).
    /// \return null, or why it could not be written; the file is then as it was before
    Ref<NSError> writeFragment();
    /// Makes it an ordinary movie of what is in the file. Fail point "AVAssetWriter.completeFile" (status: an errno).
    /// \return null, or why not; the file can then still be played as it is, unless nothing is in it or it is gone
    Ref<NSError> complete();
    /// Whether a movie with at least one sample is under the file's path.
    bool isPlayable() const;
    void remove();

private:
    AVAssetWriterTrack& add(std::unique_ptr<AVAssetWriterTrack> track);
    Ref<NSError> writeBeginning();
    Ref<NSError> writeAt(std::uint64_t offset, std::span<const std::span<const std::byte>> parts);
    int reserve(std::uint64_t end);
    bool hasRoomFor(std::uint64_t bytes) const;
    bool isStillThere() const;
    void writeMovie(AVAssetWriterBoxBuffer& boxes, bool withIndex) const;

    const int mDescriptor;
    const std::string mPath;
    std::vector<std::unique_ptr<AVAssetWriterTrack>> mTracks;
    std::uint64_t mEnd = 0; ///< of the last whole fragment
    std::uint64_t mReserved = 0;
    bool mCanReserve = true;
    std::uint32_t mFragments = 0;
};
