#include "CameraExtension/StandbyPicture.h"

#include <cstring>

StandbyPicture::StandbyPicture(std::size_t width, std::size_t height)
    : mWidth(width)
    , mHeight(height)
{
}

Ref<CVPixelBuffer> StandbyPicture::picture()
{
    if (!mGround
        && CVPixelBufferCreate(kCFAllocatorDefault, mWidth, mHeight, kCVPixelFormatType_32BGRA, nullptr, &mGround)
            == kCVReturnSuccess)
        std::memset(mGround->baseAddress(), 128, mGround->bytesPerRow() * mHeight);
    return mGround;
}
