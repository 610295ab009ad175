#pragma once

#include "Platform/CoreImage/PictureScaler.h"
#include "Platform/OpenGL/CGL.h"
#include "Platform/OpenGL/PictureTexture.h"

/// What an image context does with OpenGL: a picture goes into a texture, is scaled by a program into another, and that
/// is read back. Everything while the context is current.
class CIContextDrawing {
public:
    /// The same as `PictureScaler::scale`, for BGRA pictures.
    /// \return false when the driver cannot; the target is then as it was
    bool scale(const CVPixelBuffer& source, const PictureScaler::Target& target, PictureScaler::Span across,
        PictureScaler::Span down);

    /// Gives up all names without telling the driver, which no longer knows them.
    void forget();

private:
    bool makeProgram();

    GLProgram mProgram;
    PictureTexture mSource;
    PictureTexture mTarget;
};
