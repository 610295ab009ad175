#include "Platform/QuartzCore/CALayer.h"

#include "Platform/CoreGraphics/CGImage.h"
#include "Platform/QuartzCore/CATransactionGroup.h"

#include <algorithm>
#include <cstring>

namespace {

/// The image's pixels, blue first. \return null when there is no memory for them
Ref<CVPixelBuffer> pixelBufferOf(const CGImage& image)
{
    Ref<CVPixelBuffer> buffer;
    CVPixelBufferCreate(
        kCFAllocatorDefault, image.width(), image.height(), kCVPixelFormatType_32BGRA, nullptr, &buffer);
    if (!buffer)
        return nullptr;
    constexpr std::size_t bytesPerPixel = 4;
    for (std::size_t y = 0; y < image.height(); ++y) {
        auto* const row = buffer->baseAddress() + y * buffer->bytesPerRow();
        std::memcpy(row, image.row(y), image.width() * bytesPerPixel);
        if (image.bitmapInfo() == kCGBitmapInfoRGBA)
            for (std::size_t x = 0; x < image.width(); ++x)
                std::swap(row[x * bytesPerPixel], row[x * bytesPerPixel + 2]);
    }
    return buffer;
}

}

NS_IMPLEMENTATION(CALayer, NSObject)
{
    type.key("contents", &CALayer::contents, &CALayer::setContents);
    type.key("contentsGravity", &CALayer::contentsGravity, &CALayer::setContentsGravity);
    type.key("hidden", &CALayer::isHidden, &CALayer::setHidden);
    type.message("setContents:", &CALayer::setContents);
    type.message("setNeedsDisplay", &CALayer::setNeedsDisplay);
}

CFType* CALayer::contents() const
{
    return autorelease(copyContents());
}

void CALayer::setContents(CFType* contents)
{
    Ref<CFType> replaced(contents);
    {
        const std::lock_guard lock(mLock);
        std::swap(replaced, mContents);
    }
    // The old contents die here, outside the lock: the last reference may give a surface back to its pool.
    replaced = nullptr;
    changed();
}

CFString* CALayer::contentsGravity() const
{
    const std::lock_guard lock(mLock);
    return autorelease(mContentsGravity);
}

void CALayer::setContentsGravity(CFString* gravity)
{
    {
        const std::lock_guard lock(mLock);
        mContentsGravity = gravity ? gravity : kCAGravityResize;
    }
    changed();
}

CGColorRef CALayer::backgroundColor() const
{
    const std::lock_guard lock(mLock);
    return autorelease(mBackgroundColor);
}

void CALayer::setBackgroundColor(CGColorRef color)
{
    {
        const std::lock_guard lock(mLock);
        mBackgroundColor = color;
    }
    changed();
}

bool CALayer::isOpaque() const
{
    const std::lock_guard lock(mLock);
    return mOpaque;
}

void CALayer::setOpaque(bool opaque)
{
    {
        const std::lock_guard lock(mLock);
        mOpaque = opaque;
    }
    changed();
}

bool CALayer::isHidden() const
{
    const std::lock_guard lock(mLock);
    return mHidden;
}

void CALayer::setHidden(bool hidden)
{
    {
        const std::lock_guard lock(mLock);
        mHidden = hidden;
    }
    changed();
}

void CALayer::setNeedsDisplay()
{
    changed();
}

void CALayer::setHost(CALayerHost* host)
{
    const std::lock_guard lock(mHostLock);
    mHost = host;
}

Ref<CFType> CALayer::copyContents() const
{
    const std::lock_guard lock(mLock);
    return mContents;
}

Ref<CVPixelBuffer> CALayer::copyPixelBufferForDisplay() const
{
    const auto contents = copyContents();
    if (auto* const image = kindOf<CALayerContents>(contents))
        return image->copyPixelBufferForLayer();
    return copyPictureForDisplay().buffer;
}

CALayerPicture CALayer::copyPictureForDisplay() const
{
    const auto contents = copyContents();
    if (auto* const buffer = kindOf<CVPixelBuffer>(contents))
        return { buffer };
    if (auto* const surface = kindOf<IOSurface>(contents))
        return { make<CVPixelBuffer>(Ref<IOSurface>(surface)) };
    if (const auto* const image = kindOf<CGImage>(contents))
        return { pixelBufferOf(*image) };
    if (auto* const image = kindOf<CALayerContents>(contents))
        return image->copyPictureForLayer();
    return {};
}

CGRect CALayer::rectangleForContents(CGSize picture, CGSize layer) const
{
    CGRect filled { {}, layer };
    if (picture.width <= 0 || picture.height <= 0 || layer.width <= 0 || layer.height <= 0)
        return filled;
    const auto gravity = Ref<CFString>(contentsGravity());
    const double horizontal = layer.width / picture.width;
    const double vertical = layer.height / picture.height;
    double scale = 0;
    if (CFEqual(gravity, kCAGravityResizeAspect))
        scale = std::min(horizontal, vertical);
    else if (CFEqual(gravity, kCAGravityResizeAspectFill))
        scale = std::max(horizontal, vertical);
    else
        return filled;
    filled.size = { picture.width * scale, picture.height * scale };
    filled.origin = { (layer.width - filled.size.width) / 2, (layer.height - filled.size.height) / 2 };
    return filled;
}

void CALayer::changed()
{
    if (!CATransactionGroup::defer(this))
        tellHost();
}

void CALayer::tellHost()
{
    const std::lock_guard lock(mHostLock);
    if (mHost)
        mHost->layerNeedsDisplay();
}
