#pragma once

#include "Platform/CoreMedia/CMFormatDescription.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <array>
#include <cstdint>
#include <vector>

/// Converts a camera's picture into a BGRA buffer of any size, in one go where the sizes agree.
///
/// A picture of other proportions is cut to the largest middle part that has the buffer's, and that is scaled. The
/// result is opaque.
class VideoFrameConverter {
public:
    /// How the pixels of a picture lie in memory: planes of brightness and colour, packed pairs of pixels, or bytes in
    /// the order of the letters.
    enum class Layout { I420, I422, I444, NV12, YUY2, UYVY, BGRA, RGBA, BGR, RGB };
    struct Plane {
        const std::uint8_t* data = nullptr;
        int bytesPerRow = 0;
    };
    struct Frame {
        Layout layout = Layout::BGRA;
        CMVideoDimensions dimensions;
        std::array<Plane, 3> planes {};
        bool isFullRange = false; ///< brightness uses all 256 values
        bool isHighDefinition = false; ///< colours by BT.709, otherwise by BT.601
    };

    /// \return false for a frame without pixels and a buffer without memory; the buffer is then undefined
    bool convert(const Frame& frame, CVPixelBuffer& buffer);

    /// The middle part of a picture that has the proportions of \p target.
    struct Part {
        int x, y, width, height;
        friend bool operator==(const Part&, const Part&) = default;
    };
    static Part partWithProportions(CMVideoDimensions source, CMVideoDimensions target);

private:
    struct Picture;
    bool convertColours(const Picture& picture, CVPixelBuffer& buffer);
    bool convertPlanes(const Picture& picture, CVPixelBuffer& buffer);
    bool unpack(Picture& picture);
    bool scale(Picture& picture, CMVideoDimensions target);
    std::uint8_t* scratch(int index, std::size_t size);

    std::array<std::vector<std::uint8_t>, 6> mScratch;
};
