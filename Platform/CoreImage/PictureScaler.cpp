#include "Platform/CoreImage/PictureScaler.h"

#include "Platform/CoreImage/WordVectors.h"

#include <libyuv.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

using namespace WordVectors;

namespace {

constexpr std::size_t parts = 4;
/// The four parts of a pixel, which every compiler of ours adds and multiplies at once.
using Pixel = float __attribute__((vector_size(parts * sizeof(float))));
using WholePixel = std::int32_t __attribute__((vector_size(parts * sizeof(std::int32_t))));
using BytePixel = std::uint8_t __attribute__((vector_size(parts)));

constexpr std::size_t wordCount = 8;
constexpr std::size_t byteCount = 16;

/// Every product of a word loses up to a 256th of a step: with so many along each axis the result is still within one.
constexpr int mostTapsInWords = 64;

bool isAt(double value, double place)
{
    constexpr double closeEnough = 1e-6;
    return std::abs(value - place) < closeEnough;
}

struct Weight {
    int index;
    double value;
};

/// What of the source lies under the target's pixel \p index, in place of what \p result had.
void findWeights(std::vector<Weight>& result, int index, int sourceLength, PictureScaler::Span span)
{
    result.clear();
    const double scale = (span.end - span.start) / sourceLength;
    const auto sourceAt = [&](double place) { return (place - span.start) / scale; };
    if (std::abs(scale) < 1) {
        const auto [low, high] = std::minmax({ sourceAt(index), sourceAt(index + 1.0) });
        const double from = std::max(low, 0.0);
        const double to = std::min<double>(high, sourceLength);
        for (int tap = static_cast<int>(from); tap < to; ++tap) {
            const double value = (std::min(to, tap + 1.0) - std::max<double>(from, tap)) / (high - low);
            // What calculating leaves of an edge is not worth a whole row.
            if (!isAt(value, 0))
                result.push_back({ tap, value });
        }
        return;
    }
    const double middle = sourceAt(index + 0.5);
    if (middle < 0 || middle > sourceLength)
        return;
    const double place = std::floor(middle - 0.5);
    const double right = middle - 0.5 - place;
    const auto inside = [sourceLength](double tap) { return std::clamp(static_cast<int>(tap), 0, sourceLength - 1); };
    result.push_back({ inside(place), 1 - right });
    if (inside(place + 1) == inside(place))
        result.back().value = 1;
    else
        result.push_back({ inside(place + 1), right });
}

}

bool PictureScaler::prepare(Axis& axis, int sourceLength, int targetLength, Span span)
{
    if (axis.sourceLength == sourceLength && axis.taps.size() == static_cast<std::size_t>(targetLength)
        && axis.span.start == span.start && axis.span.end == span.end)
        return false;
    axis.taps.clear();
    axis.weights.clear();
    axis.shares.clear();
    axis.mostTaps = 0;
    std::vector<Weight> weights;
    for (int index = 0; index < targetLength; ++index) {
        Taps taps { 0, 0, axis.weights.size() };
        constexpr double whole = 65536;
        double sum = 0;
        findWeights(weights, index, sourceLength, span);
        for (const auto& weight : weights) {
            if (taps.count == 0)
                taps.first = weight.index;
            axis.weights.push_back(static_cast<float>(weight.value));
            const double share = std::round((sum + weight.value) * whole) - std::round(sum * whole);
            axis.shares.push_back(static_cast<std::uint16_t>(std::clamp(share, 0.0, whole - 1)));
            sum += weight.value;
            ++taps.count;
        }
        axis.mostTaps = std::max(axis.mostTaps, taps.count);
        axis.taps.push_back(taps);
    }
    axis.sourceLength = sourceLength;
    axis.span = span;
    return true;
}

void PictureScaler::layOutColumns()
{
    mPairs = std::max<std::size_t>(1, (static_cast<std::size_t>(mAcross.mostTaps) + 1) / 2);
    // Four pixels are made at a time, and every pair of taps is read, whether it weighs anything or not.
    const auto columns = (mAcross.taps.size() + 3) / 4 * 4;
    mColumnStarts.assign(columns, 0);
    mColumnShares.assign(columns * mPairs * wordCount, 0);
    const auto rowBytes = static_cast<std::size_t>(mAcross.sourceLength) * parts;
    mWords.assign((rowBytes + byteCount - 1) / byteCount * byteCount + mPairs * wordCount, 0);
    for (std::size_t column = 0; column < mAcross.taps.size(); ++column) {
        const auto& taps = mAcross.taps[column];
        mColumnStarts[column] = static_cast<std::uint32_t>(taps.first) * parts;
        auto* const shares = mColumnShares.data() + column * mPairs * wordCount;
        for (std::size_t tap = 0; tap < static_cast<std::size_t>(taps.count); ++tap)
            std::fill_n(shares + tap * parts, parts, mAcross.shares[taps.weights + tap]);
    }
}

template <std::size_t fixedTaps> void PictureScaler::combineSomeRows(const Source& source, const Taps& taps)
{
    const auto* const rows = reinterpret_cast<const std::uint8_t*>(source.pixels)
        + static_cast<std::size_t>(taps.first) * source.bytesPerRow;
    const auto count = fixedTaps ? fixedTaps : static_cast<std::size_t>(taps.count);
    std::array<Words, fixedTaps ? fixedTaps : mostTapsInWords> shares;
    for (std::size_t tap = 0; tap < count; ++tap)
        shares[tap] = filled(mDown.shares[taps.weights + tap]);
    const auto length = static_cast<std::size_t>(mAcross.sourceLength) * parts;
    const auto wholeLength = length / byteCount * byteCount;
    auto* const words = mWords.data();
    // All rows at once, so that each sum is written once.
    const auto add = [&](std::size_t at, const auto& bytesOf) {
        Words lower {};
        Words upper {};
        const auto* row = rows + at;
        for (std::size_t tap = 0; tap < count; ++tap, row += source.bytesPerRow) {
            const Bytes bytes = bytesOf(row);
            lower += highProducts(lowerBytes(bytes), shares[tap]);
            upper += highProducts(upperBytes(bytes), shares[tap]);
        }
        store(words + at, lower);
        store(words + at + wordCount, upper);
    };
    for (std::size_t i = 0; i < wholeLength; i += byteCount)
        add(i, [](const std::uint8_t* from) { return loaded<Bytes>(from); });
    if (wholeLength != length)
        add(wholeLength, [&](const std::uint8_t* from) {
            Bytes last {};
            std::memcpy(&last, from, length - wholeLength);
            return last;
        });
}

void PictureScaler::combineRows(const Source& source, const Taps& taps)
{
    switch (taps.count) {
    case 1:
        return combineSomeRows<1>(source, taps);
    case 2:
        return combineSomeRows<2>(source, taps);
    case 3:
        return combineSomeRows<3>(source, taps);
    default:
        return combineSomeRows<0>(source, taps);
    }
}

template <std::size_t fixedPairs> void PictureScaler::combineColumns(std::byte* row, Words rounding) const
{
    const auto pairs = fixedPairs ? fixedPairs : mPairs;
    const auto* const words = mWords.data();
    const auto* starts = mColumnStarts.data();
    const auto* shares = mColumnShares.data();
    const auto column = [&] {
        const auto* pixels = words + *starts++;
        Words sum = highProducts(loaded<Words>(pixels), loaded<Words>(shares));
        shares += wordCount;
        for (std::size_t pair = 1; pair < pairs; ++pair, shares += wordCount) {
            pixels += wordCount;
            sum += highProducts(loaded<Words>(pixels), loaded<Words>(shares));
        }
        return sum;
    };
    const auto fourColumns = [&] {
        const auto a = column();
        const auto b = column();
        const auto c = column();
        const auto d = column();
        return upperHalves(folded(a, b) + rounding, folded(c, d) + rounding);
    };
    const auto length = mAcross.taps.size() * parts;
    const auto wholeLength = length / byteCount * byteCount;
    for (std::size_t i = 0; i < wholeLength; i += byteCount)
        store(row + i, fourColumns());
    if (wholeLength != length) {
        const auto last = fourColumns();
        std::memcpy(row + wholeLength, &last, length - wholeLength);
    }
}

void PictureScaler::combineManyRows(const Source& source, const Taps& taps)
{
    const std::size_t length = static_cast<std::size_t>(source.width) * parts;
    mRow.resize(length);
    float* const sums = mRow.data();
    for (int tap = 0; tap < taps.count; ++tap) {
        const auto* const row = reinterpret_cast<const std::uint8_t*>(source.pixels)
            + static_cast<std::size_t>(taps.first + tap) * source.bytesPerRow;
        const float weight = mDown.weights[taps.weights + static_cast<std::size_t>(tap)];
        if (tap == 0) {
            for (std::size_t i = 0; i < length; ++i)
                sums[i] = static_cast<float>(row[i]) * weight;
        } else {
            for (std::size_t i = 0; i < length; ++i)
                sums[i] += static_cast<float>(row[i]) * weight;
        }
    }
}

void PictureScaler::combineManyColumns(std::byte* row) const
{
    const auto* const weights = mAcross.weights.data();
    for (const auto& taps : mAcross.taps) {
        const float* source = mRow.data() + static_cast<std::size_t>(taps.first) * parts;
        // The conversion cuts off, so half a step more rounds.
        Pixel sum { 0.5F, 0.5F, 0.5F, 0.5F };
        for (int tap = 0; tap < taps.count; ++tap, source += parts)
            sum += loaded<Pixel>(source) * weights[taps.weights + static_cast<std::size_t>(tap)];
        const auto whole = __builtin_convertvector(sum, WholePixel);
        const auto bytes = __builtin_convertvector(whole, BytePixel);
        std::memcpy(row, &bytes, sizeof bytes);
        row += parts;
    }
}

void PictureScaler::scale(const Source& source, const Target& target, Span across, Span down)
{
    const bool fills = isAt(across.start, 0) && isAt(across.end, target.width) && isAt(down.start, 0)
        && isAt(down.end, target.height);
    const auto* const from = reinterpret_cast<const std::uint8_t*>(source.pixels);
    auto* const to = reinterpret_cast<std::uint8_t*>(target.pixels);
    const auto fromStride = static_cast<int>(source.bytesPerRow);
    const auto toStride = static_cast<int>(target.bytesPerRow);
    if (fills && source.width == target.width && source.height == target.height) {
        libyuv::ARGBCopy(from, fromStride, to, toStride, target.width, target.height);
        return;
    }
    if (fills && source.width == 2 * target.width && source.height == 2 * target.height) {
        // Exactly the mean of four.
        libyuv::ARGBScale(from, fromStride, source.width, source.height, to, toStride, target.width, target.height,
            libyuv::kFilterBox);
        return;
    }
    if (prepare(mAcross, source.width, target.width, across))
        layOutColumns();
    prepare(mDown, source.height, target.height, down);
    const bool isInWords = std::max(mAcross.mostTaps, mDown.mostTaps) <= mostTapsInWords;
    // Half a step, and what the products lose on average.
    const auto rounding = filled(static_cast<std::uint16_t>(128 + (mAcross.mostTaps + mDown.mostTaps) / 2));
    for (int y = 0; y < target.height; ++y) {
        auto* const row = target.pixels + static_cast<std::size_t>(y) * target.bytesPerRow;
        const auto& taps = mDown.taps[static_cast<std::size_t>(y)];
        if (taps.count == 0) {
            std::memset(row, 0, static_cast<std::size_t>(target.width) * parts);
        } else if (!isInWords) {
            combineManyRows(source, taps);
            combineManyColumns(row);
        } else {
            combineRows(source, taps);
            if (mPairs == 1)
                combineColumns<1>(row, rounding);
            else if (mPairs == 2)
                combineColumns<2>(row, rounding);
            else
                combineColumns<0>(row, rounding);
        }
    }
}
