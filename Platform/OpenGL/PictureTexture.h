#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"
#include "Platform/OpenGL/GLNames.h"

#include <cstddef>

/// A texture with its size, optionally with a framebuffer to render into it. Rows from the top. While its context is
/// current.
class PictureTexture {
public:
    std::size_t width() const noexcept { return mWidth; }
    std::size_t height() const noexcept { return mHeight; }
    GLuint texture() const noexcept { return mTexture.get(); }
    GLuint framebuffer() const noexcept { return mFramebuffer.get(); }

    /// Copies the buffer's pixels (BGRA) into the texture, which takes their size.
    void upload(const CVPixelBuffer& buffer);
    /// Gives the texture a size and a framebuffer, and makes it transparent black if anything changed.
    /// \return false when the driver cannot render into such a texture
    bool makeTarget(std::size_t width, std::size_t height, bool floatingPoint);

    /// The context was lost and everything with it.
    void forget() noexcept
    {
        mTexture.forget();
        mFramebuffer.forget();
    }

private:
    void allocate(std::size_t width, std::size_t height, bool floatingPoint);

    GLTexture mTexture;
    GLFramebuffer mFramebuffer;
    std::size_t mWidth = 0;
    std::size_t mHeight = 0;
    bool mFloatingPoint = false;
};
