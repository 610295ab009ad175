#pragma once

#include "Platform/Foundation/NSError.h"

#include <filesystem>

/// Moves a file to the desktop's trash, from where the user can have it back: the one of the user's home, or the one of
/// the file's own volume. The layout is freedesktop.org's, version 1.0.
///
/// \return null when it is there, else why not; the file is then where it was
Ref<NSError> moveToTrash(const std::filesystem::path& file);
