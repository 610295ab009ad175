#pragma once

#include "Platform/CoreGraphics/CGGeometry.h"
#include "Platform/Foundation/NSObject.h"
#include "Platform/QuartzCore/CALayer.h"

/// One form of an image. Subclasses know how to become pixels.
class NSImageRep : public NSObject {
    NS_OBJECT(NSImageRep)
public:
    /// Upright pixels, rows from the top, BGRA with premultiplied alpha; null when there are none.
    virtual Ref<CVPixelBuffer> copyPixelBuffer() { return nullptr; }
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
    NSSize size() const { return mSize; }
    void addRepresentation(NSImageRep* representation);
    const std::vector<Ref<NSImageRep>>& representations() const { return mRepresentations; }
    /// The pixels of the first form that has any.
    Ref<CVPixelBuffer> copyPixelBufferForLayer() override;

private:
    NSSize mSize;
    std::vector<Ref<NSImageRep>> mRepresentations;
};
