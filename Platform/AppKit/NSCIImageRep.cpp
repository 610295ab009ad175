#include "Platform/AppKit/NSCIImageRep.h"

#include "Platform/CoreImage/CIContext.h"

NS_IMPLEMENTATION(NSCIImageRep, NSImageRep) { }

Ref<NSCIImageRep> NSCIImageRep::imageRepWithCIImage(CIImage* image)
{
    return image ? make<NSCIImageRep>(image) : nullptr;
}

Ref<CVPixelBuffer> NSCIImageRep::copyPixelBuffer()
{
    return CIContext::createPixelBuffer(*mImage);
}
