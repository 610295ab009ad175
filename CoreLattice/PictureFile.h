#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <string>

class QImage;

namespace CoreLattice {

/// The image's pixels as a buffer: BGRA, alpha not multiplied in, rows from the top; null for a null image and when
/// there is no memory. Any thread.
Ref<CVPixelBuffer> pixelBufferOf(const QImage& image);

/// The longest side of a picture that somebody chose; a larger one is made smaller while it is read.
inline constexpr int longestChosenSide = 2560;

/// Reads a picture file that somebody chose for a composition: upright as the camera held it, in the colours of sRGB.
/// Any thread; it may take seconds.
///
/// \param error  gets the reason, in the user's language, when there is no picture
/// \return as `pixelBufferOf` gives it; null for what is no file, no picture that the readers know, or broken
Ref<CVPixelBuffer> readChosenPicture(const std::string& path, std::string* error);

/// A small copy to be shown: BGRA, alpha multiplied in, within the given size. Null when there is no memory. Any
/// thread.
Ref<CVPixelBuffer> thumbnailOf(const CVPixelBuffer& picture, int width, int height);

/// Another buffer with the same pixels, for a picture that is to stay while the buffer goes round. Null when there is
/// no memory. Any thread.
Ref<CVPixelBuffer> copyOf(const CVPixelBuffer& picture);

}
