#pragma once

#include "Platform/CoreGraphics/CGImage.h"

#include <array>
#include <cstdint>
#include <vector>

/// Draws with the processor into memory of the caller. The origin of coordinates is the bottom left, y grows upwards;
/// the memory's first row is the top one. For one thread at a time.
class CGContext final : public CFType {
public:
    CGContext(
        std::byte* pixels, std::size_t width, std::size_t height, std::size_t bytesPerRow, CGBitmapInfo bitmapInfo);

    void saveGState();
    void restoreGState();
    void concatCTM(const CGAffineTransform& transform);
    void setFillColor(const CGColor& color);
    void fillRect(const CGRect& rect);
    void drawImage(const CGRect& rect, const CGImage& image);
    Ref<CGImage> createImage() const;

    CFTypeID typeID() const noexcept override;

private:
    /// What is saved and restored: the map from user space to pixels, and the fill colour.
    struct State {
        CGAffineTransform transform;
        std::array<CGFloat, 4> fill { 0, 0, 0, 1 };
    };
    /// The pixels that a rectangle in pixel coordinates touches, within the memory.
    struct PixelBounds {
        std::size_t left, top, right, bottom;
    };
    PixelBounds boundsOf(const CGRect& deviceRect) const;
    void drawUprightImage(const CGRect& rect, const PixelBounds& bounds, const CGImage& image);
    void drawTurnedImage(const CGRect& rect, const PixelBounds& bounds, const CGImage& image);
    /// Lays a premultiplied colour (0 to 255, in the order of the bytes) over one pixel.
    void blend(std::size_t x, std::size_t y, const std::array<float, 4>& source);

    std::byte* const mPixels;
    const std::size_t mWidth;
    const std::size_t mHeight;
    const std::size_t mBytesPerRow;
    const CGBitmapInfo mBitmapInfo;
    std::vector<State> mStates;
};

using CGContextRef = CGContext*;

inline CFTypeID CGContextGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CGContext" };
    return identifier.value();
}
/// \param data  \p height rows at distances of \p bytesPerRow; stays the caller's and must outlive the context
/// \param bitsPerComponent  8
/// \param bitmapInfo  kCGBitmapInfoRGBA or kCGBitmapInfoBGRA
/// \return null for other formats, without memory, for an empty size or rows shorter than the width, without a colour
/// space, and at the fail point "CGBitmapContextCreate"
Ref<CGContext> CGBitmapContextCreate(void* data, std::size_t width, std::size_t height, std::size_t bitsPerComponent,
    std::size_t bytesPerRow, CGColorSpaceRef space, CGBitmapInfo bitmapInfo);
/// A copy of what the context shows now; null for null.
Ref<CGImage> CGBitmapContextCreateImage(CGContextRef context);

// All of these do nothing for a null context, and nothing is drawn where a place is not a finite number.
void CGContextSaveGState(CGContextRef context);
void CGContextRestoreGState(CGContextRef context);
void CGContextTranslateCTM(CGContextRef context, CGFloat x, CGFloat y);
void CGContextScaleCTM(CGContextRef context, CGFloat x, CGFloat y);
/// \p transform comes before what the context does to coordinates so far.
void CGContextConcatCTM(CGContextRef context, const CGAffineTransform& transform);
void CGContextSetFillColorWithColor(CGContextRef context, CGColorRef color);
/// Fills, with smooth edges where they fall between pixels. A turned rectangle fills the upright one around it.
void CGContextFillRect(CGContextRef context, const CGRect& rect);
/// Draws the whole image, upright, into \p rect, with smooth edges: the mean where it is made smaller, linear where it
/// is made larger.
void CGContextDrawImage(CGContextRef context, const CGRect& rect, CGImageRef image);
