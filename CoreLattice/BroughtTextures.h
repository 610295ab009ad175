#pragma once

#include "CoreLattice/ISFDocument.h"
#include "Platform/OpenGL/GLNames.h"
#include "Platform/OpenGL/PictureTexture.h"

#include <span>

namespace CoreLattice {

/// A texture of one row with the picture of a sound. While its context is current.
class SoundTexture {
public:
    void upload(std::span<const float> row);
    GLuint texture() const noexcept { return mTexture.get(); }
    void forget() noexcept { mTexture.forget(); }

private:
    GLTexture mTexture;
};

/// The pictures that a composition brings in files, as textures. While its context is current.
class ImportedTextures {
public:
    /// Reads the files. One that cannot be read is black, and the reason is logged.
    explicit ImportedTextures(const ISFDocument& document);

    /// What all of them take once they are read.
    static double bytes(const ISFDocument& document);

    /// The flat picture at \p index of the document's list; without a texture when there is none.
    const PictureTexture& picture(std::size_t index) const { return mPictures[index]; }
    /// The cube there, 0 when it is none.
    GLuint cube(std::size_t index) const { return mCubes[index].get(); }
    void forget() noexcept;

private:
    static GLTexture cubeOf(const ISFDocument& document, const ISFImport& import);

    std::vector<PictureTexture> mPictures;
    std::vector<GLTexture> mCubes;
};

}
