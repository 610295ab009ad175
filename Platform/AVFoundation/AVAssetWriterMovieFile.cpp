#include "Platform/AVFoundation/AVAssetWriterMovieFile.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t movieTimescale = AVAssetWriterTrack::pictureTimescale;
/// Where the box stands that later becomes the long header of the sample data: behind `ftyp`.
constexpr std::uint64_t dataHeaderOffset = 20;
constexpr std::uint64_t reservationStep = 8 << 20;
constexpr std::uint64_t reservationForTheEnd = 64 << 10;

std::uint64_t inMovieTime(const AVAssetWriterTrack& track)
{
    return track.duration() / track.timescale() * movieTimescale
        + track.duration() % track.timescale() * movieTimescale / track.timescale();
}

/// Writes all of it. \return 0 or an errno
int writeFully(int descriptor, std::span<const std::byte> bytes, std::uint64_t offset)
{
    while (!bytes.empty()) {
        const auto written = ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return errno;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
        offset += static_cast<std::uint64_t>(written);
    }
    return 0;
}

}

std::unique_ptr<AVAssetWriterMovieFile> AVAssetWriterMovieFile::create(const std::string& path, Ref<NSError>* error)
{
    int descriptor = -1;
    int reason = 0;
    if (const auto status = FAIL_POINT("AVAssetWriter.createFile")) {
        reason = *status;
    } else {
        descriptor = ::open(path.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666);
        reason = descriptor < 0 ? errno : 0;
        struct stat there { };
        if (reason == EEXIST && ::stat(path.c_str(), &there) == 0 && S_ISDIR(there.st_mode))
            reason = EISDIR;
    }
    if (descriptor < 0) {
        NSErrorReturn(error, NSError::errorWithErrno(reason, "Cannot create the movie \"" + path + "\""));
        return nullptr;
    }
    return std::make_unique<AVAssetWriterMovieFile>(descriptor, path);
}

AVAssetWriterMovieFile::~AVAssetWriterMovieFile()
{
    ::close(mDescriptor);
}

AVAssetWriterTrack& AVAssetWriterMovieFile::addTrack(AVAssetWriterTrack::PictureFormat format)
{
    return add(std::make_unique<AVAssetWriterTrack>(mTracks.size() + 1, std::move(format)));
}

AVAssetWriterTrack& AVAssetWriterMovieFile::addTrack(const AudioStreamBasicDescription& format)
{
    return add(std::make_unique<AVAssetWriterTrack>(mTracks.size() + 1, format));
}

AVAssetWriterTrack& AVAssetWriterMovieFile::add(std::unique_ptr<AVAssetWriterTrack> track)
{
    return *mTracks.emplace_back(std::move(track));
}

double AVAssetWriterMovieFile::pendingSeconds() const
{
    double longest = 0;
    for (const auto& track : mTracks)
        longest = std::max(longest, track->pendingSeconds());
    return longest;
}

Ref<NSError> AVAssetWriterMovieFile::writeFragment()
{
    std::vector<AVAssetWriterTrack*> tracks;
    for (const auto& track : mTracks)
        if (track->hasPendingSamples())
            tracks.push_back(track.get());
    if (tracks.empty())
        return nullptr;
    if (mEnd == 0) {
        if (auto error = writeBeginning())
            return error;
    }

    AVAssetWriterBoxBuffer boxes;
    std::vector<std::size_t> offsetPositions;
    boxes.box("moof", [&] {
        boxes.fullBox("mfhd", 0, 0, [&] { boxes.u32(mFragments + 1); });
        for (const auto* const track : tracks)
            offsetPositions.push_back(track->writeFragment(boxes, mEnd));
    });
    std::vector<std::span<const std::byte>> parts { {} };
    std::vector<std::uint64_t> offsets;
    std::uint64_t length = boxes.size() + 8;
    for (std::size_t index = 0; index < tracks.size(); ++index) {
        boxes.setU32(offsetPositions[index], length);
        offsets.push_back(mEnd + length);
        parts.push_back(tracks[index]->pendingBytes());
        length += parts.back().size();
    }
    boxes.u32(length - boxes.size());
    boxes.text("mdat");
    parts.front() = boxes.contents();

    if (auto error = writeAt(mEnd, parts))
        return error;
    for (std::size_t index = 0; index < tracks.size(); ++index)
        tracks[index]->pendingWereWritten(offsets[index]);
    mEnd += length;
    ++mFragments;
    return nullptr;
}

Ref<NSError> AVAssetWriterMovieFile::writeBeginning()
{
    AVAssetWriterBoxBuffer boxes;
    boxes.box("ftyp", [&] {
        boxes.text("qt  ");
        boxes.u32(0x200);
        boxes.text("qt  ");
    });
    boxes.box("wide", [] {});
    writeMovie(boxes, false);
    const auto contents = boxes.contents();
    if (auto error = writeAt(0, std::span(&contents, 1)))
        return error;
    mEnd = boxes.size();
    return nullptr;
}

Ref<NSError> AVAssetWriterMovieFile::writeAt(std::uint64_t offset, std::span<const std::span<const std::byte>> parts)
{
    const std::string action = "Cannot write the movie \"" + mPath + "\"";
    if (!isStillThere())
        return NSError::errorWithErrno(ENOENT, action);
    std::uint64_t length = 0;
    for (const auto part : parts)
        length += part.size();

    if (const auto milliseconds = FAIL_POINT("AVAssetWriter.writeSlowly"))
        std::this_thread::sleep_for(std::chrono::milliseconds(*milliseconds));
    int reason = FAIL_POINT("AVAssetWriter.writeFragment").value_or(0);
    if (reason == 0)
        reason = reserve(offset + length);
    if (reason != 0)
        return NSError::errorWithErrno(reason, action);
    for (std::uint64_t position = offset; const auto part : parts) {
        if (reason == 0)
            reason = writeFully(mDescriptor, part, position);
        position += part.size();
    }
    if (reason == 0)
        return nullptr;
    // Half a fragment would make readers doubt the whole ones.
    if (::ftruncate(mDescriptor, static_cast<off_t>(mEnd)) != 0)
        return NSError::errorWithErrno(errno, action);
    mReserved = 0;
    return NSError::errorWithErrno(reason, action);
}

/// Makes sure that the disk has room up to \p end and for the index. \return 0 or an errno
int AVAssetWriterMovieFile::reserve(std::uint64_t end)
{
    std::uint64_t needed = end + reservationForTheEnd;
    for (const auto& track : mTracks)
        needed += track->indexSizeBound();
    if (!mCanReserve)
        return hasRoomFor(needed - mEnd) ? 0 : ENOSPC;
    if (needed <= mReserved)
        return 0;
    for (const std::uint64_t length : { needed + reservationStep, needed }) {
        const auto failure = FAIL_POINT("AVAssetWriter.reserve");
        if (!failure && ::fallocate(mDescriptor, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(length)) == 0) {
            mReserved = length;
            return 0;
        }
        if (failure)
            errno = *failure;
        if (errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL) {
            mCanReserve = false;
            return hasRoomFor(needed - mEnd) ? 0 : ENOSPC;
        }
    }
    return errno == EINTR ? 0 : errno;
}

/// For file systems on which room cannot be reserved; what cannot be known is taken for room.
bool AVAssetWriterMovieFile::hasRoomFor(std::uint64_t bytes) const
{
    struct statvfs volume { };
    return ::fstatvfs(mDescriptor, &volume) != 0 || volume.f_blocks == 0
        || std::uint64_t { volume.f_bavail } * volume.f_frsize >= bytes;
}

bool AVAssetWriterMovieFile::isStillThere() const
{
    struct stat ours { };
    return ::fstat(mDescriptor, &ours) == 0 && ours.st_nlink > 0;
}

bool AVAssetWriterMovieFile::isPlayable() const
{
    return mFragments > 0 && isStillThere();
}

Ref<NSError> AVAssetWriterMovieFile::complete()
{
    const std::string action = "Cannot complete the movie \"" + mPath + "\"";
    if (!isPlayable())
        return NSError::errorWithErrno(mFragments == 0 ? ENODATA : ENOENT, action);
    AVAssetWriterBoxBuffer index;
    writeMovie(index, true);
    AVAssetWriterBoxBuffer dataHeader;
    dataHeader.u32(1); // the length follows in 64 bits
    dataHeader.text("mdat");
    dataHeader.u64(mEnd - dataHeaderOffset);

    int reason = FAIL_POINT("AVAssetWriter.completeFile").value_or(0);
    if (reason == 0)
        reason = writeFully(mDescriptor, index.contents(), mEnd);
    if (reason == 0)
        reason = writeFully(mDescriptor, dataHeader.contents(), dataHeaderOffset);
    // Also gives back what was reserved and not needed.
    const auto size = static_cast<off_t>(mEnd + (reason == 0 ? index.size() : 0));
    if (::ftruncate(mDescriptor, size) != 0 && reason == 0)
        reason = errno;
    return reason == 0 ? nullptr : NSError::errorWithErrno(reason, action);
}

void AVAssetWriterMovieFile::remove()
{
    // Another file may have got the name meanwhile.
    struct stat ours { };
    struct stat there { };
    if (::fstat(mDescriptor, &ours) == 0 && ::stat(mPath.c_str(), &there) == 0 && ours.st_dev == there.st_dev
        && ours.st_ino == there.st_ino)
        ::unlink(mPath.c_str());
}

void AVAssetWriterMovieFile::writeMovie(AVAssetWriterBoxBuffer& boxes, bool withIndex) const
{
    std::uint64_t duration = 0;
    for (const auto& track : mTracks)
        duration = std::max(duration, withIndex ? inMovieTime(*track) : 0);
    const bool isLong = duration > UINT32_MAX;
    boxes.box("moov", [&] {
        boxes.fullBox("mvhd", isLong ? 1 : 0, 0, [&] {
            boxes.zeros(isLong ? 16 : 8);
            boxes.u32(movieTimescale);
            isLong ? boxes.u64(duration) : boxes.u32(duration);
            boxes.u32(0x10000); // rate 1
            boxes.u16(0x100); // volume 1
            boxes.zeros(10);
            for (const std::uint32_t element : { 0x10000U, 0U, 0U, 0U, 0x10000U, 0U, 0U, 0U, 0x40000000U })
                boxes.u32(element);
            boxes.zeros(24);
            boxes.u32(mTracks.size() + 1); // next track's identifier
        });
        for (const auto& track : mTracks)
            if (!withIndex || !track->isEmpty())
                track->writeTrack(boxes, withIndex ? inMovieTime(*track) : 0, withIndex);
        if (withIndex)
            return;
        boxes.box("mvex", [&] {
            for (const auto& track : mTracks) {
                boxes.fullBox("trex", 0, 0, [&] {
                    boxes.u32(track->identifier());
                    boxes.u32(1); // sample description
                    boxes.zeros(12);
                });
            }
        });
    });
}
