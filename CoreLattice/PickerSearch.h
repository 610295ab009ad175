#pragma once

#include "CoreLattice/LTCCompositionPickerTile.h"

namespace CoreLattice {

/// What the tiles' compositions count themselves among, each once, in the order of the alphabet.
Ref<CFArray> categoriesOf(const std::vector<Ref<LTCCompositionPickerTile>>& tiles);

/// Whether a picker shows the tile when it is narrowed down.
///
/// \param category  the one that the tile must be of, whatever its capitals; empty for any
/// \param words  each must occur in the tile's name or one of its categories, whatever their capitals; for a file that
///     cannot be used also in the reason. Separated by white space.
bool matches(const LTCCompositionPickerTile& tile, CFString* category, CFString* words);

}
