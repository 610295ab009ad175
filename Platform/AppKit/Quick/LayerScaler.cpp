#include "Platform/AppKit/Quick/LayerScaler.h"

#include <libyuv/planar_functions.h>
#include <libyuv/scale_argb.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::uint16_t whole = 256;
constexpr std::uint16_t half = whole / 2;
constexpr int bitsOfWhole = 8;

/// Two pixels side by side, which every compiler of ours multiplies at once.
using Bytes = std::uint8_t __attribute__((vector_size(2 * bytesPerPixel)));
using Words = std::uint16_t __attribute__((vector_size(2 * bytesPerPixel * sizeof(std::uint16_t))));

const std::uint8_t* rowOf(const CVPixelBuffer& buffer, std::size_t y)
{
    return reinterpret_cast<const std::uint8_t*>(buffer.baseAddress()) + y * buffer.bytesPerRow();
}

/// The pixel at \p pixels and the next one.
Words twoPixels(const std::uint8_t* pixels)
{
    Bytes bytes;
    std::memcpy(&bytes, pixels, sizeof bytes);
    return __builtin_convertvector(bytes, Words);
}

}

void LayerScaler::place(std::vector<Tap>& taps, std::size_t sourceLength, std::size_t targetLength)
{
    taps.clear();
    const double step = static_cast<double>(sourceLength) / static_cast<double>(targetLength);
    const auto last = static_cast<double>(sourceLength - 1);
    const double lastFirst = std::max(last - 1, 0.0);
    for (std::size_t index = 0; index < targetLength; ++index) {
        const double centre = std::clamp((static_cast<double>(index) + 0.5) * step - 0.5, 0.0, last);
        const double first = std::min(std::floor(centre), lastFirst);
        taps.push_back(
            { static_cast<std::uint32_t>(first), static_cast<std::uint16_t>(std::lround((centre - first) * whole)) });
    }
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
    if (tap.part == whole) {
        row = rowOf(source, tap.first + 1);
    } else if (tap.part != 0) {
        libyuv::InterpolatePlane(row, 0, rowOf(source, tap.first + 1), 0, mRow.data(), 0, length, 1, tap.part);
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
    const auto mixed = [row](const Tap& one, const Tap& other) {
        const auto pixels = twoPixels(row + std::size_t { one.first } * bytesPerPixel);
        const auto others = twoPixels(row + std::size_t { other.first } * bytesPerPixel);
        const auto left = __builtin_shufflevector(pixels, others, 0, 1, 2, 3, 8, 9, 10, 11);
        const auto right = __builtin_shufflevector(pixels, others, 4, 5, 6, 7, 12, 13, 14, 15);
        const auto a = one.part;
        const auto b = other.part;
        const Words parts { a, a, a, a, b, b, b, b };
        const Words sums = (left * (whole - parts) + right * parts + half) >> bitsOfWhole;
        return __builtin_convertvector(sums, Bytes);
    };
    const auto count = mAcross.size();
    const auto* tap = mAcross.data();
    for (std::size_t pairs = count / 2; pairs > 0; --pairs, tap += 2, target += sizeof(Bytes)) {
        const auto bytes = mixed(tap[0], tap[1]);
        std::memcpy(target, &bytes, sizeof bytes);
    }
    if (count % 2 != 0) {
        const auto bytes = mixed(tap[0], tap[0]);
        std::memcpy(target, &bytes, bytesPerPixel);
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
    if (mAcross.size() != width || mAcrossLength != source->width())
        place(mAcross, source->width(), width);
    if (mDown.size() != height || mDownLength != source->height())
        place(mDown, source->height(), height);
    mAcrossLength = source->width();
    mDownLength = source->height();
    mRow.resize(std::max<std::size_t>(source->width(), 2) * bytesPerPixel);
    for (std::size_t y = 0; y < height; ++y)
        combineColumns(rowBetween(*source, mDown[y]), pixels + y * target->bytesPerRow());
    return target;
}
