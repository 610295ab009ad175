#include "Platform/CoreGraphics/CGImage.h"

#include "Platform/CoreFoundation/FailPoint.h"

CFTypeID CGImageGetTypeID()
{
    static const auto identifier = CFRegisterType("CGImage");
    return identifier;
}

CGImage::CGImage(std::size_t width, std::size_t height, std::size_t bytesPerRow, CGBitmapInfo bitmapInfo,
    std::shared_ptr<const std::byte> pixels)
    : mWidth(width)
    , mHeight(height)
    , mBytesPerRow(bytesPerRow)
    , mBitmapInfo(bitmapInfo)
    , mPixels(std::move(pixels))
{
}

CFTypeID CGImage::typeID() const noexcept
{
    return CGImageGetTypeID();
}

std::string CGImage::description()
{
    return CFFormat("<CGImage %p %lu x %lu>", { CFFormatArgument(static_cast<const void*>(this)), mWidth, mHeight });
}

std::size_t CGImageGetWidth(CGImageRef image)
{
    return image ? image->width() : 0;
}

std::size_t CGImageGetHeight(CGImageRef image)
{
    return image ? image->height() : 0;
}

Ref<CGImage> CGImageCreateWithPixelBuffer(CVPixelBufferRef buffer)
{
    if (!buffer || buffer->pixelFormat() != kCVPixelFormatType_32BGRA || FAIL_POINT("CGImageCreateWithPixelBuffer"))
        return nullptr;
    const auto holder = std::make_shared<Ref<CVPixelBuffer>>(buffer);
    return make<CGImage>(buffer->width(), buffer->height(), buffer->bytesPerRow(), kCGBitmapInfoBGRA,
        std::shared_ptr<const std::byte>(holder, buffer->baseAddress()));
}
