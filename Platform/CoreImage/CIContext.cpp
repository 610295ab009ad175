#include "Platform/CoreImage/CIContext.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreGraphics/CGContext.h"
#include "Platform/CoreImage/CIContextDrawing.h"
#include "Platform/CoreVideo/PictureBuffers.h"
#include "Platform/Foundation/NSLog.h"

#include <libyuv/convert_argb.h>

#include <algorithm>
#include <cmath>
#include <cstring>

NS_IMPLEMENTATION(CIContext, NSObject) { }

namespace {

/// What the surface shows of the image's plane, as a target whose rows count from the top.
std::optional<PictureScaler::Target> targetOf(IOSurface& surface, const CGRect& bounds)
{
    const auto within = [](CGFloat length, std::size_t limit) {
        return static_cast<int>(std::clamp(std::round(length), 0.0, static_cast<CGFloat>(limit)));
    };
    const int width = within(bounds.size.width, surface.width());
    const int height = within(bounds.size.height, surface.height());
    if (width == 0 || height == 0)
        return std::nullopt;
    auto* const pixels
        = surface.baseAddress() + (surface.height() - static_cast<std::size_t>(height)) * surface.bytesPerRow();
    return PictureScaler::Target { pixels, surface.bytesPerRow(), width, height };
}

/// The image's source as pixels with blue first.
Ref<CVPixelBuffer> pixelBufferOf(const CIImage& image)
{
    auto* const buffer = image.pixelBuffer();
    if (buffer && buffer->pixelFormat() == kCVPixelFormatType_32BGRA)
        return Ref(buffer);
    return CIContext::createPixelBuffer(*make<CIImage>(Ref(buffer), Ref(image.image()), CGAffineTransformIdentity));
}

/// The buffer's pixels with blue first, the last row on top if \p mirrored. \return null when there is no memory
Ref<CVPixelBuffer> copied(const CVPixelBuffer& buffer, bool mirrored)
{
    static std::mutex lock;
    static PictureBuffers buffers;
    Ref<CVPixelBuffer> result;
    {
        const std::lock_guard guard(lock);
        result = buffers.next(buffer.width(), buffer.height());
    }
    if (!result)
        return nullptr;
    const auto height = static_cast<int>(buffer.height());
    if (buffer.pixelFormat() == kCVPixelFormatType_32ARGB) {
        // The library counts bytes from the other end: what it calls BGRA has alpha first in memory.
        libyuv::BGRAToARGB(reinterpret_cast<const std::uint8_t*>(buffer.baseAddress()),
            static_cast<int>(buffer.bytesPerRow()), reinterpret_cast<std::uint8_t*>(result->baseAddress()),
            static_cast<int>(result->bytesPerRow()), static_cast<int>(buffer.width()), mirrored ? -height : height);
        return result;
    }
    for (std::size_t y = 0; y < buffer.height(); ++y) {
        const auto from = mirrored ? buffer.height() - 1 - y : y;
        std::memcpy(result->baseAddress() + y * result->bytesPerRow(),
            buffer.baseAddress() + from * buffer.bytesPerRow(), buffer.width() * 4);
    }
    return result;
}

Ref<CGImage> sourceOf(const CIImage& image)
{
    auto* const buffer = image.pixelBuffer();
    if (!buffer)
        return image.image();
    return CGImageCreateWithPixelBuffer(
        buffer->pixelFormat() == kCVPixelFormatType_32BGRA ? buffer : copied(*buffer, false).get());
}

bool isUpright(const CGAffineTransform& transform)
{
    return transform.b == 0 && transform.c == 0 && transform.a != 0 && transform.d != 0;
}

/// Where an upright image comes to lie.
struct Place {
    PictureScaler::Span across, down; ///< in pixels of the target
};

/// \param buffer  the image's pixels
Place placeOf(const CVPixelBuffer& buffer, const CGAffineTransform& transform, const CGRect& bounds, int targetHeight)
{
    const auto left = transform.tx - bounds.origin.x;
    const auto bottom = targetHeight - (transform.ty - bounds.origin.y);
    return { { left, left + transform.a * static_cast<CGFloat>(buffer.width()) },
        { bottom - transform.d * static_cast<CGFloat>(buffer.height()), bottom } };
}

PictureScaler::Source pixelsOf(const CVPixelBuffer& buffer)
{
    return { buffer.baseAddress(), buffer.bytesPerRow(), static_cast<int>(buffer.width()),
        static_cast<int>(buffer.height()) };
}

/// A buffer in another size, as it is done for the pictures that are to be made smaller over and over.
void scale(const CVPixelBuffer& buffer, const PictureScaler::Target& target, const Place& place)
{
    static std::mutex lock;
    static PictureScaler scaler;
    const std::lock_guard guard(lock);
    scaler.scale(pixelsOf(buffer), target, place.across, place.down);
}

/// Any other picture, or one that is turned or slanted: as it is drawn into any bitmap. \return false when there is
/// none
bool draw(const CIImage& image, const PictureScaler::Target& target, const CGRect& bounds)
{
    for (int y = 0; y < target.height; ++y)
        std::memset(target.pixels + static_cast<std::size_t>(y) * target.bytesPerRow, 0,
            static_cast<std::size_t>(target.width) * 4);
    const auto source = sourceOf(image);
    if (!source)
        return false;
    const auto space = CGColorSpaceCreateDeviceRGB();
    const auto context = CGBitmapContextCreate(target.pixels, static_cast<std::size_t>(target.width),
        static_cast<std::size_t>(target.height), 8, target.bytesPerRow, space, kCGBitmapInfoBGRA);
    CGContextTranslateCTM(context, -bounds.origin.x, -bounds.origin.y);
    CGContextConcatCTM(context, image.transform());
    CGContextDrawImage(context,
        CGRectMake(0, 0, static_cast<CGFloat>(source->width()), static_cast<CGFloat>(source->height())), source);
    return true;
}

}

Ref<CIContext> CIContext::contextWithCGLContext_pixelFormat_colorSpace_options(
    CGLContextObj context, CGLPixelFormatObj format, CGColorSpaceRef space, CFDictionary* /*options*/)
{
    if (FAIL_POINT("CIContext.contextWithCGLContext:pixelFormat:colorSpace:options:") || !context || !format || !space)
        return nullptr;
    return make<CIContext>(Ref(context));
}

CIContext::CIContext(Ref<CGLContext> context)
    : mContext(std::move(context))
{
}

CIContext::~CIContext()
{
    if (!mDrawing)
        return;
    const CGLContext::Use use(*mContext);
    if (!use || mGeneration != mContext->generation())
        mDrawing->forget();
    mDrawing = nullptr;
}

void CIContext::render_toIOSurface_bounds_colorSpace(
    CIImage* image, IOSurfaceRef surface, const CGRect& bounds, CGColorSpaceRef /*space*/)
{
    const auto target = image && surface ? targetOf(*surface, bounds) : std::nullopt;
    if (!target || surface->pixelFormat() != kCVPixelFormatType_32BGRA)
        return;
    const std::lock_guard lock(mLock);
    const auto buffer = isUpright(image->transform()) ? pixelBufferOf(*image) : nullptr;
    if (!buffer) {
        draw(*image, *target, bounds);
        return;
    }
    const auto [across, down] = placeOf(*buffer, image->transform(), bounds, target->height);
    if (!usesOpenGL(*buffer, across, down))
        mScaler.scale(pixelsOf(*buffer), *target, across, down);
    else if (!renderWithOpenGL(*buffer, *target, across, down))
        NSLog(CFSTR("A picture could not be rendered: the graphics driver failed."));
}

bool CIContext::usesOpenGL(const CVPixelBuffer& buffer, PictureScaler::Span across, PictureScaler::Span down) const
{
    // Beyond this a pixel of the result would read so many of the source that a driver might give up.
    constexpr double mostReduction = 64;
    return (!mContext->isSoftware() || FAIL_POINT("CIContext.rendersWithTheProcessor"))
        && static_cast<double>(buffer.width()) <= mostReduction * std::abs(across.end - across.start)
        && static_cast<double>(buffer.height()) <= mostReduction * std::abs(down.end - down.start);
}

bool CIContext::renderWithOpenGL(const CVPixelBuffer& buffer, const PictureScaler::Target& target,
    PictureScaler::Span across, PictureScaler::Span down)
{
    const CGLContext::Use use(*mContext);
    if (!use || FAIL_POINT("CIContext.render"))
        return false;
    if (!mDrawing || mGeneration != mContext->generation()) {
        // The names of a lost context mean nothing, or something else, in the new one.
        if (mDrawing)
            mDrawing->forget();
        mDrawing = std::make_unique<CIContextDrawing>();
        mGeneration = mContext->generation();
    }
    return mDrawing->scale(buffer, target, across, down);
}

bool CIContext::keepsPixels(const CGAffineTransform& transform)
{
    return transform.a == 1 && transform.b == 0 && transform.c == 0 && std::abs(transform.d) == 1;
}

Ref<CVPixelBuffer> CIContext::createPixelBuffer(const CIImage& image)
{
    auto* const buffer = image.pixelBuffer();
    if (buffer && keepsPixels(image.transform())) {
        const bool mirrored = image.transform().d < 0;
        return buffer->pixelFormat() == kCVPixelFormatType_32BGRA && !mirrored ? Ref(buffer)
                                                                               : copied(*buffer, mirrored);
    }
    const auto extent = image.extent();
    const auto width = static_cast<std::size_t>(std::lround(extent.size.width));
    const auto height = static_cast<std::size_t>(std::lround(extent.size.height));
    Ref<CVPixelBuffer> result;
    CVPixelBufferCreate(kCFAllocatorDefault, width, height, kCVPixelFormatType_32BGRA, nullptr, &result);
    if (!result)
        return nullptr;
    const PictureScaler::Target target { result->baseAddress(), result->bytesPerRow(), static_cast<int>(width),
        static_cast<int>(height) };
    if (const auto source = buffer && isUpright(image.transform()) ? pixelBufferOf(image) : nullptr)
        scale(*source, target, placeOf(*source, image.transform(), extent, target.height));
    else if (!draw(image, target, extent))
        return nullptr;
    return result;
}
