#include "Platform/CoreGraphics/CGImage.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <vector>

CGImage::CGImage(std::size_t width, std::size_t height, std::size_t bytesPerRow, CGBitmapInfo bitmapInfo,
    std::shared_ptr<const std::byte> pixels)
    : mWidth(width)
    , mHeight(height)
    , mBytesPerRow(bytesPerRow)
    , mBitmapInfo(bitmapInfo)
    , mPixels(std::move(pixels))
{
}

const CGImage* CGImage::halved() const
{
    std::call_once(mHalvedOnce, [this] {
        const auto width = mWidth / 2;
        const auto height = mHeight / 2;
        if (width == 0 || height == 0)
            return;
        const auto pixels = std::make_shared<std::vector<std::byte>>(width * height * 4);
        auto* target = pixels->data();
        for (std::size_t y = 0; y < height; ++y) {
            const auto* upper = row(2 * y);
            const auto* lower = row(2 * y + 1);
            for (std::size_t x = 0; x < width; ++x, upper += 8, lower += 8)
                for (std::size_t part = 0; part < 4; ++part, ++target) {
                    const auto sum = static_cast<unsigned>(upper[part]) + static_cast<unsigned>(upper[part + 4])
                        + static_cast<unsigned>(lower[part]) + static_cast<unsigned>(lower[part + 4]);
                    *target = static_cast<std::byte>((sum + 2) / 4);
                }
        }
        mHalved = make<CGImage>(
            width, height, width * 4, mBitmapInfo, std::shared_ptr<const std::byte>(pixels, pixels->data()));
    });
    return mHalved;
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
