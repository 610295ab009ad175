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

/// The four bytes of one pixel, and of two, which every compiler of ours multiplies at once.
using Bytes = std::uint8_t __attribute__((vector_size(2 * bytesPerPixel)));
using Words = std::uint16_t __attribute__((vector_size(2 * bytesPerPixel * sizeof(std::uint16_t))));

const std::uint8_t* rowOf(const CVPixelBuffer& buffer, std::size_t y)
{
    return reinterpret_cast<const std::uint8_t*>(buffer.baseAddress()) + y * buffer.bytesPerRow();
}

/// Two pixels side by side in words.
Words pair(const std::uint8_t* left, const std::uint8_t* right)
{
    std::uint8_t both[2 * bytesPerPixel];
    std::memcpy(both, left, bytesPerPixel);
    std::memcpy(both + bytesPerPixel, right, bytesPerPixel);
    Bytes bytes;
    std::memcpy(&bytes, both, sizeof bytes);
    return __builtin_convertvector(bytes, Words);
}

}

void LayerScaler::place(std::vector<Tap>& taps, std::size_t sourceLength, std::size_t targetLength)
{
    taps.clear();
    const double step = static_cast<double>(sourceLength) / static_cast<double>(targetLength);
    const auto last = static_cast<double>(sourceLength - 1);
    for (std::size_t index = 0; index < targetLength; ++index) {
        const double centre = std::clamp((static_cast<double>(index) + 0.5) * step - 0.5, 0.0, last);
        const double first = std::floor(centre);
        const auto part = static_cast<std::uint16_t>(std::lround((centre - first) * whole));
        const auto second = static_cast<std::uint32_t>(std::min(first + 1, last));
        taps.push_back({ static_cast<std::uint32_t>(first), second, part });
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
    if (tap.part == 0 || tap.first == tap.second)
        return rowOf(source, tap.first);
    if (tap.part == whole)
        return rowOf(source, tap.second);
    const auto length = static_cast<int>(source.width() * bytesPerPixel);
    libyuv::InterpolatePlane(
        rowOf(source, tap.first), 0, rowOf(source, tap.second), 0, mRow.data(), 0, length, 1, tap.part);
    return mRow.data();
}

void LayerScaler::combineColumns(const std::uint8_t* row, std::uint8_t* target) const
{
    const auto at = [row](std::uint32_t pixel) { return row + std::size_t { pixel } * bytesPerPixel; };
    for (std::size_t index = 0; index < mAcross.size(); index += 2, target += 2 * bytesPerPixel) {
        const auto& left = mAcross[index];
        const auto& right = mAcross[std::min(index + 1, mAcross.size() - 1)];
        const auto a = left.part;
        const auto b = right.part;
        const Words parts { a, a, a, a, b, b, b, b };
        const Words mixed = (pair(at(left.first), at(right.first)) * (whole - parts)
                                + pair(at(left.second), at(right.second)) * parts + half)
            >> bitsOfWhole;
        const auto bytes = __builtin_convertvector(mixed, Bytes);
        std::memcpy(target, &bytes, index + 1 < mAcross.size() ? 2 * bytesPerPixel : bytesPerPixel);
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
    mRow.resize(source->width() * bytesPerPixel);
    for (std::size_t y = 0; y < height; ++y)
        combineColumns(rowBetween(*source, mDown[y]), pixels + y * target->bytesPerRow());
    return target;
}
