#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <string>

namespace CoreLattice {

/// How many bytes `importedPicture` would give for the file, as its beginning says; 0 where that says nothing. Any
/// thread may call it.
std::size_t importedPictureBytes(const std::string& compositionFile, const std::string& path);

/// Reads a picture file that a composition brings with it. Any thread may call it.
///
/// \param compositionFile  the path of the composition
/// \param path  from the composition's file; only what lies in its folder or below is read
/// \param error  gets the reason when there is no picture
/// \return BGRA, alpha not multiplied in, rows from the top; null for a file that is no picture, larger than 32 MiB, or
///     with a side above 8192 pixels
Ref<CVPixelBuffer> importedPicture(const std::string& compositionFile, const std::string& path, std::string* error);

}
