#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The numbers of the test pictures in a movie, in order; what has none is left out.
/// \throws std::runtime_error when the movie cannot be read
std::vector<std::uint32_t> numbersInMovie(const std::string& path);
