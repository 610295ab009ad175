#include "CameraExtension/PixelConversion.h"

#include <algorithm>

#include <libyuv/convert_argb.h>
#include <libyuv/convert_from_argb.h>
#include <libyuv/scale_argb.h>

PictureLayout layoutOf(CameraPixelFormat format, std::size_t width, std::size_t height)
{
    switch (format) {
    case CameraPixelFormat::I420:
    case CameraPixelFormat::NV12:
        return { width * height * 3 / 2, width };
    case CameraPixelFormat::YUY2:
        return { width * height * 2, width * 2 };
    case CameraPixelFormat::BGRA:
    case CameraPixelFormat::BGRx:
        break;
    }
    return { width * height * 4, width * 4 };
}

PixelConversion::PixelConversion(std::size_t width, std::size_t height)
    : mWidth(width)
    , mHeight(height)
{
}

BGRAPicture PixelConversion::fitted(const BGRAPicture& picture)
{
    if (picture.width == mWidth && picture.height == mHeight)
        return picture;
    const auto row = mWidth * 4;
    if (mScaledFromWidth != picture.width || mScaledFromHeight != picture.height) {
        mScaled.assign(row * mHeight, std::byte { 0 });
        for (std::size_t alpha = 3; alpha < mScaled.size(); alpha += 4)
            mScaled[alpha] = std::byte { 255 };
        mScaledFromWidth = picture.width;
        mScaledFromHeight = picture.height;
    }
    const bool isWider = picture.width * mHeight > picture.height * mWidth;
    const auto width = isWider ? mWidth : std::max<std::size_t>(1, picture.width * mHeight / picture.height);
    const auto height = isWider ? std::max<std::size_t>(1, picture.height * mWidth / picture.width) : mHeight;
    auto* const start = mScaled.data() + (mHeight - height) / 2 * row + (mWidth - width) / 2 * 4;
    libyuv::ARGBScale(reinterpret_cast<const std::uint8_t*>(picture.pixels), static_cast<int>(picture.bytesPerRow),
        static_cast<int>(picture.width), static_cast<int>(picture.height), reinterpret_cast<std::uint8_t*>(start),
        static_cast<int>(row), static_cast<int>(width), static_cast<int>(height), libyuv::kFilterBilinear);
    return { mScaled.data(), mWidth, mHeight, row };
}

void PixelConversion::convert(const BGRAPicture& picture, CameraPixelFormat format, std::span<std::byte> destination)
{
    const auto source = fitted(picture);
    if (destination.size() < layoutOf(format, mWidth, mHeight).bytes)
        return;
    const auto* const pixels = reinterpret_cast<const std::uint8_t*>(source.pixels);
    const auto sourceStride = static_cast<int>(source.bytesPerRow);
    const auto width = static_cast<int>(mWidth);
    const auto height = static_cast<int>(mHeight);
    auto* const out = reinterpret_cast<std::uint8_t*>(destination.data());
    auto* const chroma = out + mWidth * mHeight;

    switch (format) {
    case CameraPixelFormat::I420:
        libyuv::ARGBToI420(pixels, sourceStride, out, width, chroma, width / 2, chroma + mWidth * mHeight / 4,
            width / 2, width, height);
        break;
    case CameraPixelFormat::NV12:
        libyuv::ARGBToNV12(pixels, sourceStride, out, width, chroma, width, width, height);
        break;
    case CameraPixelFormat::YUY2:
        libyuv::ARGBToYUY2(pixels, sourceStride, out, width * 2, width, height);
        break;
    case CameraPixelFormat::BGRA:
    case CameraPixelFormat::BGRx:
        libyuv::ARGBCopy(pixels, sourceStride, out, width * 4, width, height);
        break;
    }
}
