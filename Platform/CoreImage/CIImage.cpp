#include "Platform/CoreImage/CIImage.h"

#include <memory_resource>

namespace {

/// The memory of images, which any thread may give back. There until the process ends, as the last image may be.
std::pmr::memory_resource& imageMemory()
{
    static auto* const memory = std::make_unique<std::pmr::synchronized_pool_resource>().release();
    return *memory;
}

}

NS_IMPLEMENTATION(CIImage, NSObject) { }

CIImage::CIImage(Ref<CVPixelBuffer> pixelBuffer, Ref<CGImage> image, const CGAffineTransform& transform)
    : mPixelBuffer(std::move(pixelBuffer))
    , mImage(std::move(image))
    , mTransform(transform)
{
}

void* CIImage::operator new(std::size_t size)
{
    return imageMemory().allocate(size);
}

void CIImage::operator delete(void* memory, std::size_t size) noexcept
{
    imageMemory().deallocate(memory, size);
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
