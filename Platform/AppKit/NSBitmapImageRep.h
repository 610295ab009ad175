#pragma once

#include "Platform/AppKit/NSImage.h"
#include "Platform/CoreGraphics/CGImage.h"

/// The form of an image that is pixels. Unchanging.
class NSBitmapImageRep : public NSImageRep {
    NS_OBJECT(NSBitmapImageRep)
public:
    explicit NSBitmapImageRep(CGImageRef image)
        : mImage(image)
    {
    }
    CGImageRef CGImage() const { return mImage; }
    Ref<CVPixelBuffer> copyPixelBuffer() override;

private:
    const Ref<::CGImage> mImage;
};
