#pragma once

#include "Platform/CoreGraphics/CGGeometry.h"
#include "Platform/CoreGraphics/CGImage.h"
#include "Platform/Foundation/NSObject.h"
#include "Platform/QuartzCore/CALayer.h"

/// One form of an image. Subclasses know how to become pixels.
class NSImageRep : public NSObject {
    NS_OBJECT(NSImageRep)
public:
    /// Upright pixels, rows from the top, BGRA with premultiplied alpha; null when there are none.
    virtual Ref<CVPixelBuffer> copyPixelBuffer() { return nullptr; }
    /// The same without a copy of the pixels where the form can do without.
    virtual CALayerPicture copyPicture() { return { copyPixelBuffer() }; }
};

/// An image as one or more forms of it. Needs no display. Any thread, one at a time.
class NSImage : public NSObject, public CALayerContents {
    NS_OBJECT(NSImage)
public:
    NSImage() = default;
    /// \param size  in points
    explicit NSImage(NSSize size)
        : mSize(size)
    {
    }
    /// The picture "<name>.png" that is compiled into the program, decoded when first asked for and kept until the
    /// process ends; null when there is none. Raises an `NSException` at the fail point "NSImage.imageNamed:".
    static NSImage* imageNamed(CFString* name);

    NSSize size() const { return mSize; }
    void addRepresentation(NSImageRep* representation);
    const std::vector<Ref<NSImageRep>>& representations() const { return mRepresentations; }
    /// The image as pixels, in the size that it has; kept by the innermost pool. Null when no form has any.
    /// \param proposedRect, context, hints  not looked at
    CGImageRef CGImageForProposedRect_context_hints(CGRect* proposedRect, NSObject* context, CFDictionary* hints);
    /// The pixels of the first form that has any.
    Ref<CVPixelBuffer> copyPixelBufferForLayer() override;
    CALayerPicture copyPictureForLayer() override;

private:
    NSSize mSize;
    std::vector<Ref<NSImageRep>> mRepresentations;
};
