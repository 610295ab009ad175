#pragma once

#include <cstdint>

/// Counts what the calling thread takes from the heap through `operator new`. A program that links this has its global
/// operators replaced.
namespace AllocationCounter {

/// How often this thread has allocated so far.
std::uint64_t count() noexcept;

}
