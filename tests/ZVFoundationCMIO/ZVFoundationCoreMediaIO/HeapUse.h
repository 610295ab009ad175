#pragma once

#include <cstdint>

/// How often the calling thread has asked for memory so far, in C or in C++. A program that links this has the C
/// library's functions for that replaced, so it is none for a sanitizer.
std::uint64_t heapUse() noexcept;
