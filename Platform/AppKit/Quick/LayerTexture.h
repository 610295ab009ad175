#pragma once

#include "Platform/OpenGL/PictureTexture.h"

#include <QQuickWindow>
#include <QSGTexture>

#include <memory>

/// The picture of a layer as the scene's renderer takes it: under the software renderer the pixels themselves, under
/// OpenGL a copy on the graphics processor, for which the pixels are read once. Of the thread that draws, where the
/// window's context is current.
class LayerTexture {
public:
    /// \param opaque  whether the alpha bytes have no meaning
    /// \return owned by this object and valid until the next call, which may give the same with other pixels
    QSGTexture* show(Ref<CVPixelBuffer> buffer, bool opaque, QQuickWindow& window);
    /// Whether the picture must be made smaller before it can be shown.
    static bool isTooLarge(const CVPixelBuffer& buffer, const QQuickWindow& window);

private:
    QSGTexture* upload(const CVPixelBuffer& buffer, bool opaque, QQuickWindow& window);

    PictureTexture mUploaded; ///< empty under the software renderer
    bool mOpaque = false;
    std::unique_ptr<QSGTexture> mTexture;
};
