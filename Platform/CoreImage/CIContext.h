#pragma once

#include "Platform/CoreImage/CIImage.h"
#include "Platform/CoreImage/PictureScaler.h"
#include "Platform/OpenGL/CGL.h"

class CIContextDrawing;

inline CFString* const kCIContextCacheIntermediates = CFSTR("kCIContextCacheIntermediates");

/// Renders images, in sRGB: where a picture is made smaller, each pixel is the mean of what lies under it; where it is
/// made larger, it is interpolated between the centres of the pixels around it.
///
/// A context over one of OpenGL renders with that, so with the graphics processor, unless it is the software driver's:
/// the processor then does the same work itself, without the way through textures. Any thread may use a context; one
/// picture is rendered at a time. The fail point "CIContext.rendersWithTheProcessor" makes such a context use OpenGL
/// too.
class CIContext : public NSObject {
    NS_OBJECT(CIContext)
public:
    /// \param space  what the pictures are in; not null
    /// \param options  `kCIContextCacheIntermediates`; nothing is cached in either case
    /// \return null without a context, a format or a space, and at the fail point
    ///         "CIContext.contextWithCGLContext:pixelFormat:colorSpace:options:"
    static Ref<CIContext> contextWithCGLContext_pixelFormat_colorSpace_options(
        CGLContextObj context, CGLPixelFormatObj format, CGColorSpaceRef space, CFDictionary* options);

    explicit CIContext(Ref<CGLContext> context);
    ~CIContext() override;

    /// Renders the part \p bounds of the image's plane into the bottom left corner of the surface. What of it the image
    /// does not cover becomes transparent. When the graphics processor fails the surface keeps what it had and a line
    /// is logged; the fail point "CIContext.render" stands for that.
    /// \param surface  BGRA
    void render_toIOSurface_bounds_colorSpace(
        CIImage* image, IOSurfaceRef surface, const CGRect& bounds, CGColorSpaceRef space);

    /// A picture of the image's extent, BGRA, rows from the top: the image's own buffer where there is nothing to do,
    /// else a new one. \return null for an empty image and when no buffer can be had
    static Ref<CVPixelBuffer> createPixelBuffer(const CIImage& image);
    /// Whether \p transform leaves the pixels of an image as they are, but for the order of the rows.
    static bool keepsPixels(const CGAffineTransform& transform);

private:
    bool usesOpenGL(const CVPixelBuffer& buffer, PictureScaler::Span across, PictureScaler::Span down) const;
    bool renderWithOpenGL(const CVPixelBuffer& buffer, const PictureScaler::Target& target, PictureScaler::Span across,
        PictureScaler::Span down);

    const Ref<CGLContext> mContext;
    std::mutex mLock;
    PictureScaler mScaler;
    std::unique_ptr<CIContextDrawing> mDrawing; ///< made by the first render with OpenGL
    unsigned mGeneration = 0; ///< of the context when that was made
};
