#include "Platform/AppKit/NSOpenGLSurface.h"

#include <algorithm>
#include <cmath>

namespace {

GLsizei pixels(CGFloat length)
{
    constexpr CGFloat longest = 16384;
    return static_cast<GLsizei>(std::clamp(std::round(length), 0.0, longest));
}

GLRenderbuffer storage(GLenum format, int samples, GLsizei width, GLsizei height)
{
    auto result = GLRenderbuffer::create();
    glBindRenderbuffer(GL_RENDERBUFFER, result.get());
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, format, width, height);
    return result;
}

}

bool NSOpenGLSurface::bind(CGLContext& context, CGSize size)
{
    forgetIfLost(context);
    const auto width = pixels(size.width);
    const auto height = pixels(size.height);
    if (width == 0 || height == 0)
        return false;
    if (mDrawn.get() && width == mWidth && height == mHeight) {
        glBindFramebuffer(GL_FRAMEBUFFER, mDrawn.get());
        return true;
    }
    mWidth = width;
    mHeight = height;
    mGeneration = context.generation();
    if (!make(context.pixelFormat()->properties())) {
        mDrawn = GLFramebuffer();
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        return false;
    }
    glBindFramebuffer(GL_FRAMEBUFFER, mDrawn.get());
    glViewport(0, 0, mWidth, mHeight);
    glPushAttrib(GL_SCISSOR_BIT | GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDepthMask(GL_TRUE);
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glPopAttrib();
    return true;
}

bool NSOpenGLSurface::make(const CGLPixelFormat::Properties& properties)
{
    GLRenderbuffer noDepth;
    mResolved = GLFramebuffer();
    return makeFramebuffer(mDrawn, mColor, mDepth, properties.samples, properties)
        && (properties.samples == 0 || makeFramebuffer(mResolved, mResolvedColor, noDepth, 0, {}));
}

bool NSOpenGLSurface::makeFramebuffer(GLFramebuffer& framebuffer, GLRenderbuffer& color, GLRenderbuffer& depth,
    int samples, const CGLPixelFormat::Properties& properties) const
{
    framebuffer = GLFramebuffer::create();
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer.get());
    color = storage(GL_RGBA8, samples, mWidth, mHeight);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color.get());
    depth = GLRenderbuffer();
    if (properties.depthSize > 0) {
        constexpr int mostOfTheSmaller = 16;
        depth = storage(properties.depthSize <= mostOfTheSmaller ? GL_DEPTH_COMPONENT16 : GL_DEPTH_COMPONENT24, samples,
            mWidth, mHeight);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depth.get());
    }
    return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

Ref<CVPixelBuffer> NSOpenGLSurface::copyPicture()
{
    auto buffer
        = mDrawn.get() ? mBuffers.next(static_cast<std::size_t>(mWidth), static_cast<std::size_t>(mHeight)) : nullptr;
    if (!buffer)
        return nullptr;
    while (glGetError() != GL_NO_ERROR) { }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, mDrawn.get());
    if (mResolved.get()) {
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, mResolved.get());
        glPushAttrib(GL_SCISSOR_BIT);
        glDisable(GL_SCISSOR_TEST);
        glBlitFramebuffer(0, 0, mWidth, mHeight, 0, 0, mWidth, mHeight, GL_COLOR_BUFFER_BIT, GL_NEAREST);
        glPopAttrib();
        glBindFramebuffer(GL_READ_FRAMEBUFFER, mResolved.get());
    }
    glPixelStorei(GL_PACK_ROW_LENGTH, static_cast<GLint>(buffer->bytesPerRow() / 4));
    glReadPixels(0, 0, mWidth, mHeight, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, buffer->baseAddress());
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, mDrawn.get());
    if (glGetError() != GL_NO_ERROR)
        return nullptr;
    // OpenGL counts rows from the bottom.
    auto* top = buffer->baseAddress();
    auto* bottom = top + (buffer->height() - 1) * buffer->bytesPerRow();
    for (; top < bottom; top += buffer->bytesPerRow(), bottom -= buffer->bytesPerRow())
        std::swap_ranges(top, top + buffer->width() * 4, bottom);
    return buffer;
}

bool NSOpenGLSurface::forgetIfLost(const CGLContext& context)
{
    if (!mDrawn.get() || mGeneration == context.generation())
        return false;
    forget();
    return true;
}

void NSOpenGLSurface::forget()
{
    mDrawn.forget();
    mColor.forget();
    mDepth.forget();
    mResolved.forget();
    mResolvedColor.forget();
}
