#include "Platform/CoreImage/CIImage.h"

NS_IMPLEMENTATION(CIImage, NSObject) { }

CIImage::CIImage(Ref<CVPixelBuffer> pixelBuffer, Ref<CGImage> image, const CGAffineTransform& transform)
    : mPixelBuffer(std::move(pixelBuffer))
    , mImage(std::move(image))
    , mTransform(transform)
{
}

Ref<CIImage> CIImage::imageWithCVImageBuffer(CVImageBufferRef buffer)
{
    if (!buffer)
        return nullptr;
    return make<CIImage>(Ref(buffer), nullptr, CGAffineTransformIdentity);
}

Ref<CIImage> CIImage::imageWithCGImage(CGImageRef image)
{
    if (!image)
        return nullptr;
    return make<CIImage>(nullptr, Ref(image), CGAffineTransformIdentity);
}

Ref<CIImage> CIImage::imageByApplyingTransform(const CGAffineTransform& transform)
{
    return make<CIImage>(mPixelBuffer, mImage, CGAffineTransformConcat(mTransform, transform));
}

CGRect CIImage::extent() const
{
    CGRect source;
    if (mPixelBuffer)
        source = CGRectMake(
            0, 0, static_cast<CGFloat>(mPixelBuffer->width()), static_cast<CGFloat>(mPixelBuffer->height()));
    else if (mImage)
        source = CGRectMake(0, 0, static_cast<CGFloat>(mImage->width()), static_cast<CGFloat>(mImage->height()));
    return CGRectApplyAffineTransform(source, mTransform);
}
