#include "Platform/CoreVideo/PictureBuffers.h"

Ref<CVPixelBuffer> PictureBuffers::next(std::size_t width, std::size_t height)
{
    if (!mPool || width != mWidth || height != mHeight) {
        const auto attributes = CFDictionary::create(
            { { kCVPixelBufferPixelFormatTypeKey, CFNumber::create(kCVPixelFormatType_32BGRA).get() },
                { kCVPixelBufferWidthKey, CFNumber::create(width).get() },
                { kCVPixelBufferHeightKey, CFNumber::create(height).get() } });
        mPool = nullptr;
        CVPixelBufferPoolCreate(kCFAllocatorDefault, nullptr, attributes, &mPool);
        mWidth = width;
        mHeight = height;
    }
    Ref<CVPixelBuffer> buffer;
    if (mPool)
        CVPixelBufferPoolCreatePixelBuffer(kCFAllocatorDefault, mPool, &buffer);
    return buffer;
}
