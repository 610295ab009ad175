#include "CoreLattice/BroughtTextures.h"

#include "CoreLattice/ImportedPicture.h"
#include "Platform/Foundation/NSLog.h"

namespace CoreLattice {

namespace {

Ref<CVPixelBuffer> readOrLog(const ISFDocument& document, const std::string& path)
{
    std::string error;
    auto picture = importedPicture(document.file, path, &error);
    if (!picture)
        NSLog(CFSTR("A composition's picture is black: %s: %s"), document.file.c_str(), error.c_str());
    return picture;
}

void setFilters(GLenum target)
{
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
}

}

void SoundTexture::upload(std::span<const float> row)
{
    const bool isNew = mTexture.get() == 0;
    if (isNew)
        mTexture = GLTexture::create();
    glBindTexture(GL_TEXTURE_2D, mTexture.get());
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_R32F, static_cast<GLsizei>(row.size()), 1, 0, GL_RED, GL_FLOAT, row.data());
    if (!isNew)
        return;
    setFilters(GL_TEXTURE_2D);
    // Grey, whichever part a shader looks at.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_G, GL_RED);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_B, GL_RED);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_A, GL_ONE);
}

ImportedTextures::ImportedTextures(const ISFDocument& document)
    : mPictures(document.imports.size())
    , mCubes(document.imports.size())
{
    for (std::size_t i = 0; i < document.imports.size(); ++i) {
        const auto& import = document.imports[i];
        if (import.isCube)
            mCubes[i] = cubeOf(document, import);
        else if (const auto picture = readOrLog(document, import.paths.front()))
            mPictures[i].upload(*picture);
    }
}

double ImportedTextures::bytes(const ISFDocument& document)
{
    double result = 0;
    for (const auto& import : document.imports) {
        for (const auto& path : import.paths)
            result += static_cast<double>(importedPictureBytes(document.file, path));
    }
    return result;
}

/// The six pictures: right, left, above, below, ahead, behind.
GLTexture ImportedTextures::cubeOf(const ISFDocument& document, const ISFImport& import)
{
    auto texture = GLTexture::create();
    glBindTexture(GL_TEXTURE_CUBE_MAP, texture.get());
    setFilters(GL_TEXTURE_CUBE_MAP);
    std::vector<Ref<CVPixelBuffer>> sides;
    for (const auto& path : import.paths)
        sides.push_back(readOrLog(document, path));
    for (std::size_t i = 0; i < sides.size(); ++i) {
        const auto& side = sides[i];
        const auto target = static_cast<GLenum>(GL_TEXTURE_CUBE_MAP_POSITIVE_X + i);
        // A cube has six squares of one size, or it is black.
        const bool fits = side && sides[0] && side->width() == side->height() && side->width() == sides[0]->width();
        static constexpr std::uint32_t black = 0;
        const auto size = sides[0] ? static_cast<GLsizei>(sides[0]->width()) : 1;
        glPixelStorei(GL_UNPACK_ROW_LENGTH, fits ? static_cast<GLint>(side->bytesPerRow() / 4) : 0);
        if (fits)
            glTexImage2D(target, 0, GL_RGBA, size, size, 0, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, side->baseAddress());
        else
            glTexImage2D(target, 0, GL_RGBA, 1, 1, 0, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, &black);
    }
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    return texture;
}

void ImportedTextures::forget() noexcept
{
    for (auto& picture : mPictures)
        picture.forget();
    for (auto& cube : mCubes)
        cube.forget();
}

}
