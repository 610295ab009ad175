#include "Platform/AppKit/NSCIImageRep.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreImage/CIContext.h"

NS_IMPLEMENTATION(NSCIImageRep, NSImageRep) { }

Ref<NSCIImageRep> NSCIImageRep::imageRepWithCIImage(CIImage* image)
{
    if (!image || FAIL_POINT("NSCIImageRep.imageRepWithCIImage:"))
        return nullptr;
    return make<NSCIImageRep>(image);
}

Ref<CVPixelBuffer> NSCIImageRep::copyPixelBuffer()
{
    return CIContext::createPixelBuffer(*mImage);
}

CALayerPicture NSCIImageRep::copyPicture()
{
    auto* const buffer = mImage->pixelBuffer();
    if (buffer && CIContext::keepsPixels(mImage->transform()))
        return { buffer, mImage->transform().d < 0 };
    return { copyPixelBuffer() };
}
