#include "bench/AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {

constinit thread_local std::uint64_t allocations = 0;
constinit thread_local std::uint64_t largeAllocations = 0;
constexpr std::size_t large = 65536;

void* counted(void* memory, std::size_t size)
{
    ++allocations;
    largeAllocations += size >= large;
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

}

std::uint64_t AllocationCounter::count() noexcept
{
    return allocations;
}

std::uint64_t AllocationCounter::largeCount() noexcept
{
    return largeAllocations;
}

// These are the program's memory, so they manage it by hand.
// NOLINTBEGIN(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory)

// The forms for arrays, and those that do not throw, come through these.

void* operator new(std::size_t size)
{
    return counted(std::malloc(size ? size : 1), size);
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    const auto unit = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(unit, (size + unit - 1) / unit * unit), size);
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
