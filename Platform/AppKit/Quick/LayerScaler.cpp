#include "Platform/AppKit/Quick/LayerScaler.h"

#include "Platform/CoreImage/WordVectors.h"

#include <libyuv/convert_argb.h>
#include <libyuv/planar_functions.h>
#include <libyuv/scale_argb.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#ifdef __x86_64__
#include <immintrin.h>
#endif

using namespace WordVectors;

namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::uint32_t whole = 65536;
/// How many pixels are made at once.
constexpr std::size_t group = 4;

/// The pixel at \p pixels and the next one, each by its part.
Words weighted(const std::uint8_t* pixels, const std::array<std::uint16_t, 8>& parts)
{
    using TwoPixels = std::uint64_t __attribute__((vector_size(16)));
    std::uint64_t both = 0;
    std::memcpy(&both, pixels, sizeof both);
    const TwoPixels bytes { both, 0 };
    return highProducts(lowerBytes(reinterpret_cast<Bytes>(bytes)), loaded<Words>(parts.data()));
}

#ifdef __x86_64__

/// As many columns as are made at once with vectors of 32 bytes.
constexpr std::size_t wideGroup = 8;

/// Four columns: of each what its two pixels give by their parts, as words in the order 0, 2, 1, 3.
__attribute__((target("avx2"))) inline __m256i wideColumns(
    const std::uint8_t* row, const std::uint32_t* offsets, const std::array<std::uint16_t, 8>* parts)
{
    const auto pixels = [row](std::uint32_t offset) __attribute__((target("avx2")))
    {
        long long both = 0;
        std::memcpy(&both, row + offset, sizeof both);
        return both;
    };
    const __m256i bytes
        = _mm256_set_epi64x(pixels(offsets[3]), pixels(offsets[1]), pixels(offsets[2]), pixels(offsets[0]));
    const auto* const shares = reinterpret_cast<const __m256i*>(parts);
    // The bytes are the upper halves of words, as the parts have a 65536th as their unit.
    const __m256i none = _mm256_setzero_si256();
    const __m256i one = _mm256_mulhi_epu16(_mm256_unpacklo_epi8(none, bytes), _mm256_loadu_si256(shares));
    const __m256i two = _mm256_mulhi_epu16(_mm256_unpackhi_epi8(none, bytes), _mm256_loadu_si256(shares + 1));
    const __m256i sum = _mm256_add_epi16(_mm256_unpacklo_epi64(one, two), _mm256_unpackhi_epi64(one, two));
    return _mm256_srli_epi16(_mm256_add_epi16(sum, _mm256_set1_epi16(128)), 8);
}

/// Makes whole groups of columns. \return how many columns those are
__attribute__((target("avx2"))) std::size_t combineWideGroups(const std::uint8_t* row, const std::uint32_t* offsets,
    const std::array<std::uint16_t, 8>* parts, std::size_t width, std::uint8_t* target)
{
    const __m256i inOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    std::size_t column = 0;
    for (; column + wideGroup <= width; column += wideGroup) {
        const __m256i words[] { wideColumns(row, offsets + column, parts + column),
            wideColumns(row, offsets + column + group, parts + column + group) };
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + column * bytesPerPixel),
            _mm256_permutevar8x32_epi32(_mm256_packus_epi16(words[0], words[1]), inOrder));
    }
    return column;
}

bool hasWideVectors()
{
    static const bool has = __builtin_cpu_supports("avx2") != 0;
    return has;
}

#endif

/// Turns the order of each pixel's bytes round.
void reverseBytes(std::uint8_t* pixels, std::size_t bytesPerRow, LayerScaler::Size size)
{
    const auto stride = static_cast<int>(bytesPerRow);
    libyuv::BGRAToARGB(pixels, stride, pixels, stride, static_cast<int>(size.width), static_cast<int>(size.height));
}

}

LayerScaler::Source::Source(const CALayerPicture& picture)
    : top(reinterpret_cast<const std::uint8_t*>(picture.buffer->baseAddress()))
    , stride(static_cast<int>(picture.buffer->bytesPerRow()))
    , size { picture.buffer->width(), picture.buffer->height() }
    , isAlphaFirst(picture.buffer->pixelFormat() == kCVPixelFormatType_32ARGB)
{
    if (!picture.isMirrored)
        return;
    top = row(size.height - 1);
    stride = -stride;
}

std::vector<LayerScaler::Tap> LayerScaler::taps(std::size_t sourceLength, std::size_t targetLength)
{
    std::vector<Tap> result;
    const double step = static_cast<double>(sourceLength) / static_cast<double>(targetLength);
    const auto last = static_cast<double>(sourceLength - 1);
    const double lastFirst = std::max(last - 1, 0.0);
    for (std::size_t index = 0; index < targetLength; ++index) {
        const double centre = std::clamp((static_cast<double>(index) + 0.5) * step - 0.5, 0.0, last);
        const double first = std::min(std::floor(centre), lastFirst);
        result.push_back(
            { static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(std::lround((centre - first) * whole)) });
    }
    return result;
}

void LayerScaler::layOut(Size source, Size target)
{
    if (mSource == source && mTarget == target)
        return;
    mColumnOffsets.clear();
    mColumnParts.clear();
    for (const auto& tap : taps(source.width, target.width)) {
        // The whole does not fit; what is missing is far below a step of a byte.
        const auto part = [](std::uint32_t value) { return static_cast<std::uint16_t>(std::min(value, whole - 1)); };
        const auto one = part(whole - tap.part);
        const auto next = part(tap.part);
        mColumnOffsets.push_back(tap.first * bytesPerPixel);
        mColumnParts.push_back({ one, one, one, one, next, next, next, next });
    }
    // A part may end anywhere, and its last group is read whole.
    mColumnOffsets.insert(mColumnOffsets.end(), group - 1, mColumnOffsets.back());
    mColumnParts.insert(mColumnParts.end(), group - 1, mColumnParts.back());
    mDown = taps(source.height, target.height);
    mRow.resize(std::max<std::size_t>(source.width, 2) * bytesPerPixel);
    mSource = source;
    mTarget = target;
}

const std::uint8_t* LayerScaler::rowBetween(const Source& source, const Tap& tap, const Part& part)
{
    const auto* row = source.row(tap.first);
    // The library's unit.
    constexpr std::uint32_t all = 256;
    const auto next = (tap.part + whole / all / 2) / (whole / all);
    if (next == all) {
        row = source.row(tap.first + 1);
    } else if (next != 0) {
        const auto from = mColumnOffsets[part.left];
        const auto to = std::min<std::size_t>(
            mColumnOffsets[part.left + part.size.width - 1] + 2 * bytesPerPixel, source.size.width * bytesPerPixel);
        libyuv::InterpolatePlane(row + from, 0, source.row(tap.first + 1) + from, 0, mRow.data() + from, 0,
            static_cast<int>(to - from), 1, static_cast<int>(next));
        row = mRow.data();
    }
    if (source.size.width > 1)
        return row;
    std::memmove(mRow.data(), row, bytesPerPixel);
    std::memcpy(mRow.data() + bytesPerPixel, mRow.data(), bytesPerPixel);
    return mRow.data();
}

void LayerScaler::combineColumns(const std::uint8_t* row, const Part& part, std::uint8_t* target) const
{
    // Half a step of a byte, since what is below one is cut off.
    const auto half = filled(128);
    const auto* offset = mColumnOffsets.data() + part.left;
    const auto* parts = mColumnParts.data() + part.left;
    auto width = part.size.width;
#ifdef __x86_64__
    if (hasWideVectors()) {
        const auto done = combineWideGroups(row, offset, parts, width, target);
        offset += done;
        parts += done;
        target += done * bytesPerPixel;
        width -= done;
    }
#endif
    const auto pixel = [&](std::size_t column) { return weighted(row + offset[column], parts[column]); };
    const auto four = [&] { return upperHalves(folded(pixel(0), pixel(1)) + half, folded(pixel(2), pixel(3)) + half); };
    for (auto groups = width / group; groups > 0; --groups, offset += group, parts += group, target += sizeof(Bytes))
        store(target, four());
    if (const auto rest = width % group) {
        const auto bytes = four();
        std::memcpy(target, &bytes, rest * bytesPerPixel);
    }
}

void LayerScaler::interpolate(
    const Source& source, const Part& part, std::uint8_t* target, std::size_t targetBytesPerRow)
{
    for (std::size_t y = 0; y < part.size.height; ++y, target += targetBytesPerRow) {
        combineColumns(rowBetween(source, mDown[part.top + y], part), part, target);
        // While it is near.
        if (source.isAlphaFirst)
            reverseBytes(target, targetBytesPerRow, { part.size.width, 1 });
    }
}

void LayerScaler::draw(
    const CALayerPicture& picture, Size size, const Part& part, std::uint8_t* target, std::size_t targetBytesPerRow)
{
    const Source source(picture);
    const auto stride = static_cast<int>(targetBytesPerRow);
    const auto width = static_cast<int>(part.size.width);
    const auto height = static_cast<int>(part.size.height);
    if (source.size == size && source.isAlphaFirst) {
        // The library counts bytes from the other end: what it calls BGRA has alpha first in memory.
        libyuv::BGRAToARGB(
            source.row(part.top) + part.left * bytesPerPixel, source.stride, target, stride, width, height);
    } else if (source.size == size) {
        for (std::size_t y = 0; y < part.size.height; ++y)
            std::memcpy(target + y * targetBytesPerRow, source.row(part.top + y) + part.left * bytesPerPixel,
                part.size.width * bytesPerPixel);
    } else if (source.size.width == 2 * size.width && source.size.height == 2 * size.height) {
        // Between four pixels lies the mean of them.
        libyuv::ARGBScale(source.row(2 * part.top) + 2 * part.left * bytesPerPixel, source.stride, 2 * width,
            2 * height, target, stride, width, height, libyuv::kFilterBox);
        if (source.isAlphaFirst)
            reverseBytes(target, targetBytesPerRow, part.size);
    } else {
        layOut(source.size, size);
        interpolate(source, part, target, targetBytesPerRow);
    }
}

Ref<CVPixelBuffer> LayerScaler::scaled(const CALayerPicture& picture, Size size)
{
    const auto& buffer = picture.buffer;
    if (Size { buffer->width(), buffer->height() } == size && !picture.isMirrored
        && buffer->pixelFormat() == kCVPixelFormatType_32BGRA)
        return buffer;
    auto target = mBuffers.next(size.width, size.height);
    if (target)
        draw(picture, size, { 0, 0, size }, reinterpret_cast<std::uint8_t*>(target->baseAddress()),
            target->bytesPerRow());
    return target;
}
