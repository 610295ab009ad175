#include "tests/ZVFoundationCMIO/ZVFoundationCoreMediaIO/HeapUse.h"

#include <cerrno>
#include <cstddef>

namespace {

constinit thread_local std::uint64_t requests = 0;

}

std::uint64_t heapUse() noexcept
{
    return requests;
}

// NOLINTBEGIN(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory)

extern "C" {

// What the C library calls its own.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

// C++'s operators come through these.

void* malloc(std::size_t size)
{
    ++requests;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    ++requests;
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size)
{
    ++requests;
    return __libc_realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    ++requests;
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size)
{
    ++requests;
    *memory = __libc_memalign(alignment, size);
    return *memory ? 0 : ENOMEM;
}
}

// NOLINTEND(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory)
