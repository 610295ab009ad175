#include "Platform/AVFoundation/AVAssetWriterTrack.h"

#include <bit>
#include <cmath>
#include <limits>

namespace {

constexpr std::uint32_t trackEnabledInMovie = 3;
constexpr std::uint32_t selfContained = 1;
constexpr std::uint16_t undefinedLanguage = 0x55C4;
constexpr std::uint32_t sampleIsSync = 0x02000000; // depends on no other
constexpr std::uint32_t sampleIsNotSync = 0x01010000;

std::int32_t fixedPoint(double value, int fractionBits)
{
    return static_cast<std::int32_t>(std::lround(std::ldexp(value, fractionBits)));
}

unsigned versionFor(std::uint64_t duration)
{
    return duration > std::numeric_limits<std::uint32_t>::max() ? 1 : 0;
}

/// Creation and change times, which are left open, and what stands between them and the duration.
template <class Between> void writeTimes(AVAssetWriterBoxBuffer& boxes, std::uint64_t duration, const Between& between)
{
    const bool isLong = versionFor(duration) == 1;
    boxes.zeros(isLong ? 16 : 8);
    between();
    isLong ? boxes.u64(duration) : boxes.u32(duration);
}

}

AVAssetWriterTrack::AVAssetWriterTrack(std::uint32_t identifier, PictureFormat format)
    : mIdentifier(identifier)
    , mTimescale(pictureTimescale)
    , mPicture(std::move(format))
{
}

AVAssetWriterTrack::AVAssetWriterTrack(std::uint32_t identifier, const AudioStreamBasicDescription& format)
    : mIdentifier(identifier)
    , mTimescale(static_cast<std::uint32_t>(std::lround(format.mSampleRate)))
    , mSound(format)
{
}

void AVAssetWriterTrack::setDecoderConfiguration(std::vector<std::byte> configuration)
{
    mPicture->decoderConfiguration = std::move(configuration);
}

void AVAssetWriterTrack::appendPicture(std::span<const std::byte> picture, std::uint64_t time, bool isKeyFrame)
{
    endPictures(time);
    mPendingBytes.insert(mPendingBytes.end(), picture.begin(), picture.end());
    mPending.push_back({ static_cast<std::uint32_t>(picture.size()), 0, isKeyFrame });
    mLastTime = time;
}

void AVAssetWriterTrack::appendSound(std::span<const std::byte> sound, std::uint32_t frames)
{
    mPendingBytes.insert(mPendingBytes.end(), sound.begin(), sound.end());
    mPending.push_back({ static_cast<std::uint32_t>(sound.size()), frames, true });
    mPendingDuration += frames;
}

void AVAssetWriterTrack::endPictures(std::uint64_t endTime)
{
    if (mPending.empty() || mPending.back().duration != 0)
        return;
    mPending.back().duration = static_cast<std::uint32_t>(endTime - mLastTime);
    mPendingDuration += mPending.back().duration;
}

std::size_t AVAssetWriterTrack::completeSamples() const noexcept
{
    const bool lastIsOpen = !mPending.empty() && mPending.back().duration == 0;
    return mPending.size() - (lastIsOpen ? 1 : 0);
}

double AVAssetWriterTrack::pendingSeconds() const
{
    return static_cast<double>(mPendingDuration) / mTimescale;
}

std::span<const std::byte> AVAssetWriterTrack::pendingBytes() const
{
    const std::size_t waiting = completeSamples() < mPending.size() ? mPending.back().size : 0;
    return std::span(mPendingBytes).first(mPendingBytes.size() - waiting);
}

std::size_t AVAssetWriterTrack::writeFragment(AVAssetWriterBoxBuffer& boxes, std::uint64_t fragmentOffset) const
{
    std::size_t dataOffsetPosition = 0;
    boxes.box("traf", [&] {
        constexpr std::uint32_t baseDataOffsetPresent = 1;
        boxes.fullBox("tfhd", 0, baseDataOffsetPresent, [&] {
            boxes.u32(mIdentifier);
            boxes.u64(fragmentOffset);
        });
        boxes.fullBox("tfdt", 1, 0, [&] { boxes.u64(mDuration); });
        constexpr std::uint32_t offsetDurationSizeFlagsPresent = 0x701;
        boxes.fullBox("trun", 0, offsetDurationSizeFlagsPresent, [&] {
            boxes.u32(completeSamples());
            dataOffsetPosition = boxes.size();
            boxes.u32(0);
            for (std::size_t index = 0; index < completeSamples(); ++index) {
                boxes.u32(mPending[index].duration);
                boxes.u32(mPending[index].size);
                boxes.u32(mPending[index].isKeyFrame ? sampleIsSync : sampleIsNotSync);
            }
        });
    });
    return dataOffsetPosition;
}

void AVAssetWriterTrack::pendingWereWritten(std::uint64_t offset)
{
    const std::size_t count = completeSamples();
    const auto bytes = pendingBytes().size();
    std::uint32_t samples = 0;
    for (std::size_t index = 0; index < count; ++index) {
        const auto& sample = mPending[index];
        if (isPicture()) {
            mSizes.push_back(sample.size);
            if (sample.isKeyFrame)
                mKeyFrames.push_back(static_cast<std::uint32_t>(mSizes.size()));
            addDuration(1, sample.duration);
            samples += 1;
        } else {
            addDuration(sample.duration, 1);
            samples += sample.duration;
        }
        mDuration += sample.duration;
        mPendingDuration -= sample.duration;
    }
    mChunks.push_back({ offset, samples });
    mPending.erase(mPending.begin(), mPending.begin() + static_cast<std::ptrdiff_t>(count));
    mPendingBytes.erase(mPendingBytes.begin(), mPendingBytes.begin() + static_cast<std::ptrdiff_t>(bytes));
}

void AVAssetWriterTrack::addDuration(std::uint32_t samples, std::uint32_t duration)
{
    const bool continues = !mDurations.empty() && mDurations.back().duration == duration
        && mDurations.back().samples <= std::numeric_limits<std::uint32_t>::max() - samples;
    if (continues)
        mDurations.back().samples += samples;
    else
        mDurations.push_back({ samples, duration });
}

std::uint64_t AVAssetWriterTrack::indexSizeBound() const noexcept
{
    constexpr std::uint64_t headers = 2048;
    return headers + mChunks.size() * (8 + 12) + mDurations.size() * sizeof(Run)
        + (mSizes.size() + mKeyFrames.size()) * 4;
}

void AVAssetWriterTrack::writeTrack(AVAssetWriterBoxBuffer& boxes, std::uint64_t durationInMovie, bool withIndex) const
{
    boxes.box("trak", [&] {
        boxes.fullBox("tkhd", versionFor(durationInMovie), trackEnabledInMovie, [&] {
            writeTimes(boxes, durationInMovie, [&] {
                boxes.u32(mIdentifier);
                boxes.u32(0);
            });
            boxes.zeros(8);
            boxes.u16(0); // layer
            boxes.u16(0); // alternate group
            boxes.u16(isPicture() ? 0 : 0x100); // volume 1
            boxes.u16(0);
            const auto [a, b, c, d, tx, ty]
                = isPicture() ? mPicture->transform : std::array<double, 6> { 1, 0, 0, 1, 0, 0 };
            for (const auto& [x, y, w] :
                { std::array { a, b, 0.0 }, std::array { c, d, 0.0 }, std::array { tx, ty, 1.0 } }) {
                boxes.u32(static_cast<std::uint32_t>(fixedPoint(x, 16)));
                boxes.u32(static_cast<std::uint32_t>(fixedPoint(y, 16)));
                boxes.u32(static_cast<std::uint32_t>(fixedPoint(w, 30)));
            }
            boxes.u32(isPicture() ? std::uint32_t { mPicture->width } << 16 : 0);
            boxes.u32(isPicture() ? std::uint32_t { mPicture->height } << 16 : 0);
        });
        boxes.box("mdia", [&] {
            const std::uint64_t duration = withIndex ? mDuration : 0;
            boxes.fullBox("mdhd", versionFor(duration), 0, [&] {
                writeTimes(boxes, duration, [&] { boxes.u32(mTimescale); });
                boxes.u16(undefinedLanguage);
                boxes.u16(0); // quality
            });
            boxes.fullBox("hdlr", 0, 0, [&] {
                boxes.text("mhlr");
                boxes.text(isPicture() ? "vide" : "soun");
                boxes.zeros(12);
                boxes.u8(0); // no name
            });
            writeMediaInformation(boxes, withIndex);
        });
    });
}

void AVAssetWriterTrack::writeMediaInformation(AVAssetWriterBoxBuffer& boxes, bool withIndex) const
{
    boxes.box("minf", [&] {
        if (isPicture())
            boxes.fullBox("vmhd", 0, 1, [&] { boxes.zeros(8); });
        else
            boxes.fullBox("smhd", 0, 0, [&] { boxes.zeros(4); });
        // QuickTime wants the data handler named as well.
        boxes.fullBox("hdlr", 0, 0, [&] {
            boxes.text("dhlr");
            boxes.text("url ");
            boxes.zeros(12);
            boxes.u8(0);
        });
        boxes.box("dinf", [&] {
            boxes.fullBox("dref", 0, 0, [&] {
                boxes.u32(1);
                boxes.fullBox("url ", 0, selfContained, [] {});
            });
        });
        boxes.box("stbl", [&] {
            writeSampleDescription(boxes);
            writeSampleTables(boxes, withIndex);
        });
    });
}

void AVAssetWriterTrack::writeSampleDescription(AVAssetWriterBoxBuffer& boxes) const
{
    boxes.fullBox("stsd", 0, 0, [&] {
        boxes.u32(1);
        isPicture() ? writePictureDescription(boxes) : writeSoundDescription(boxes);
    });
}

void AVAssetWriterTrack::writePictureDescription(AVAssetWriterBoxBuffer& boxes) const
{
    boxes.box("avc1", [&] {
        boxes.zeros(6);
        boxes.u16(1); // data reference
        boxes.zeros(8); // version, revision, vendor
        boxes.zeros(8); // temporal and spatial quality
        boxes.u16(mPicture->width);
        boxes.u16(mPicture->height);
        boxes.u32(72 << 16); // dots an inch
        boxes.u32(72 << 16);
        boxes.u32(0);
        boxes.u16(1); // frames a sample
        boxes.zeros(32); // name
        boxes.u16(24); // depth
        boxes.u16(0xFFFF); // no colour table
        boxes.box("avcC", [&] { boxes.bytes(mPicture->decoderConfiguration); });
        boxes.box("colr", [&] {
            boxes.text("nclc");
            boxes.u16(mPicture->primaries);
            boxes.u16(mPicture->transfer);
            boxes.u16(mPicture->matrix);
        });
        boxes.box("pasp", [&] {
            boxes.u32(1);
            boxes.u32(1);
        });
    });
}

void AVAssetWriterTrack::writeSoundDescription(AVAssetWriterBoxBuffer& boxes) const
{
    constexpr std::uint32_t signedPacked = 0xC;
    const bool isPlain = mSound.mBitsPerChannel == 16 && (mSound.mFormatFlags & 0xF) == signedPacked
        && mSound.mChannelsPerFrame <= 2 && mTimescale <= 0xFFFF;
    if (isPlain) {
        // The oldest form, which every reader knows: 16-bit little-endian.
        boxes.box("sowt", [&] {
            boxes.zeros(6);
            boxes.u16(1);
            boxes.zeros(8); // version 0, revision, vendor
            boxes.u16(mSound.mChannelsPerFrame);
            boxes.u16(16);
            boxes.zeros(4);
            boxes.u32(std::uint64_t { mTimescale } << 16);
        });
        return;
    }
    boxes.box("lpcm", [&] {
        boxes.zeros(6);
        boxes.u16(1);
        boxes.u16(2); // version
        boxes.zeros(6);
        // Fixed values that make older readers leave it alone.
        boxes.u16(3);
        boxes.u16(16);
        boxes.u16(0xFFFE);
        boxes.u16(0);
        boxes.u32(0x10000);
        boxes.u32(72); // where extensions would begin
        boxes.u64(std::bit_cast<std::uint64_t>(mSound.mSampleRate));
        boxes.u32(mSound.mChannelsPerFrame);
        boxes.u32(0x7F000000);
        boxes.u32(mSound.mBitsPerChannel);
        boxes.u32(mSound.mFormatFlags);
        boxes.u32(mSound.mBytesPerFrame);
        boxes.u32(1); // frames a packet
    });
}

void AVAssetWriterTrack::writeSampleTables(AVAssetWriterBoxBuffer& boxes, bool withIndex) const
{
    const std::span durations(mDurations.data(), withIndex ? mDurations.size() : 0);
    const std::span chunks(mChunks.data(), withIndex ? mChunks.size() : 0);
    boxes.fullBox("stts", 0, 0, [&] {
        boxes.u32(durations.size());
        for (const auto& [samples, duration] : durations) {
            boxes.u32(samples);
            boxes.u32(duration);
        }
    });
    if (isPicture() && withIndex) {
        boxes.fullBox("stss", 0, 0, [&] {
            boxes.u32(mKeyFrames.size());
            for (const auto frame : mKeyFrames)
                boxes.u32(frame);
        });
    }
    boxes.fullBox("stsc", 0, 0, [&] {
        const std::size_t countPosition = boxes.size();
        std::uint32_t entries = 0;
        boxes.u32(0);
        for (std::size_t index = 0; index < chunks.size(); ++index) {
            if (index > 0 && chunks[index].samples == chunks[index - 1].samples)
                continue;
            boxes.u32(index + 1);
            boxes.u32(chunks[index].samples);
            boxes.u32(1);
            ++entries;
        }
        boxes.setU32(countPosition, entries);
    });
    boxes.fullBox("stsz", 0, 0, [&] {
        if (!isPicture()) {
            boxes.u32(mSound.mBytesPerFrame);
            boxes.u32(withIndex ? mDuration : 0);
            return;
        }
        boxes.u32(0);
        boxes.u32(withIndex ? mSizes.size() : 0);
        for (std::size_t index = 0; withIndex && index < mSizes.size(); ++index)
            boxes.u32(mSizes[index]);
    });
    const bool isLarge = !chunks.empty() && chunks.back().offset > std::numeric_limits<std::uint32_t>::max();
    boxes.fullBox(isLarge ? "co64" : "stco", 0, 0, [&] {
        boxes.u32(chunks.size());
        for (const auto& chunk : chunks)
            isLarge ? boxes.u64(chunk.offset) : boxes.u32(chunk.offset);
    });
}
