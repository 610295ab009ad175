#include "Platform/AppKit/Quick/LayerTexture.h"

#include "Platform/AppKit/Quick/LayerItem.h"
#include "Platform/CoreFoundation/FailPoint.h"

#include <cstring>

namespace {

/// Whether the window draws with desktop OpenGL, whose drivers take our bytes as they are.
bool drawsWithOpenGL(const QQuickWindow& window)
{
    if (window.rendererInterface()->graphicsApi() != QSGRendererInterface::OpenGL)
        return false;
    const auto* const version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    return version && !std::strstr(version, "OpenGL ES");
}

}

bool LayerTexture::isTooLarge(const CVPixelBuffer& buffer, const QQuickWindow& window)
{
    if (window.rendererInterface()->graphicsApi() != QSGRendererInterface::OpenGL)
        return false;
    GLint longest = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &longest);
    const auto limit = static_cast<std::size_t>(longest);
    return longest > 0 && (buffer.width() > limit || buffer.height() > limit);
}

QSGTexture* LayerTexture::show(Ref<CVPixelBuffer> buffer, bool opaque, QQuickWindow& window)
{
    if (drawsWithOpenGL(window))
        return upload(*buffer, opaque, window);
    mTexture.reset(window.createTextureFromImage(imageOver(std::move(buffer), opaque),
        opaque ? QQuickWindow::TextureIsOpaque : QQuickWindow::TextureHasAlphaChannel));
    return mTexture.get();
}

QSGTexture* LayerTexture::upload(const CVPixelBuffer& buffer, bool opaque, QQuickWindow& window)
{
    (void)FAIL_POINT("LayerTexture.upload"); // counts
    const auto before = mUploaded.texture();
    mUploaded.upload(buffer);
    glBindTexture(GL_TEXTURE_2D, 0);
    if (!mTexture || before != mUploaded.texture() || opaque != mOpaque)
        mTexture.reset(QNativeInterface::QSGOpenGLTexture::fromNative(mUploaded.texture(), &window,
            { static_cast<int>(buffer.width()), static_cast<int>(buffer.height()) },
            opaque ? QQuickWindow::TextureIsOpaque : QQuickWindow::TextureHasAlphaChannel));
    mOpaque = opaque;
    return mTexture.get();
}
