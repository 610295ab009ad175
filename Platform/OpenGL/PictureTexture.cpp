#include "Platform/OpenGL/PictureTexture.h"

namespace {

GLsizei size(std::size_t pixels)
{
    return static_cast<GLsizei>(pixels);
}

}

void PictureTexture::allocate(std::size_t width, std::size_t height, bool floatingPoint)
{
    mTexture = GLTexture::create();
    glBindTexture(GL_TEXTURE_2D, mTexture.get());
    // With an unsized format and the type of the later transfers the driver keeps the bytes in the order in which they
    // come and go; with a sized one it may keep another and convert every pixel of every frame.
    if (floatingPoint)
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, size(width), size(height), 0, GL_RGBA, GL_FLOAT, nullptr);
    else
        glTexImage2D(
            GL_TEXTURE_2D, 0, GL_RGBA, size(width), size(height), 0, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, nullptr);
    // It has no smaller versions of itself, without which it would count as incomplete.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    mWidth = width;
    mHeight = height;
    mFloatingPoint = floatingPoint;
}

void PictureTexture::upload(const CVPixelBuffer& buffer)
{
    if (!mTexture.get() || mWidth != buffer.width() || mHeight != buffer.height())
        allocate(buffer.width(), buffer.height(), false);
    glBindTexture(GL_TEXTURE_2D, mTexture.get());
    glPixelStorei(GL_UNPACK_ROW_LENGTH, static_cast<GLint>(buffer.bytesPerRow() / 4));
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, size(mWidth), size(mHeight), GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV,
        buffer.baseAddress());
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
}

bool PictureTexture::makeTarget(std::size_t width, std::size_t height, bool floatingPoint)
{
    if (mFramebuffer.get() && mWidth == width && mHeight == height && mFloatingPoint == floatingPoint)
        return true;
    allocate(width, height, floatingPoint);
    mFramebuffer = GLFramebuffer::create();
    glBindFramebuffer(GL_FRAMEBUFFER, mFramebuffer.get());
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, mTexture.get(), 0);
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
        mFramebuffer = GLFramebuffer();
        return false;
    }
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    return true;
}
