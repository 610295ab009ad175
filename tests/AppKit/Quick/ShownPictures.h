#pragma once

#include "Platform/QuartzCore/CALayer.h"

#include <gtest/gtest.h>
#include <QImage>

#include <algorithm>
#include <cmath>
#include <cstring>

/// Pictures for the screen and what a layer that keeps their shape is to show of them, worked out without the system.
namespace ShownPictures {

inline std::byte* pixelOf(CVPixelBuffer& buffer, std::size_t x, std::size_t y)
{
    return buffer.baseAddress() + y * buffer.bytesPerRow() + 4 * x;
}

/// Noise, hard edges, a slope in each direction, and another colour in each corner; no two rows or columns alike.
inline void draw(CVPixelBuffer& buffer)
{
    std::uint32_t noise = 12345;
    for (std::size_t y = 0; y < buffer.height(); ++y)
        for (std::size_t x = 0; x < buffer.width(); ++x) {
            noise = noise * 1664525 + 1013904223;
            const auto bytes = static_cast<unsigned char>(noise >> 24);
            const auto blue = x % 3 == 0 ? bytes : static_cast<unsigned char>(x / 5 % 2 ? 255 : 0);
            const auto green = static_cast<unsigned char>(255 * y / buffer.height());
            const auto red = static_cast<unsigned char>(255 * x / buffer.width());
            const unsigned char pixel[4] { blue, green, red, 255 };
            std::memcpy(pixelOf(buffer, x, y), pixel, sizeof pixel);
        }
    const unsigned char corners[4][4] { { 255, 0, 0, 255 }, { 0, 255, 0, 255 }, { 0, 0, 255, 255 },
        { 9, 99, 199, 255 } };
    const auto right = buffer.width() - 1;
    const auto bottom = buffer.height() - 1;
    std::memcpy(pixelOf(buffer, right, bottom), corners[3], 4);
    std::memcpy(pixelOf(buffer, 0, bottom), corners[2], 4);
    std::memcpy(pixelOf(buffer, right, 0), corners[1], 4);
    std::memcpy(pixelOf(buffer, 0, 0), corners[0], 4);
}

inline Ref<CVPixelBuffer> makePicture(std::size_t width, std::size_t height, bool withSurface = true)
{
    Ref<CVPixelBuffer> buffer;
    const auto attributes = CFDictionary::create();
    if (withSurface)
        attributes->set(kCVPixelBufferIOSurfacePropertiesKey, CFDictionary::create().get());
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, width, height, kCVPixelFormatType_32BGRA, attributes, &buffer),
        kCVReturnSuccess);
    draw(*buffer);
    return buffer;
}

/// A layer that shows pictures in their shape on black.
inline Ref<CALayer> makeBlackAspectLayer()
{
    auto layer = make<CALayer>();
    layer->setBackgroundColor(CGColorGetConstantColor(kCGColorBlack));
    layer->setContentsGravity(kCAGravityResizeAspect);
    return layer;
}

/// The part of \p view, in pixels of the screen, that a picture of \p width and \p height fills when its shape is kept,
/// to whole pixels.
inline QRect placeOf(QSizeF view, double width, double height)
{
    const double scale = std::min(view.width() / width, view.height() / height);
    const auto edges = [](double whole, double part) {
        const int from = static_cast<int>(std::floor((whole - part) / 2 + 0.5));
        const int to = static_cast<int>(std::floor((whole + part) / 2 + 0.5));
        return std::pair { from, std::max(to - from, 1) };
    };
    const auto [left, across] = edges(view.width(), width * scale);
    const auto [top, down] = edges(view.height(), height * scale);
    return { left, top, across, down };
}

/// One byte of the picture between the centres of its pixels, those of the edge going on outwards.
inline double sample(CVPixelBuffer& picture, double x, double y, std::size_t part, bool mirrored)
{
    const double lastX = static_cast<double>(picture.width()) - 1;
    const double lastY = static_cast<double>(picture.height()) - 1;
    x = std::clamp(x - 0.5, 0.0, lastX);
    y = std::clamp(y - 0.5, 0.0, lastY);
    const auto at = [&](double column, double row) {
        row = mirrored ? lastY - row : row;
        return std::to_integer<int>(
            pixelOf(picture, static_cast<std::size_t>(column), static_cast<std::size_t>(row))[part]);
    };
    const double left = std::floor(x);
    const double top = std::floor(y);
    const double right = std::min(left + 1, lastX);
    const double bottom = std::min(top + 1, lastY);
    const double across = x - left;
    const double down = y - top;
    return (at(left, top) * (1 - across) + at(right, top) * across) * (1 - down)
        + (at(left, bottom) * (1 - across) + at(right, bottom) * across) * down;
}

/// Looks at every pixel of what was on the screen: the picture, upside down if \p mirrored, on black.
/// \param view  in pixels of the screen; one that it fills in part may show anything
inline void expectShown(const QImage& screen, QSizeF view, CVPixelBuffer& picture, bool mirrored)
{
    constexpr double tolerance = 2;
    const auto image = screen.convertToFormat(QImage::Format_RGB32);
    const auto place = placeOf(view, static_cast<double>(picture.width()), static_cast<double>(picture.height()));
    double worst = 0;
    ASSERT_GE(image.width(), view.width() - 0.5);
    ASSERT_GE(image.height(), view.height() - 0.5);
    for (int y = 0; y < static_cast<int>(view.height()); ++y)
        for (int x = 0; x < static_cast<int>(view.width()); ++x) {
            const auto* const shown = image.constScanLine(y) + 4 * x;
            for (std::size_t part = 0; part < 3; ++part) {
                const double wanted = !place.contains(x, y)
                    ? 0
                    : sample(picture, (x - place.left() + 0.5) * static_cast<double>(picture.width()) / place.width(),
                        (y - place.top() + 0.5) * static_cast<double>(picture.height()) / place.height(), part,
                        mirrored);
                const double off = std::abs(shown[part] - std::round(wanted));
                worst = std::max(worst, off);
                ASSERT_LE(off, place.contains(x, y) ? tolerance : 0.0)
                    << "byte " << part << " of the pixel " << x << ", " << y << " is " << int { shown[part] }
                    << ", not " << wanted << "; the picture is to fill " << place.left() << ", " << place.top() << ", "
                    << place.width() << " by " << place.height();
            }
        }
    testing::Test::RecordProperty("worst", std::to_string(worst));
}

/// The same for a view that fills the screen.
inline void expectShown(const QImage& screen, CVPixelBuffer& picture, bool mirrored)
{
    expectShown(screen, screen.size(), picture, mirrored);
}

}
