#pragma once

#include "Platform/CoreVideo/PictureBuffers.h"
#include "Platform/QuartzCore/CALayer.h"

#include <array>
#include <cstdint>
#include <vector>

/// Scales pictures to the size that they have on the screen, as a graphics processor does it: each pixel is
/// interpolated between the centres of the four of the source around its own centre, those at the edge being repeated
/// outwards. No byte is more than 2 from the exact value. For one thread at a time.
class LayerScaler {
public:
    struct Size {
        std::size_t width, height; ///< above 0
        bool operator==(const Size&) const = default;
    };
    /// A rectangle of the scaled picture, inside it and not empty.
    struct Part {
        std::size_t left, top;
        Size size;
    };

    /// The picture in \p size, upright, blue first.
    /// \param picture  with a buffer
    /// \return the picture's own buffer where that is so already; null when there is no memory
    Ref<CVPixelBuffer> scaled(const CALayerPicture& picture, Size size);
    /// Writes \p part of what the picture is in \p size, upright, blue first.
    /// \param picture  with a buffer
    /// \param target  where the part begins
    void draw(const CALayerPicture& picture, Size size, const Part& part, std::uint8_t* target,
        std::size_t targetBytesPerRow);

private:
    /// The picture's rows from the top.
    struct Source {
        explicit Source(const CALayerPicture& picture);
        const std::uint8_t* row(std::size_t y) const
        {
            return top + static_cast<std::ptrdiff_t>(y) * static_cast<std::ptrdiff_t>(stride);
        }
        const std::uint8_t* top;
        int stride; ///< from a row to the next one, in bytes
        Size size;
        bool isAlphaFirst;
    };
    /// The two pixels of the source that one of the target lies between: this one and the next. Where the source has
    /// only one, the next is never looked at or the same.
    struct Tap {
        std::uint32_t first;
        std::uint32_t part; ///< of the next one, in 65536ths
    };
    static std::vector<Tap> taps(std::size_t sourceLength, std::size_t targetLength);
    void layOut(Size source, Size target);
    void interpolate(const Source& source, const Part& part, std::uint8_t* target, std::size_t targetBytesPerRow);
    const std::uint8_t* rowBetween(const Source& source, const Tap& tap, const Part& part);
    void combineColumns(const std::uint8_t* row, const Part& part, std::uint8_t* target) const;

    // What belongs to the sizes is kept while they stay.
    Size mSource {};
    Size mTarget {};
    std::vector<std::uint32_t> mColumnOffsets; ///< of the first pixel of each column's two, in bytes
    std::vector<std::array<std::uint16_t, 8>> mColumnParts; ///< those of both, four times each, for a pixel's bytes
    std::vector<Tap> mDown;
    std::vector<std::uint8_t> mRow;
    PictureBuffers mBuffers;
};
