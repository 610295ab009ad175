#pragma once

#include "Platform/CoreFoundation/CFString.h"
#include "Platform/CoreGraphics/CGColor.h"
#include "Platform/CoreGraphics/CGGeometry.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"
#include "Platform/Foundation/NSObject.h"

#include <mutex>

using CALayerContentsGravity = CFString*;
/// The contents fill the layer, whatever that does to their proportions. A new layer's way.
inline CFString* const kCAGravityResize = CFSTR("resize");
/// The contents are as large as the layer allows with their proportions kept; the background shows beside them.
inline CFString* const kCAGravityResizeAspect = CFSTR("resizeAspect");
/// The contents cover the layer with their proportions kept; what hangs over is cut off.
inline CFString* const kCAGravityResizeAspectFill = CFSTR("resizeAspectFill");

class CALayer;

/// Pixels as the contents of a layer have them, for those who can draw them as they are.
struct CALayerPicture {
    Ref<CVPixelBuffer> buffer; ///< BGRA or format 32, alpha premultiplied; null when there is no picture
    bool isMirrored = false; ///< whether the last row in memory is the top one
};

/// What other kinds of objects offer in order to be the contents of a layer; images do.
class CALayerContents {
public:
    virtual ~CALayerContents() = default;
    /// The picture, upright, rows from the top, BGRA with premultiplied alpha; null when there is none. Main thread.
    virtual Ref<CVPixelBuffer> copyPixelBufferForLayer() = 0;
    /// The same picture, without a copy of its pixels where the object can do without. Main thread.
    virtual CALayerPicture copyPictureForLayer() { return { copyPixelBufferForLayer() }; }
};

/// Who puts a layer on the screen.
class CALayerHost {
public:
    virtual ~CALayerHost() = default;
    /// The layer looks different now. Called on the thread that changed it, with no lock of the layer held.
    virtual void layerNeedsDisplay() = 0;
};

/// A rectangle that shows a picture: a pixel buffer, a surface or an image. Buffers and surfaces are not copied.
///
/// The picture is kept until the next one replaces it, and by the screen until that one is drawn. All operations may be
/// called from any thread; changes made inside a `CATransaction` show together at its end.
class CALayer : public NSObject {
    NS_OBJECT(CALayer)
public:
    CALayer() = default;
    /// A new layer, kept by the innermost pool.
    static CALayer* layer() { return autorelease(make<CALayer>()); }

    /// What was set last, kept by the innermost pool; null when there is none.
    CFType* contents() const;
    /// \param contents  a `CVPixelBuffer` or `IOSurface` (BGRA, rows from the top), a `CGImage`, an object with
    ///                  `CALayerContents`, or null; anything else shows nothing
    void setContents(CFType* contents);
    CFString* contentsGravity() const;
    void setContentsGravity(CFString* gravity);
    /// Null for no background.
    CGColorRef backgroundColor() const;
    void setBackgroundColor(CGColorRef color);
    bool isOpaque() const;
    void setOpaque(bool opaque);
    bool isHidden() const;
    void setHidden(bool hidden);
    /// Asks for a redraw with the present contents, for instance after their pixels changed in place.
    void setNeedsDisplay();

    /// One of each layer at a time; null takes it away. The host takes itself away before it dies.
    void setHost(CALayerHost* host);
    /// The present contents as pixels; those of a `CGImage` are copied. Main thread.
    Ref<CVPixelBuffer> copyPixelBufferForDisplay() const;
    /// The same with its pixels as they are, where they can be. Main thread.
    CALayerPicture copyPictureForDisplay() const;
    /// Where contents of \p picture size go in a layer of \p layer size, by the layer's gravity.
    CGRect rectangleForContents(CGSize picture, CGSize layer) const;

private:
    friend class CATransaction;
    void changed();
    void tellHost();
    Ref<CFType> copyContents() const;

    mutable std::mutex mLock;
    std::recursive_mutex mHostLock;
    CALayerHost* mHost = nullptr;
    Ref<CFType> mContents;
    Ref<CFString> mContentsGravity = kCAGravityResize;
    Ref<CGColor> mBackgroundColor;
    bool mOpaque = false;
    bool mHidden = false;
};
