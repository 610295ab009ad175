#pragma once

#include "Platform/CoreGraphics/CGImage.h"

#include <algorithm>
#include <array>
#include <cmath>

/// The stand-by picture, calculated from its description and not from how it is drawn.

/// Red, green, blue and alpha, in the order in which they stand in the bytes.
using Pixel = std::array<double, 4>;
inline Pixel pixel(const CVPixelBuffer& buffer, std::size_t x, std::size_t y)
{
    const auto* const bytes = buffer.baseAddress() + y * buffer.bytesPerRow() + 4 * x;
    const auto part = [&](std::size_t index) { return static_cast<double>(bytes[index]); };
    return { part(0), part(1), part(2), part(3) };
}

/// The greatest difference of any byte of the buffer from what \p expected says of its place.
template <class Expected> double greatestError(const CVPixelBuffer& buffer, const Expected& expected)
{
    double worst = 0;
    for (std::size_t y = 0; y < buffer.height(); ++y)
        for (std::size_t x = 0; x < buffer.width(); ++x) {
            const auto is = pixel(buffer, x, y);
            const Pixel shouldBe = expected(x, y);
            for (std::size_t part = 0; part < 4; ++part)
                worst = std::max(worst, std::abs(is[part] - shouldBe[part]));
        }
    return worst;
}

inline double overlap(double start, double low, double high)
{
    return std::max(0.0, std::min(start + 1, high) - std::max(start, low));
}

/// How large the icon is at a moment of the period of six seconds.
inline double scaleAt(double phase)
{
    return std::sin((phase / 6 + 0.5) * std::acos(-1.0) / 2) * static_cast<double>(0.33F) + static_cast<double>(0.66F)
        - 0.5;
}

/// The stand-by picture from its description: of every pixel of the frame the mean of what part of the icon lies under
/// it, over the ground.
class StandbyPixels {
public:
    StandbyPixels(const CGImage& icon, const CVPixelBuffer& frame, double phase, const Pixel& ground)
        : mIcon(icon)
        , mGround(ground)
        , mSide(static_cast<double>(frame.width()) / 5 * scaleAt(phase))
        , mLeft(static_cast<double>(frame.width()) / 2 - mSide / 2)
        , mTop(static_cast<double>(frame.height()) / 2 - mSide / 2)
    {
    }
    Pixel operator()(std::size_t x, std::size_t y) const
    {
        const double perPixelX = static_cast<double>(mIcon.width()) / mSide;
        const double perPixelY = static_cast<double>(mIcon.height()) / mSide;
        const double fromX = (static_cast<double>(x) - mLeft) * perPixelX;
        const double fromY = (static_cast<double>(y) - mTop) * perPixelY;
        Pixel sum {};
        const auto inside = [](double place, std::size_t limit) {
            return static_cast<std::size_t>(std::clamp(place, 0.0, static_cast<double>(limit)));
        };
        for (auto row = inside(fromY, mIcon.height()); row < inside(fromY + perPixelY + 1, mIcon.height()); ++row)
            for (auto column = inside(fromX, mIcon.width()); column < inside(fromX + perPixelX + 1, mIcon.width());
                 ++column) {
                const double share = overlap(static_cast<double>(column), fromX, fromX + perPixelX)
                    * overlap(static_cast<double>(row), fromY, fromY + perPixelY) / (perPixelX * perPixelY);
                const auto color = iconPixel(column, row);
                for (std::size_t part = 0; part < 4; ++part)
                    sum[part] += share * color[part];
            }
        Pixel result;
        for (std::size_t part = 0; part < 4; ++part)
            result[part] = sum[part] + mGround[part] * (1 - sum[3] / 255);
        return result;
    }

private:
    Pixel iconPixel(std::size_t x, std::size_t y) const
    {
        const auto* const bytes = mIcon.row(y) + 4 * x;
        const auto part = [&](std::size_t index) { return static_cast<double>(bytes[index]); };
        if (mIcon.bitmapInfo() == kCGBitmapInfoRGBA)
            return { part(0), part(1), part(2), part(3) };
        return { part(2), part(1), part(0), part(3) };
    }

    const CGImage& mIcon;
    const Pixel mGround;
    const double mSide;
    const double mLeft;
    const double mTop;
};
