#pragma once

#include <cstddef>

/// Gives the host back what the software driver's compiler keeps resident of itself: some fifty megabytes of code that
/// are only used while shaders are compiled, and come back from the library's file when they are needed again.
///
/// Any thread may call it at any time, also while another compiles. Does nothing where no such compiler is loaded.
///
/// \return how many bytes of the address space were given back, resident or not
std::size_t GLReleaseCompilerMemory();
