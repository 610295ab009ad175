#pragma once

#include <cstdint>
#include <vector>

/// The same sample of H.264, a byte stream, with nothing said of its colours; empty if it cannot be taken apart.
std::vector<std::uint8_t> withNothingTold(const std::vector<std::uint8_t>& sample);
