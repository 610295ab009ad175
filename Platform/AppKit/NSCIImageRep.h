#pragma once

#include "Platform/AppKit/NSImage.h"
#include "Platform/CoreImage/CIImage.h"

/// The form of an image that is rendered when it is shown. Unchanging.
class NSCIImageRep : public NSImageRep {
    NS_OBJECT(NSCIImageRep)
public:
    explicit NSCIImageRep(CIImage* image)
        : mImage(image)
    {
    }
    /// \return null for null and at the fail point "NSCIImageRep.imageRepWithCIImage:"
    static Ref<NSCIImageRep> imageRepWithCIImage(CIImage* image);
    CIImage* image() const { return mImage; }
    /// The source itself where nothing is to be done to it.
    Ref<CVPixelBuffer> copyPixelBuffer() override;
    /// The source itself where nothing but the order of the rows is to be changed.
    CALayerPicture copyPicture() override;

private:
    const Ref<CIImage> mImage;
};
