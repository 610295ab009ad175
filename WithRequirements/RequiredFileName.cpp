#include "WithRequirements/RequiredFileName.h"

#include <cstring>

const char* __CFConstStaticJustFileNameUTF8(const char* path)
{
    if (!path)
        return nullptr;
    const char* const slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}
