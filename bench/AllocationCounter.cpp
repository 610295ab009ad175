#include "bench/AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {

constinit thread_local std::uint64_t allocations = 0;

void* counted(void* memory)
{
    ++allocations;
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

}

std::uint64_t AllocationCounter::count() noexcept
{
    return allocations;
}

// These are the program's memory, so they manage it by hand.
// NOLINTBEGIN(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory)

// The forms for arrays, and those that do not throw, come through these.

void* operator new(std::size_t size)
{
    return counted(std::malloc(size ? size : 1));
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    const auto unit = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(unit, (size + unit - 1) / unit * unit));
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept
{
    std::free(memory);
}

// NOLINTEND(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory)
