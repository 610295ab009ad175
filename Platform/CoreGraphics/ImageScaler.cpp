#include "Platform/CoreGraphics/ImageScaler.h"

#include <algorithm>
#include <cmath>

ImageScaler::ImageScaler(const CGImage& image, Span across, Span down, std::size_t left, std::size_t right)
    : mImage(image)
    , mDown(down)
    , mSums(image.width())
    , mPixels(right - left)
{
    for (auto column = left; column < right; ++column) {
        addTaps(mColumnTaps, column, image.width(), across);
        mColumnEnds.push_back(mColumnTaps.size());
    }
}

void ImageScaler::addTaps(std::vector<Tap>& taps, std::size_t pixel, std::size_t length, Span span)
{
    const auto start = static_cast<CGFloat>(pixel);
    const auto size = static_cast<CGFloat>(length);
    const auto scale = (span.end - span.start) / size;
    const auto imageAt = [&](CGFloat place) { return (place - span.start) / scale; };
    if (std::abs(scale) < 1) {
        const auto [low, high] = std::minmax({ imageAt(start), imageAt(start + 1) });
        const auto from = std::max(low, 0.0);
        const auto to = std::min(high, size);
        if (from >= to)
            return;
        for (auto index = static_cast<std::size_t>(from); static_cast<CGFloat>(index) < to; ++index) {
            const auto tap = static_cast<CGFloat>(index);
            taps.push_back({ index, static_cast<float>((std::min(to, tap + 1) - std::max(from, tap)) / (high - low)) });
        }
        return;
    }
    const auto [begin, end] = std::minmax(span.start, span.end);
    const auto covered = std::min(start + 1, end) - std::max(start, begin);
    if (covered <= 0)
        return;
    const auto place = std::clamp(imageAt(start + 0.5) - 0.5, 0.0, size - 1);
    const auto index = static_cast<std::size_t>(place);
    const auto next = place - std::floor(place);
    taps.push_back({ index, static_cast<float>(covered * (1 - next)) });
    if (next > 0)
        taps.push_back({ index + 1, static_cast<float>(covered * next) });
}

std::span<const ImageScaler::Pixel> ImageScaler::row(std::size_t y)
{
    mRowTaps.clear();
    addTaps(mRowTaps, y, mImage.height(), mDown);
    std::ranges::fill(mSums, Pixel {});
    for (const auto& [index, weight] : mRowTaps) {
        const auto* bytes = mImage.row(index);
        for (auto& sum : mSums)
            for (auto& part : sum)
                part += weight * static_cast<float>(*bytes++);
    }
    std::size_t tap = 0;
    for (std::size_t column = 0; column < mPixels.size(); ++column) {
        Pixel pixel {};
        for (; tap < mColumnEnds[column]; ++tap)
            for (std::size_t part = 0; part < pixel.size(); ++part)
                pixel[part] += mColumnTaps[tap].weight * mSums[mColumnTaps[tap].index][part];
        mPixels[column] = pixel;
    }
    return mPixels;
}
