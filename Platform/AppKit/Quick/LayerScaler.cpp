#include "Platform/AppKit/Quick/LayerScaler.h"

#include "Platform/CoreImage/WordVectors.h"

#include <libyuv/planar_functions.h>
#include <libyuv/scale_argb.h>

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace WordVectors;

namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::uint32_t whole = 65536;
/// How many pixels are made at once.
constexpr std::size_t group = 4;

const std::uint8_t* rowOf(const CVPixelBuffer& buffer, std::size_t y)
{
    return reinterpret_cast<const std::uint8_t*>(buffer.baseAddress()) + y * buffer.bytesPerRow();
}

/// The pixel at \p pixels and the next one, each by its part.
Words weighted(const std::uint8_t* pixels, const std::array<std::uint16_t, 8>& parts)
{
    using TwoPixels = std::uint64_t __attribute__((vector_size(16)));
    std::uint64_t both = 0;
    std::memcpy(&both, pixels, sizeof both);
    const TwoPixels bytes { both, 0 };
    return highProducts(lowerBytes(reinterpret_cast<Bytes>(bytes)), loaded<Words>(parts.data()));
}

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

std::vector<LayerScaler::Column> LayerScaler::columns(std::size_t sourceLength, std::size_t targetLength)
{
    std::vector<Column> result;
    for (const auto& tap : taps(sourceLength, targetLength)) {
        // The whole does not fit; what is missing is far below a step of a byte.
        const auto part = [](std::uint32_t value) { return static_cast<std::uint16_t>(std::min(value, whole - 1)); };
        const auto one = part(whole - tap.part);
        const auto next = part(tap.part);
        result.push_back({ { one, one, one, one, next, next, next, next }, tap.first * bytesPerPixel });
    }
    while (result.size() % group != 0)
        result.push_back(result.back());
    return result;
}

Ref<CVPixelBuffer> LayerScaler::newBuffer(std::size_t width, std::size_t height)
{
    if (!mPool || width != mPoolWidth || height != mPoolHeight) {
        const auto attributes = CFDictionary::create(
            { { kCVPixelBufferPixelFormatTypeKey, CFNumber::create(kCVPixelFormatType_32BGRA).get() },
                { kCVPixelBufferWidthKey, CFNumber::create(width).get() },
                { kCVPixelBufferHeightKey, CFNumber::create(height).get() } });
        mPool = nullptr;
        CVPixelBufferPoolCreate(kCFAllocatorDefault, nullptr, attributes, &mPool);
        mPoolWidth = width;
        mPoolHeight = height;
    }
    Ref<CVPixelBuffer> buffer;
    if (mPool)
        CVPixelBufferPoolCreatePixelBuffer(kCFAllocatorDefault, mPool, &buffer);
    return buffer;
}

const std::uint8_t* LayerScaler::rowBetween(const CVPixelBuffer& source, const Tap& tap)
{
    const auto* row = rowOf(source, tap.first);
    const auto length = static_cast<int>(source.width() * bytesPerPixel);
    // The library's unit.
    constexpr std::uint32_t all = 256;
    const auto part = (tap.part + whole / all / 2) / (whole / all);
    if (part == all) {
        row = rowOf(source, tap.first + 1);
    } else if (part != 0) {
        libyuv::InterpolatePlane(
            row, 0, rowOf(source, tap.first + 1), 0, mRow.data(), 0, length, 1, static_cast<int>(part));
        row = mRow.data();
    }
    if (source.width() > 1)
        return row;
    std::memmove(mRow.data(), row, bytesPerPixel);
    std::memcpy(mRow.data() + bytesPerPixel, mRow.data(), bytesPerPixel);
    return mRow.data();
}

void LayerScaler::combineColumns(const std::uint8_t* row, std::uint8_t* target) const
{
    // Half a step of a byte, since what is below one is cut off.
    const auto half = filled(128);
    const auto pixel = [row](const Column& column) { return weighted(row + column.offset, column.parts); };
    const auto four = [&](const Column* column) {
        return upperHalves(
            folded(pixel(column[0]), pixel(column[1])) + half, folded(pixel(column[2]), pixel(column[3])) + half);
    };
    const auto* column = mAcross.data();
    for (auto groups = mWidth / group; groups > 0; --groups, column += group, target += sizeof(Bytes))
        store(target, four(column));
    if (const auto rest = mWidth % group) {
        const auto bytes = four(column);
        std::memcpy(target, &bytes, rest * bytesPerPixel);
    }
}

Ref<CVPixelBuffer> LayerScaler::scaled(Ref<CVPixelBuffer> source, std::size_t width, std::size_t height)
{
    if (source->width() == width && source->height() == height)
        return source;
    auto target = newBuffer(width, height);
    if (!target)
        return nullptr;
    auto* const pixels = reinterpret_cast<std::uint8_t*>(target->baseAddress());
    if (source->width() == 2 * width && source->height() == 2 * height) {
        // Between four pixels lies the mean of them.
        libyuv::ARGBScale(rowOf(*source, 0), static_cast<int>(source->bytesPerRow()), static_cast<int>(source->width()),
            static_cast<int>(source->height()), pixels, static_cast<int>(target->bytesPerRow()),
            static_cast<int>(width), static_cast<int>(height), libyuv::kFilterBox);
        return target;
    }
    if (mWidth != width || mAcrossLength != source->width())
        mAcross = columns(source->width(), width);
    if (mDown.size() != height || mDownLength != source->height())
        mDown = taps(source->height(), height);
    mWidth = width;
    mAcrossLength = source->width();
    mDownLength = source->height();
    mRow.resize(std::max<std::size_t>(source->width(), 2) * bytesPerPixel);
    for (std::size_t y = 0; y < height; ++y)
        combineColumns(rowBetween(*source, mDown[y]), pixels + y * target->bytesPerRow());
    return target;
}
