#pragma once

#include "Platform/CoreGraphics/CGImage.h"
#include "Platform/Foundation/NSObject.h"

/// A picture and what is to be done to it, unrendered: a source and the transform from the source's coordinates to the
/// image's. The source has its origin at the bottom left. Unchanging; any thread may use it.
class CIImage : public NSObject {
    NS_OBJECT(CIImage)
public:
    /// The empty picture.
    CIImage()
        : CIImage(nullptr, nullptr, {})
    {
    }
    CIImage(Ref<CVPixelBuffer> pixelBuffer, Ref<CGImage> image, const CGAffineTransform& transform);

    /// Images come and go with every frame, so the memory of one that has gone is kept for the next ones.
    static void* operator new(std::size_t size);
    static void operator delete(void* memory, std::size_t size) noexcept;

    /// \return null for null
    static Ref<CIImage> imageWithCVImageBuffer(CVImageBufferRef buffer);
    static Ref<CIImage> imageWithCGImage(CGImageRef image);

    /// The image with \p transform done after what is done to it so far.
    Ref<CIImage> imageByApplyingTransform(const CGAffineTransform& transform);
    /// Where the picture lies; empty without a source.
    CGRect extent() const;

    /// The source, one of the two, or neither.
    CVPixelBuffer* pixelBuffer() const noexcept { return mPixelBuffer; }
    CGImage* image() const noexcept { return mImage; }
    const CGAffineTransform& transform() const noexcept { return mTransform; }

private:
    const Ref<CVPixelBuffer> mPixelBuffer;
    const Ref<CGImage> mImage;
    const CGAffineTransform mTransform;
};
