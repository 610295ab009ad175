#pragma once

#include "Platform/CoreMedia/CMFormatDescription.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <array>
#include <cstdint>
#include <vector>

/// Converts a camera's picture into a BGRA buffer of any size, in one go where the sizes agree.
///
/// A picture of other proportions fills the buffer: the largest middle part that has the buffer's proportions is cut
/// out and scaled, so nothing is squeezed and there are no bars. The result is opaque and upright.
class VideoFrameConverter {
public:
    /// How the pixels of a picture lie in memory: brightness alone, planes of brightness and colour, packed pairs of
    /// pixels, or bytes in the order of the letters.
    enum class Layout { I400, I420, I422, I444, NV12, NV21, YUY2, YVYU, UYVY, BGRA, RGBA, BGR, RGB };
    /// The standard that says how brightness and colour become red, green and blue.
    enum class Matrix { BT601, BT709, BT2020 };
    struct Plane {
        const std::uint8_t* data = nullptr;
        int bytesPerRow = 0;
    };
    /// What makes the picture upright: it is mirrored left to right, and then turned clockwise.
    struct Orientation {
        bool isMirrored = false;
        int quarterTurns = 0; ///< 0 to 3
        bool isUpright() const { return !isMirrored && quarterTurns == 0; }
        friend bool operator==(const Orientation&, const Orientation&) = default;
    };
    struct Frame {
        Layout layout = Layout::BGRA;
        CMVideoDimensions dimensions;
        std::array<Plane, 3> planes {};
        bool isFullRange = false; ///< brightness, or red, green and blue, use all 256 values and not 16 to 235 only
        Matrix matrix = Matrix::BT601;
        /// How wide and how high one pixel is, one to the other.
        int pixelWidth = 1;
        int pixelHeight = 1;
        Orientation orientation;
    };

    /// \return false for a frame without pixels and a buffer without memory; the buffer is then undefined
    bool convert(const Frame& frame, CVPixelBuffer& buffer);

    /// Makes the first field out of an interleaved picture, which is two of different times and shows combs on what
    /// moves: every second row, of pixels that are twice as high.
    static void takeOneField(Frame& frame);

    /// The size of a picture when it stands upright and its pixels are square; no pixel is thrown away for it.
    static CMVideoDimensions uprightDimensions(const Frame& frame);

    /// The largest middle part of a picture that has the proportions of \p target.
    struct Part {
        int x, y, width, height;
        friend bool operator==(const Part&, const Part&) = default;
    };
    static Part partWithProportions(
        CMVideoDimensions source, CMVideoDimensions target, int pixelWidth = 1, int pixelHeight = 1);

private:
    struct Picture;
    struct Target;
    bool convertUpright(const Frame& frame, const Target& target);
    bool convertColours(const Picture& picture, const Target& target);
    bool convertPlanes(const Picture& picture, const Target& target);
    bool scaleColours(const Picture& picture, const Target& target);
    bool unpack(Picture& picture);
    void separateColours(Picture& picture);
    bool scale(Picture& picture, CMVideoDimensions size);
    bool scaleOnce(Picture& picture, CMVideoDimensions size, int filter);
    std::uint8_t* scratch(std::size_t index, std::size_t size);

    std::array<std::vector<std::uint8_t>, 10> mScratch;
    bool mUsesSecondSet = false; ///< the scaled planes that were written last
};
