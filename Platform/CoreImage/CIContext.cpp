#include "Platform/CoreImage/CIContext.h"

#include "Platform/CoreGraphics/CGContext.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace {

/// The picture of a buffer whose bytes come alpha first.
Ref<CGImage> imageOfAlphaFirst(const CVPixelBuffer& buffer)
{
    const auto bytesPerRow = buffer.width() * 4;
    const auto pixels = std::make_shared<std::vector<std::byte>>(bytesPerRow * buffer.height());
    auto* target = pixels->data();
    for (std::size_t y = 0; y < buffer.height(); ++y) {
        const auto* source = buffer.baseAddress() + y * buffer.bytesPerRow();
        for (std::size_t x = 0; x < buffer.width(); ++x, source += 4, target += 4) {
            target[0] = source[3];
            target[1] = source[2];
            target[2] = source[1];
            target[3] = source[0];
        }
    }
    return make<CGImage>(buffer.width(), buffer.height(), bytesPerRow, kCGBitmapInfoBGRA,
        std::shared_ptr<const std::byte>(pixels, pixels->data()));
}

Ref<CGImage> sourceOf(const CIImage& image)
{
    auto* const buffer = image.pixelBuffer();
    if (!buffer)
        return image.image();
    if (buffer->pixelFormat() == kCVPixelFormatType_32ARGB)
        return imageOfAlphaFirst(*buffer);
    return CGImageCreateWithPixelBuffer(buffer);
}

}

Ref<CVPixelBuffer> CIContext::createPixelBuffer(const CIImage& image)
{
    auto* const buffer = image.pixelBuffer();
    if (buffer && buffer->pixelFormat() == kCVPixelFormatType_32BGRA && image.transform() == CGAffineTransformIdentity)
        return buffer;
    const auto source = sourceOf(image);
    const auto extent = image.extent();
    const auto width = static_cast<std::size_t>(std::lround(extent.size.width));
    const auto height = static_cast<std::size_t>(std::lround(extent.size.height));
    Ref<CVPixelBuffer> result;
    if (!source
        || CVPixelBufferCreate(kCFAllocatorDefault, width, height, kCVPixelFormatType_32BGRA, nullptr, &result)
            != kCVReturnSuccess)
        return nullptr;
    for (std::size_t y = 0; y < height; ++y)
        std::memset(result->baseAddress() + y * result->bytesPerRow(), 0, width * 4);
    const auto space = CGColorSpaceCreateDeviceRGB();
    const auto context = CGBitmapContextCreate(
        result->baseAddress(), width, height, 8, result->bytesPerRow(), space, kCGBitmapInfoBGRA);
    CGContextTranslateCTM(context, -extent.origin.x, -extent.origin.y);
    CGContextConcatCTM(context, image.transform());
    CGContextDrawImage(context,
        CGRectMake(0, 0, static_cast<CGFloat>(source->width()), static_cast<CGFloat>(source->height())), source);
    return result;
}
