#include "Platform/AVFoundation/AVAssetWriterNALUnits.h"

#include "Platform/AVFoundation/AVAssetWriterBoxBuffer.h"

#include <algorithm>

namespace {

constexpr int sequenceParameterSet = 7;
constexpr int pictureParameterSet = 8;
constexpr int accessUnitDelimiter = 9;

int typeOf(std::span<const std::byte> unit)
{
    return std::to_integer<int>(unit.front() & std::byte { 31 });
}

bool isParameterSet(std::span<const std::byte> unit)
{
    return typeOf(unit) == sequenceParameterSet || typeOf(unit) == pictureParameterSet;
}

}

std::vector<std::span<const std::byte>> AVAssetWriterNALUnits::split(std::span<const std::byte> stream)
{
    constexpr std::byte startCode[] { std::byte { 0 }, std::byte { 0 }, std::byte { 1 } };
    std::vector<std::span<const std::byte>> units;
    auto start = std::search(stream.begin(), stream.end(), std::begin(startCode), std::end(startCode));
    while (start != stream.end()) {
        const auto first = start + 3;
        const auto next = std::search(first, stream.end(), std::begin(startCode), std::end(startCode));
        auto last = next;
        while (last != first && *(last - 1) == std::byte { 0 })
            --last;
        if (last != first)
            units.push_back(std::span(first, last));
        start = next;
    }
    return units;
}

void AVAssetWriterNALUnits::appendSample(std::span<const std::byte> stream, std::vector<std::byte>& sample)
{
    for (const auto unit : split(stream)) {
        if (isParameterSet(unit) || typeOf(unit) == accessUnitDelimiter)
            continue;
        for (int shift = 24; shift >= 0; shift -= 8)
            sample.push_back(static_cast<std::byte>(unit.size() >> shift));
        sample.insert(sample.end(), unit.begin(), unit.end());
    }
}

std::vector<std::byte> AVAssetWriterNALUnits::parameterSets(std::span<const std::byte> stream)
{
    std::vector<std::byte> sets;
    for (const auto unit : split(stream)) {
        if (!isParameterSet(unit))
            continue;
        for (const int byte : { 0, 0, 0, 1 })
            sets.push_back(static_cast<std::byte>(byte));
        sets.insert(sets.end(), unit.begin(), unit.end());
    }
    return sets;
}

std::vector<std::byte> AVAssetWriterNALUnits::decoderConfiguration(std::span<const std::byte> stream)
{
    std::vector<std::span<const std::byte>> sequenceSets;
    std::vector<std::span<const std::byte>> pictureSets;
    std::byte profile { 0 };
    std::byte compatibility { 0xFF };
    std::byte level { 0 };
    for (const auto unit : split(stream)) {
        if (typeOf(unit) == sequenceParameterSet && unit.size() >= 4) {
            sequenceSets.push_back(unit);
            // What a decoder must be able to do for all of them.
            profile = std::max(profile, unit[1]);
            compatibility &= unit[2];
            level = std::max(level, unit[3]);
        }
        if (typeOf(unit) == pictureParameterSet)
            pictureSets.push_back(unit);
    }
    if (sequenceSets.empty() || pictureSets.empty())
        return {};

    AVAssetWriterBoxBuffer buffer;
    buffer.u8(1);
    for (const auto byte : { profile, compatibility, level })
        buffer.u8(std::to_integer<std::uint64_t>(byte));
    buffer.u8(0xFC | 3); // lengths have four bytes
    buffer.u8(0xE0 | sequenceSets.size());
    for (const auto unit : sequenceSets) {
        buffer.u16(unit.size());
        buffer.bytes(unit);
    }
    buffer.u8(pictureSets.size());
    for (const auto unit : pictureSets) {
        buffer.u16(unit.size());
        buffer.bytes(unit);
    }
    constexpr int high = 100;
    if (std::to_integer<int>(profile) >= high) {
        buffer.u8(0xFC | 1); // 4:2:0
        buffer.u8(0xF8); // 8 bits of brightness
        buffer.u8(0xF8); // 8 bits of colour
        buffer.u8(0);
    }
    const auto contents = buffer.contents();
    return { contents.begin(), contents.end() };
}
