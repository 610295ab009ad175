#pragma once

#include "Platform/CoreGraphics/CGGeometry.h"
#include "Platform/CoreVideo/PictureBuffers.h"
#include "Platform/OpenGL/CGL.h"
#include "Platform/OpenGL/GLNames.h"

/// What a context draws into for a view: colour and, if the pixel format has it, depth, with the format's samples.
/// Everything while the context is current.
class NSOpenGLSurface {
public:
    /// Binds the surface for drawing. It is made anew, transparent and with the viewport that covers it, when it has
    /// not this size or was lost. \return false for no extent and when the driver cannot; nothing is bound then
    bool bind(CGLContext& context, CGSize size);
    /// A picture of what was drawn, rows from the top, in a buffer from a pool.
    /// \return null without a surface, without memory, and when the driver fails
    Ref<CVPixelBuffer> copyPicture();
    /// Gives up the names if the context was lost since they were made, and tells whether it was.
    bool forgetIfLost(const CGLContext& context);
    /// Gives up all names without telling the driver.
    void forget();

private:
    bool make(const CGLPixelFormat::Properties& properties);
    bool makeFramebuffer(GLFramebuffer& framebuffer, GLRenderbuffer& color, GLRenderbuffer& depth, int samples,
        const CGLPixelFormat::Properties& properties) const;

    GLFramebuffer mDrawn;
    GLRenderbuffer mColor;
    GLRenderbuffer mDepth;
    GLFramebuffer mResolved; ///< where the samples are put together; only with samples
    GLRenderbuffer mResolvedColor;
    GLsizei mWidth = 0;
    GLsizei mHeight = 0;
    unsigned mGeneration = 0; ///< of the context when the surface was made
    PictureBuffers mBuffers;
};
