#include "CameraExtension/StandbyPicture.h"

StandbyPicture::StandbyPicture(std::uint32_t width, std::uint32_t height, std::uint32_t framesPerSecond)
    : mDimensions { static_cast<std::int32_t>(width), static_cast<std::int32_t>(height) }
    , mFrameRate(framesPerSecond)
{
}

Ref<CVPixelBuffer> StandbyPicture::picture()
{
    if (!mRenderer)
        mRenderer = make<ExtensionPixelBufferRenderer>(mDimensions, mFrameRate);
    return mRenderer->copyFrameWithPresentationTimeStampCurrentTime();
}
