#pragma once

#include "Platform/OpenGL/PictureTexture.h"

#include <QQuickWindow>
#include <QSGTexture>

#include <memory>

/// The picture of a layer as a renderer with a graphics processor takes it: under desktop OpenGL a copy there, for
/// which the pixels are read once, under other interfaces what the toolkit makes of the pixels. Of the thread that
/// draws, where the window's context is current.
class LayerTexture {
public:
    /// \param opaque  whether the alpha bytes have no meaning
    /// \return owned by this object and valid until the next call, which may give the same with other pixels
    QSGTexture* show(Ref<CVPixelBuffer> buffer, bool opaque, QQuickWindow& window);
    /// Whether the picture must be made smaller before it can be shown.
    static bool isTooLarge(const CVPixelBuffer& buffer, const QQuickWindow& window);

private:
    QSGTexture* upload(const CVPixelBuffer& buffer, bool opaque, QQuickWindow& window);

    PictureTexture mUploaded; ///< empty under other interfaces
    bool mOpaque = false;
    std::unique_ptr<QSGTexture> mTexture;
};
