#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// The pixel formats in which the camera is offered.
enum class CameraPixelFormat { I420, NV12, YUY2, BGRA, BGRx };

/// A picture of four bytes a pixel, blue first, rows from the top.
struct BGRAPicture {
    const std::byte* pixels = nullptr;
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
};

/// How a picture of one format lies in memory, all planes in one block, rows packed.
struct PictureLayout {
    std::size_t bytes = 0;
    /// Bytes from one row of the first plane to the next.
    std::size_t stride = 0;
};

/// \param width, height  pixels, even
PictureLayout layoutOf(CameraPixelFormat format, std::size_t width, std::size_t height);

/// Brings pictures into the camera's size and format. Keeps the memory that scaling needs between pictures.
///
/// Luma and chroma are those of ITU-R BT.601 in the range 16 to 235 (240 for chroma), whatever the size: browsers read
/// a camera's frames so and look at no tag. Chroma is the mean of the pixels that share it.
class PixelConversion {
public:
    /// \param width, height  the camera's picture, even
    PixelConversion(std::size_t width, std::size_t height);

    /// Writes \p picture to \p destination. One of another size is scaled to fit, its proportions kept, on black.
    /// \param destination  at least as long as the layout says
    void convert(const BGRAPicture& picture, CameraPixelFormat format, std::span<std::byte> destination);

private:
    BGRAPicture fitted(const BGRAPicture& picture);

    const std::size_t mWidth;
    const std::size_t mHeight;
    std::vector<std::byte> mScaled;
    std::size_t mScaledFromWidth = 0;
    std::size_t mScaledFromHeight = 0;
};
