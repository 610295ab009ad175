// Run by libFuzzer with what it makes up.

#include "tests/CoreLattice/fuzz/ReadComposition.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    readComposition({ reinterpret_cast<const char*>(data), size });
    return 0;
}
