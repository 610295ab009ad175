#pragma once

#include <span>
#include <string_view>

namespace CoreLattice {

/// The text of one composition that was compiled into the program.
struct CompiledComposition {
    std::string_view name; ///< of its file, without the extension
    std::string_view fragment;
    std::string_view vertex; ///< empty for the usual one
};

std::span<const CompiledComposition> compiledCompositions();

}
