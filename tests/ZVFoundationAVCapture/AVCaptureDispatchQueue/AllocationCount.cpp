#include "tests/ZVFoundationAVCapture/AVCaptureDispatchQueue/AllocationCount.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t count = 0;

}

std::size_t allocationCount() noexcept
{
    return count;
}

// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
void* operator new(std::size_t size)
{
    ++count;
    if (void* const memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
