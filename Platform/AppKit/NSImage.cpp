#include "Platform/AppKit/NSImage.h"

#include "Platform/AppKit/NSBitmapImageRep.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/ImageIO/CGImageSource.h"

NS_IMPLEMENTATION(NSImageRep, NSObject) { }
NS_IMPLEMENTATION(NSImage, NSObject) { }

NSImage* NSImage::imageNamed(CFString* name)
{
    if (FAIL_POINT("NSImage.imageNamed:"))
        throw NSException(NSInvalidArgumentException, "the picture cannot be read");
    static std::mutex lock;
    static std::map<std::string, Ref<NSImage>, std::less<>> images;
    const std::lock_guard guard(lock);
    const auto known = images.find(textOf(name));
    if (known != images.end())
        return known->second;
    const auto bytes = NSBundle::mainBundle()->resourceNamed(std::string(textOf(name)) + ".png");
    const auto picture = bytes.empty() ? nullptr : CGImageCreateWithPNGData(bytes);
    if (!picture)
        return nullptr;
    auto image
        = make<NSImage>(NSMakeSize(static_cast<CGFloat>(picture->width()), static_cast<CGFloat>(picture->height())));
    image->addRepresentation(make<NSBitmapImageRep>(picture).get());
    return images.emplace(textOf(name), std::move(image)).first->second;
}

CGImageRef NSImage::CGImageForProposedRect_context_hints(
    CGRect* /*proposedRect*/, NSObject* /*context*/, CFDictionary* /*hints*/)
{
    for (const auto& representation : mRepresentations)
        if (const auto* const bitmap = kindOf<NSBitmapImageRep>(representation))
            return bitmap->CGImage();
    return autorelease(CGImageCreateWithPixelBuffer(copyPixelBufferForLayer().get()));
}

void NSImage::addRepresentation(NSImageRep* representation)
{
    if (representation)
        mRepresentations.emplace_back(representation);
}

CALayerPicture NSImage::copyPictureForLayer()
{
    for (const auto& representation : mRepresentations)
        if (auto picture = representation->copyPicture(); picture.buffer)
            return picture;
    return {};
}

Ref<CVPixelBuffer> NSImage::copyPixelBufferForLayer()
{
    for (const auto& representation : mRepresentations)
        if (auto buffer = representation->copyPixelBuffer())
            return buffer;
    return nullptr;
}
