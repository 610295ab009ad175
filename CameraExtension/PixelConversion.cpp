#include "CameraExtension/PixelConversion.h"

#include "CameraExtension/PixelRows.h"

#include <algorithm>
#include <cstring>

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
    , mChromaRows(width)
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
    const auto row
        = [&](std::size_t y) { return reinterpret_cast<const std::uint8_t*>(source.pixels + y * source.bytesPerRow); };
    auto* const out = reinterpret_cast<std::uint8_t*>(destination.data());
    auto* const chroma = out + mWidth * mHeight;
    const auto half = mWidth / 2;
    auto* const rowU = mChromaRows.data();
    auto* const rowV = rowU + half;

    switch (format) {
    case CameraPixelFormat::I420:
        for (std::size_t y = 0; y < mHeight; y += 2) {
            PixelRows::luma(row(y), out + y * mWidth, mWidth);
            PixelRows::luma(row(y + 1), out + (y + 1) * mWidth, mWidth);
            PixelRows::chroma(
                row(y), row(y + 1), chroma + y / 2 * half, chroma + half * (mHeight / 2) + y / 2 * half, half);
        }
        break;
    case CameraPixelFormat::NV12:
        for (std::size_t y = 0; y < mHeight; y += 2) {
            PixelRows::luma(row(y), out + y * mWidth, mWidth);
            PixelRows::luma(row(y + 1), out + (y + 1) * mWidth, mWidth);
            PixelRows::chroma(row(y), row(y + 1), rowU, rowV, half);
            PixelRows::interleave(rowU, rowV, chroma + y / 2 * mWidth, half);
        }
        break;
    case CameraPixelFormat::YUY2:
        mLumaRow.resize(mWidth);
        for (std::size_t y = 0; y < mHeight; ++y) {
            PixelRows::luma(row(y), mLumaRow.data(), mWidth);
            PixelRows::chroma(row(y), row(y), rowU, rowV, half);
            PixelRows::interleave(rowU, rowV, mLumaRow.data(), out + y * mWidth * 2, half);
        }
        break;
    case CameraPixelFormat::BGRA:
    case CameraPixelFormat::BGRx:
        for (std::size_t y = 0; y < mHeight; ++y)
            std::memcpy(out + y * mWidth * 4, row(y), mWidth * 4);
        break;
    }
}
