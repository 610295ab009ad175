#pragma once

#include "Platform/CoreImage/WordVectors.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Scales pictures of four bytes a pixel with the processor: the mean of what lies under a pixel where the picture is
/// made smaller, linear interpolation between the centres of the pixels where it is made larger. Memory is kept from
/// call to call. For one thread at a time.
class PictureScaler {
public:
    struct Source {
        const std::byte* pixels;
        std::size_t bytesPerRow;
        int width, height;
    };
    struct Target {
        std::byte* pixels;
        std::size_t bytesPerRow;
        int width, height;
    };
    /// Where one axis of the source comes to lie in the target: source 0 at \p start, its other end at \p end, in
    /// pixels of the target from its first one; an end before the start turns the picture round.
    struct Span {
        double start, end;
    };

    /// Overwrites the whole target; what the source does not reach becomes zero.
    void scale(const Source& source, const Target& target, Span across, Span down);

private:
    /// The source's pixels that make up one of the target, and their weights, which are 1 in sum where the source
    /// covers the whole pixel.
    struct Taps {
        int first;
        int count;
        std::size_t weights; ///< where they begin
    };
    struct Axis {
        std::vector<Taps> taps;
        std::vector<float> weights;
        std::vector<std::uint16_t> shares; ///< the same in parts of 65536, as exact in sum
        int mostTaps = 0;
        int sourceLength = 0;
        Span span {};
    };
    /// \return whether the axis is another one than before
    static bool prepare(Axis& axis, int sourceLength, int targetLength, Span span);

    // Where few pixels make up one, they are added up in words: eight bits and as many behind the point.

    void layOutColumns();
    void combineRows(const Source& source, const Taps& taps);
    /// \tparam fixedTaps  how many there are; 0 for any number
    template <std::size_t fixedTaps> void combineSomeRows(const Source& source, const Taps& taps);
    template <std::size_t fixedPairs> void combineColumns(std::byte* row, WordVectors::Words rounding) const;

    // Where they are many, words are not exact enough.

    void combineManyRows(const Source& source, const Taps& taps);
    void combineManyColumns(std::byte* row) const;

    Axis mAcross;
    Axis mDown;
    std::size_t mPairs = 0; ///< of taps that every column is given, which may weigh nothing
    std::vector<std::uint32_t> mColumnStarts; ///< words into the row
    std::vector<std::uint16_t> mColumnShares; ///< eight words for each pair: four times the one, four times the other
    std::vector<std::uint16_t> mWords;
    std::vector<float> mRow;
};
