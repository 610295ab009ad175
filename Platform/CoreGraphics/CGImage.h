#pragma once

#include "Platform/CoreGraphics/CGColor.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <memory>
#include <mutex>

/// How the four bytes of a pixel are laid out: the place of alpha in the low bits, the order of bytes above them.
using CGBitmapInfo = std::uint32_t;
inline constexpr CGBitmapInfo kCGImageAlphaPremultipliedLast = 1;
inline constexpr CGBitmapInfo kCGImageAlphaPremultipliedFirst = 2;
inline constexpr CGBitmapInfo kCGImageAlphaNoneSkipFirst = 6;
inline constexpr CGBitmapInfo kCGBitmapByteOrder32Little = 2 << 12;
inline constexpr CGBitmapInfo kCGBitmapByteOrder32Big = 4 << 12;
/// Bytes in the order red, green, blue, alpha.
inline constexpr CGBitmapInfo kCGBitmapInfoRGBA = kCGImageAlphaPremultipliedLast | kCGBitmapByteOrder32Big;
/// Bytes in the order blue, green, red, alpha: that of pixel buffers.
inline constexpr CGBitmapInfo kCGBitmapInfoBGRA = kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little;

/// A still picture: four bytes a pixel, premultiplied alpha, sRGB, rows from the top. Unchanging; any thread may use
/// it.
class CGImage final : public CFType {
public:
    /// \param pixels  \p height rows at distances of \p bytesPerRow, kept alive by what the pointer shares
    /// \param bitmapInfo  kCGBitmapInfoRGBA or kCGBitmapInfoBGRA
    CGImage(std::size_t width, std::size_t height, std::size_t bytesPerRow, CGBitmapInfo bitmapInfo,
        std::shared_ptr<const std::byte> pixels);

    std::size_t width() const noexcept { return mWidth; }
    std::size_t height() const noexcept { return mHeight; }
    std::size_t bytesPerRow() const noexcept { return mBytesPerRow; }
    CGBitmapInfo bitmapInfo() const noexcept { return mBitmapInfo; }
    const std::byte* row(std::size_t y) const noexcept { return mPixels.get() + y * mBytesPerRow; }
    /// The image at half the size, each pixel the mean of four; made once and kept. Null for an image of one row or
    /// column.
    const CGImage* halved() const;

    CFTypeID typeID() const noexcept override;
    std::string description() override;

private:
    const std::size_t mWidth;
    const std::size_t mHeight;
    const std::size_t mBytesPerRow;
    const CGBitmapInfo mBitmapInfo;
    const std::shared_ptr<const std::byte> mPixels;
    mutable std::once_flag mHalvedOnce;
    mutable Ref<CGImage> mHalved;
};

using CGImageRef = CGImage*;

inline CFTypeID CGImageGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CGImage" };
    return identifier.value();
}
/// One more reference, which is the caller's; null for null.
inline Ref<CGImage> CGImageRetain(CGImageRef image)
{
    return Ref<CGImage>(image);
}
std::size_t CGImageGetWidth(CGImageRef image);
std::size_t CGImageGetHeight(CGImageRef image);
/// The buffer's picture without a copy: the image holds the buffer, whose pixels must not change from then on.
/// \return null without a buffer, for another format than BGRA, and at the fail point "CGImageCreateWithPixelBuffer"
Ref<CGImage> CGImageCreateWithPixelBuffer(CVPixelBufferRef buffer);
