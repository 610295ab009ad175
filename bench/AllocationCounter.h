#pragma once

#include <cstdint>

/// Counts what the calling thread takes from the heap through `operator new`. A program that links this has its global
/// operators replaced.
namespace AllocationCounter {

/// How often this thread has allocated so far.
std::uint64_t count() noexcept;
/// How many of them were of 64 KiB or more: memory for pictures and the like.
std::uint64_t largeCount() noexcept;

}
