#include "Platform/AppKit/NSImage.h"

NS_IMPLEMENTATION(NSImageRep, NSObject) { }
NS_IMPLEMENTATION(NSImage, NSObject) { }

void NSImage::addRepresentation(NSImageRep* representation)
{
    if (representation)
        mRepresentations.emplace_back(representation);
}

Ref<CVPixelBuffer> NSImage::copyPixelBufferForLayer()
{
    for (const auto& representation : mRepresentations)
        if (auto buffer = representation->copyPixelBuffer())
            return buffer;
    return nullptr;
}
