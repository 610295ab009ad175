#pragma once

#include <cstddef>

/// The text behind the last "/" of \p path, the whole path if it has none, null for null.
const char* __CFConstStaticJustFileNameUTF8(const char* path);

/// The same for a literal: walks back from `path + size` and stops behind the last "/".
///
/// \param size  the size of the literal with its terminator, at least 1
constexpr const char* __CFConstStaticJustFileNameASCII(const char* path, std::size_t size)
{
    if (!path)
        return nullptr;
    const char* end = path + size;
    while (end > path && end[-1] != '/')
        --end;
    return end;
}

namespace requiredCpp {

/// Folds the base name of a check's file when the check is compiled.
consteval const char* baseName(const char* path, std::size_t size)
{
    return __CFConstStaticJustFileNameASCII(path, size);
}

}
