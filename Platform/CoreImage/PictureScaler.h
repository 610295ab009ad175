#pragma once

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
        int sourceLength = 0;
        Span span {};
    };
    static void prepare(Axis& axis, int sourceLength, int targetLength, Span span);
    void combineRows(const Source& source, const Taps& taps);
    void combineColumns(std::byte* row);

    Axis mAcross;
    Axis mDown;
    std::vector<float> mRow;
};
