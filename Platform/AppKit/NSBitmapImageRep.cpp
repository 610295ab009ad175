#include "Platform/AppKit/NSBitmapImageRep.h"

#include "Platform/CoreImage/CIContext.h"

NS_IMPLEMENTATION(NSBitmapImageRep, NSImageRep) { }

Ref<CVPixelBuffer> NSBitmapImageRep::copyPixelBuffer()
{
    return CIContext::createPixelBuffer(*CIImage::imageWithCGImage(mImage));
}
