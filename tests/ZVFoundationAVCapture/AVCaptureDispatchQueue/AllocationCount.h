#pragma once

#include <cstddef>

/// How often the calling thread has asked for memory with `new` so far. The program's own `new` counts it.
std::size_t allocationCount() noexcept;
