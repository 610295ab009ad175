#pragma once

#include "Platform/CoreVideo/CVPixelBufferPool.h"

#include <array>
#include <cstdint>
#include <vector>

/// Scales pictures to the size that they have on the screen, as a graphics processor does it: each pixel is
/// interpolated between the centres of the four of the source around its own centre, those at the edge being repeated
/// outwards. No byte is more than 2 from the exact value. For one thread at a time.
class LayerScaler {
public:
    /// \param width, height  above 0
    /// \return \p source itself where it has that size; null when there is no memory
    Ref<CVPixelBuffer> scaled(Ref<CVPixelBuffer> source, std::size_t width, std::size_t height);

private:
    /// The two pixels of the source that one of the target lies between: this one and the next. Where the source has
    /// only one, the next is never looked at or the same.
    struct Tap {
        std::uint32_t first;
        std::uint32_t part; ///< of the next one, in 65536ths
    };
    /// The same with the parts of both, four times each, for the four bytes of a pixel.
    struct Column {
        alignas(16) std::array<std::uint16_t, 8> parts;
        std::size_t offset; ///< of the first one, in bytes
    };
    static std::vector<Tap> taps(std::size_t sourceLength, std::size_t targetLength);
    static std::vector<Column> columns(std::size_t sourceLength, std::size_t targetLength);
    const std::uint8_t* rowBetween(const CVPixelBuffer& source, const Tap& tap);
    void combineColumns(const std::uint8_t* row, std::uint8_t* target) const;
    Ref<CVPixelBuffer> newBuffer(std::size_t width, std::size_t height);

    // What belongs to the sizes is kept while they stay.
    std::vector<Column> mAcross; ///< filled up to whole fours
    std::size_t mWidth = 0;
    std::size_t mAcrossLength = 0;
    std::vector<Tap> mDown;
    std::size_t mDownLength = 0;
    std::vector<std::uint8_t> mRow;
    Ref<CVPixelBufferPool> mPool;
    std::size_t mPoolWidth = 0;
    std::size_t mPoolHeight = 0;
};
