#include "Platform/CoreGraphics/CGContext.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreGraphics/ImageScaler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

/// Four parts of a pixel in the order of the context's bytes, premultiplied, 0 to 255.
using Pixel = std::array<float, 4>;

bool isSupported(CGBitmapInfo info)
{
    return info == kCGBitmapInfoRGBA || info == kCGBitmapInfoBGRA;
}

Pixel pixelOf(const std::array<CGFloat, 4>& straight, CGBitmapInfo info)
{
    const auto part = [&](std::size_t index) {
        return static_cast<float>(std::clamp(straight[index], 0.0, 1.0) * std::clamp(straight[3], 0.0, 1.0) * 255);
    };
    const auto alpha = static_cast<float>(std::clamp(straight[3], 0.0, 1.0) * 255);
    if (info == kCGBitmapInfoRGBA)
        return { part(0), part(1), part(2), alpha };
    return { part(2), part(1), part(0), alpha };
}

std::byte rounded(float value)
{
    return static_cast<std::byte>(std::lround(std::clamp(value, 0.0f, 255.0f)));
}

/// Reads an image between its pixels, at a size at which none of them is left out.
class Sampler {
public:
    /// \param order  of the parts in what is read
    /// \param pixelsPerDrawnPixel  how much smaller the image is drawn than it is
    Sampler(const CGImage& image, CGBitmapInfo order, CGFloat pixelsPerDrawnPixel);

    /// The picture at a place given in fractions of its size, from the top left; transparent outside.
    Pixel at(CGFloat u, CGFloat v) const;

private:
    Pixel texel(long x, long y) const;

    const CGImage* mImage;
    bool mSwaps;
};

Sampler::Sampler(const CGImage& image, CGBitmapInfo order, CGFloat pixelsPerDrawnPixel)
    : mImage(&image)
    , mSwaps(image.bitmapInfo() != order)
{
    for (; pixelsPerDrawnPixel >= 2 && mImage->halved(); pixelsPerDrawnPixel /= 2)
        mImage = mImage->halved();
}

Pixel Sampler::texel(long x, long y) const
{
    if (x < 0 || y < 0 || x >= static_cast<long>(mImage->width()) || y >= static_cast<long>(mImage->height()))
        return {};
    const auto* const pixel = mImage->row(static_cast<std::size_t>(y)) + 4 * x;
    const auto part = [&](std::size_t index) { return static_cast<float>(pixel[index]); };
    return mSwaps ? Pixel { part(2), part(1), part(0), part(3) } : Pixel { part(0), part(1), part(2), part(3) };
}

Pixel Sampler::at(CGFloat u, CGFloat v) const
{
    const auto x = u * static_cast<CGFloat>(mImage->width()) - 0.5;
    const auto y = v * static_cast<CGFloat>(mImage->height()) - 0.5;
    const auto left = static_cast<long>(std::floor(x));
    const auto top = static_cast<long>(std::floor(y));
    const auto right = static_cast<float>(x - std::floor(x));
    const auto below = static_cast<float>(y - std::floor(y));
    const auto a = texel(left, top);
    const auto b = texel(left + 1, top);
    const auto c = texel(left, top + 1);
    const auto d = texel(left + 1, top + 1);
    Pixel result;
    for (std::size_t part = 0; part < result.size(); ++part)
        result[part] = (a[part] * (1 - right) + b[part] * right) * (1 - below)
            + (c[part] * (1 - right) + d[part] * right) * below;
    return result;
}

/// What no calculation of a place went wrong for, such as one with a time that is not valid.
bool isFinite(const CGRect& rect)
{
    return std::isfinite(rect.origin.x) && std::isfinite(rect.origin.y) && std::isfinite(rect.size.width)
        && std::isfinite(rect.size.height);
}

/// How much of the pixel from \p start to start + 1 lies between \p low and \p high.
CGFloat overlap(CGFloat start, CGFloat low, CGFloat high)
{
    return std::clamp(std::min(start + 1, high) - std::max(start, low), 0.0, 1.0);
}

}

CFTypeID CGContext::typeID() const noexcept
{
    return CGContextGetTypeID();
}

CGContext::CGContext(
    std::byte* pixels, std::size_t width, std::size_t height, std::size_t bytesPerRow, CGBitmapInfo bitmapInfo)
    : mPixels(pixels)
    , mWidth(width)
    , mHeight(height)
    , mBytesPerRow(bytesPerRow)
    , mBitmapInfo(bitmapInfo)
    // Users count rows from the bottom, the memory counts them from the top.
    , mStates { State { CGAffineTransform { 1, 0, 0, -1, 0, static_cast<CGFloat>(height) }, { 0, 0, 0, 1 } } }
{
}

void CGContext::saveGState()
{
    mStates.push_back(mStates.back());
}

void CGContext::restoreGState()
{
    if (mStates.size() > 1)
        mStates.pop_back();
}

void CGContext::concatCTM(const CGAffineTransform& transform)
{
    auto& current = mStates.back().transform;
    current = CGAffineTransformConcat(transform, current);
}

void CGContext::setFillColor(const CGColor& color)
{
    mStates.back().fill = color.components();
}

CGContext::PixelBounds CGContext::boundsOf(const CGRect& deviceRect) const
{
    const auto inside = [](CGFloat value, std::size_t limit) {
        return static_cast<std::size_t>(std::clamp(value, 0.0, static_cast<CGFloat>(limit)));
    };
    const auto& [origin, size] = deviceRect;
    return { inside(std::floor(origin.x), mWidth), inside(std::floor(origin.y), mHeight),
        inside(std::ceil(origin.x + size.width), mWidth), inside(std::ceil(origin.y + size.height), mHeight) };
}

void CGContext::blend(std::size_t x, std::size_t y, const std::array<float, 4>& source)
{
    auto* const pixel = mPixels + y * mBytesPerRow + 4 * x;
    const auto remains = 1 - source[3] / 255;
    for (std::size_t part = 0; part < source.size(); ++part)
        pixel[part] = rounded(source[part] + static_cast<float>(pixel[part]) * remains);
}

void CGContext::fillRect(const CGRect& rect)
{
    const auto& state = mStates.back();
    const auto color = pixelOf(state.fill, mBitmapInfo);
    const auto target = CGRectApplyAffineTransform(rect, state.transform);
    if (!isFinite(target))
        return;
    const auto bounds = boundsOf(target);
    const bool isOpaque = color[3] == 255;
    const std::array solid { rounded(color[0]), rounded(color[1]), rounded(color[2]), rounded(color[3]) };
    std::vector<std::byte> run;
    for (auto x = bounds.left; x < bounds.right; ++x)
        run.insert(run.end(), solid.begin(), solid.end());
    for (auto y = bounds.top; y < bounds.bottom; ++y) {
        const auto rows = overlap(static_cast<CGFloat>(y), target.origin.y, target.origin.y + target.size.height);
        const auto coverage = [&](std::size_t x) {
            return static_cast<float>(
                rows * overlap(static_cast<CGFloat>(x), target.origin.x, target.origin.x + target.size.width));
        };
        if (isOpaque && coverage(bounds.left) == 1 && coverage(bounds.right - 1) == 1) {
            std::memcpy(mPixels + y * mBytesPerRow + 4 * bounds.left, run.data(), run.size());
            continue;
        }
        for (auto x = bounds.left; x < bounds.right; ++x) {
            const auto part = coverage(x);
            blend(x, y, { color[0] * part, color[1] * part, color[2] * part, color[3] * part });
        }
    }
}

void CGContext::drawImage(const CGRect& rect, const CGImage& image)
{
    const auto& transform = mStates.back().transform;
    const auto target = CGRectApplyAffineTransform(rect, transform);
    if (!isFinite(target) || target.size.width == 0 || target.size.height == 0)
        return;
    if (transform.b == 0 && transform.c == 0)
        drawUprightImage(rect, boundsOf(target), image);
    else
        drawTurnedImage(rect, boundsOf(target), image);
}

void CGContext::drawUprightImage(const CGRect& rect, const PixelBounds& bounds, const CGImage& image)
{
    if (bounds.left >= bounds.right)
        return;
    // The image's first row is its upper one, at the greater y.
    const auto& transform = mStates.back().transform;
    const auto first = CGPointApplyAffineTransform({ rect.origin.x, rect.origin.y + rect.size.height }, transform);
    const auto last = CGPointApplyAffineTransform({ rect.origin.x + rect.size.width, rect.origin.y }, transform);
    ImageScaler scaler(image, { first.x, last.x }, { first.y, last.y }, bounds.left, bounds.right);
    const bool swaps = image.bitmapInfo() != mBitmapInfo;
    for (auto y = bounds.top; y < bounds.bottom; ++y) {
        auto x = bounds.left;
        for (const auto& pixel : scaler.row(y)) {
            blend(x, y, swaps ? Pixel { pixel[2], pixel[1], pixel[0], pixel[3] } : pixel);
            ++x;
        }
    }
}

void CGContext::drawTurnedImage(const CGRect& rect, const PixelBounds& bounds, const CGImage& image)
{
    const auto& transform = mStates.back().transform;
    const auto drawnWidth = rect.size.width * std::hypot(transform.a, transform.b);
    const auto drawnHeight = rect.size.height * std::hypot(transform.c, transform.d);
    if (drawnWidth == 0 || drawnHeight == 0)
        return;
    const Sampler sampler(image, mBitmapInfo,
        std::min(static_cast<CGFloat>(image.width()) / drawnWidth, static_cast<CGFloat>(image.height()) / drawnHeight));
    const auto toUser = CGAffineTransformInvert(transform);
    for (auto y = bounds.top; y < bounds.bottom; ++y)
        for (auto x = bounds.left; x < bounds.right; ++x) {
            const auto point
                = CGPointApplyAffineTransform({ static_cast<CGFloat>(x) + 0.5, static_cast<CGFloat>(y) + 0.5 }, toUser);
            const auto u = (point.x - rect.origin.x) / rect.size.width;
            const auto v = 1 - (point.y - rect.origin.y) / rect.size.height;
            if (u >= 0 && u < 1 && v >= 0 && v < 1)
                blend(x, y, sampler.at(u, v));
        }
}

Ref<CGImage> CGContext::createImage() const
{
    const auto bytesPerRow = mWidth * 4;
    const auto pixels = std::make_shared<std::vector<std::byte>>(bytesPerRow * mHeight);
    for (std::size_t y = 0; y < mHeight; ++y)
        std::memcpy(pixels->data() + y * bytesPerRow, mPixels + y * mBytesPerRow, bytesPerRow);
    return make<CGImage>(
        mWidth, mHeight, bytesPerRow, mBitmapInfo, std::shared_ptr<const std::byte>(pixels, pixels->data()));
}

Ref<CGContext> CGBitmapContextCreate(void* data, std::size_t width, std::size_t height, std::size_t bitsPerComponent,
    std::size_t bytesPerRow, CGColorSpaceRef space, CGBitmapInfo bitmapInfo)
{
    const bool fits = data && space && width > 0 && height > 0 && bitsPerComponent == 8 && bytesPerRow >= width * 4;
    if (!fits || !isSupported(bitmapInfo) || FAIL_POINT("CGBitmapContextCreate"))
        return nullptr;
    return make<CGContext>(static_cast<std::byte*>(data), width, height, bytesPerRow, bitmapInfo);
}

Ref<CGImage> CGBitmapContextCreateImage(CGContextRef context)
{
    return context ? context->createImage() : nullptr;
}

void CGContextSaveGState(CGContextRef context)
{
    if (context)
        context->saveGState();
}

void CGContextRestoreGState(CGContextRef context)
{
    if (context)
        context->restoreGState();
}

void CGContextTranslateCTM(CGContextRef context, CGFloat x, CGFloat y)
{
    CGContextConcatCTM(context, CGAffineTransformMakeTranslation(x, y));
}

void CGContextScaleCTM(CGContextRef context, CGFloat x, CGFloat y)
{
    CGContextConcatCTM(context, CGAffineTransformMakeScale(x, y));
}

void CGContextConcatCTM(CGContextRef context, const CGAffineTransform& transform)
{
    if (context)
        context->concatCTM(transform);
}

void CGContextSetFillColorWithColor(CGContextRef context, CGColorRef color)
{
    if (context && color)
        context->setFillColor(*color);
}

void CGContextFillRect(CGContextRef context, const CGRect& rect)
{
    if (context)
        context->fillRect(rect);
}

void CGContextDrawImage(CGContextRef context, const CGRect& rect, CGImageRef image)
{
    if (context && image)
        context->drawImage(rect, *image);
}
