#include "Platform/OpenGL/GLCompilerMemory.h"

#include <cstdint>
#include <link.h>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace {

/// Gives back the parts of the library that nobody can have written to, so that the file still holds them.
std::size_t releaseUnchangedParts(const dl_phdr_info& library)
{
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    std::size_t released = 0;
    for (int index = 0; index < library.dlpi_phnum; ++index) {
        const auto& part = library.dlpi_phdr[index];
        if (part.p_type != PT_LOAD || (part.p_flags & PF_W))
            continue;
        const auto begin = (library.dlpi_addr + part.p_vaddr) & ~(page - 1);
        const auto end = (library.dlpi_addr + part.p_vaddr + part.p_filesz) & ~(page - 1);
        if (end > begin && ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED) == 0)
            released += end - begin;
    }
    return released;
}

int visit(dl_phdr_info* library, std::size_t /*size*/, void* sum)
{
    if (std::string_view(library->dlpi_name).find("libLLVM") != std::string_view::npos)
        *static_cast<std::size_t*>(sum) += releaseUnchangedParts(*library);
    return 0;
}

}

std::size_t GLReleaseCompilerMemory()
{
    std::size_t released = 0;
    ::dl_iterate_phdr(visit, &released);
    return released;
}
