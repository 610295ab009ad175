#include "Platform/CoreImage/PictureScaler.h"

#include <libyuv.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr std::size_t parts = 4;
/// The four parts of a pixel, which every compiler of ours adds and multiplies at once.
using Pixel = float __attribute__((vector_size(parts * sizeof(float))));
using WholePixel = std::int32_t __attribute__((vector_size(parts * sizeof(std::int32_t))));
using BytePixel = std::uint8_t __attribute__((vector_size(parts)));

bool isAt(double value, double place)
{
    constexpr double closeEnough = 1e-6;
    return std::abs(value - place) < closeEnough;
}

struct Weight {
    int index;
    double value;
};

/// What of the source lies under the target's pixel \p index.
std::vector<Weight> weightsOf(int index, int sourceLength, PictureScaler::Span span)
{
    std::vector<Weight> result;
    const double scale = (span.end - span.start) / sourceLength;
    const auto sourceAt = [&](double place) { return (place - span.start) / scale; };
    if (std::abs(scale) < 1) {
        const auto [low, high] = std::minmax({ sourceAt(index), sourceAt(index + 1.0) });
        const double from = std::max(low, 0.0);
        const double to = std::min<double>(high, sourceLength);
        for (int tap = static_cast<int>(from); tap < to; ++tap)
            result.push_back({ tap, (std::min(to, tap + 1.0) - std::max<double>(from, tap)) / (high - low) });
        return result;
    }
    const double middle = sourceAt(index + 0.5);
    if (middle < 0 || middle > sourceLength)
        return result;
    const double place = std::floor(middle - 0.5);
    const double right = middle - 0.5 - place;
    const auto inside = [sourceLength](double tap) { return std::clamp(static_cast<int>(tap), 0, sourceLength - 1); };
    result.push_back({ inside(place), 1 - right });
    if (inside(place + 1) == inside(place))
        result.back().value = 1;
    else
        result.push_back({ inside(place + 1), right });
    return result;
}

}

void PictureScaler::prepare(Axis& axis, int sourceLength, int targetLength, Span span)
{
    if (axis.sourceLength == sourceLength && axis.taps.size() == static_cast<std::size_t>(targetLength)
        && axis.span.start == span.start && axis.span.end == span.end)
        return;
    axis.taps.clear();
    axis.weights.clear();
    for (int index = 0; index < targetLength; ++index) {
        Taps taps { 0, 0, axis.weights.size() };
        for (const auto& weight : weightsOf(index, sourceLength, span)) {
            if (taps.count == 0)
                taps.first = weight.index;
            axis.weights.push_back(static_cast<float>(weight.value));
            ++taps.count;
        }
        axis.taps.push_back(taps);
    }
    axis.sourceLength = sourceLength;
    axis.span = span;
}

void PictureScaler::combineRows(const Source& source, const Taps& taps)
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

void PictureScaler::combineColumns(std::byte* row)
{
    const auto* const weights = mAcross.weights.data();
    for (const auto& taps : mAcross.taps) {
        const float* source = mRow.data() + static_cast<std::size_t>(taps.first) * parts;
        // The conversion cuts off, so half a step more rounds.
        Pixel sum { 0.5F, 0.5F, 0.5F, 0.5F };
        for (int tap = 0; tap < taps.count; ++tap, source += parts) {
            Pixel pixel;
            std::memcpy(&pixel, source, sizeof pixel);
            sum += pixel * weights[taps.weights + static_cast<std::size_t>(tap)];
        }
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
    prepare(mAcross, source.width, target.width, across);
    prepare(mDown, source.height, target.height, down);
    for (int y = 0; y < target.height; ++y) {
        auto* const row = target.pixels + static_cast<std::size_t>(y) * target.bytesPerRow;
        const auto& taps = mDown.taps[static_cast<std::size_t>(y)];
        if (taps.count == 0) {
            std::memset(row, 0, static_cast<std::size_t>(target.width) * parts);
            continue;
        }
        combineRows(source, taps);
        combineColumns(row);
    }
}
