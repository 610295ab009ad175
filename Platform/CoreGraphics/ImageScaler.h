#pragma once

#include "Platform/CoreGraphics/CGGeometry.h"
#include "Platform/CoreGraphics/CGImage.h"

#include <array>
#include <span>
#include <vector>

/// An image in another size, at any place between the pixels of a target, upright or turned round: of each pixel of the
/// target the mean of what lies under it where the image is made smaller, linear interpolation between the centres of
/// the image's pixels where it is made larger, and in both cases only as much as the image covers of it.
class ImageScaler {
public:
    /// Four parts in the order of the image's bytes, premultiplied, 0 to 255.
    using Pixel = std::array<float, 4>;
    /// Where one axis of the image begins and ends, in pixels of the target; an end before the start turns it round.
    struct Span {
        CGFloat start, end;
    };

    /// \param across, down  from the image's first column and row to behind its last ones; each finite and not empty
    /// \param left, right  the target's columns that are wanted, without the right one
    /// \param image  must outlive this
    ImageScaler(const CGImage& image, Span across, Span down, std::size_t left, std::size_t right);

    /// What the image gives row \p y of the target, from the left column on; valid until the next call.
    std::span<const Pixel> row(std::size_t y);

private:
    struct Tap {
        std::size_t index;
        float weight;
    };
    static void addTaps(std::vector<Tap>& taps, std::size_t pixel, std::size_t length, Span span);

    const CGImage& mImage;
    const Span mDown;
    std::vector<Tap> mColumnTaps;
    std::vector<std::size_t> mColumnEnds; ///< where the taps of each column end
    std::vector<Tap> mRowTaps;
    std::vector<Pixel> mSums;
    std::vector<Pixel> mPixels;
};
