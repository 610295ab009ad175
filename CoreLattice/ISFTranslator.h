#pragma once

#include "CoreLattice/ISFDocument.h"

namespace CoreLattice {

/// The two shaders of a composition, ready for the driver.
struct TranslatedShaders {
    std::string vertex;
    std::string fragment;
    /// Whether they may leave pixels of the picture as they are.
    bool leavesPixels = false;
    /// Whether the picture of a pass without a target comes out opaque.
    bool isOpaque = false;
};

/// Most turns that all the counted loops of one pixel, or of one corner, may take together: `mostLoopTurns` where no
/// others are, down to `fewestLoopTurns` where each turn may hold many uncounted ones.
inline constexpr int mostLoopTurns = 16384;
inline constexpr int fewestLoopTurns = 4096;

/// Turns a composition's shaders into OpenGL's language (version 3.30, compatibility profile): declares the inputs and
/// the format's own values and functions, gives each loop a budget, and keeps the lines' numbers.
///
/// Every picture, texture or target, is kept with its rows from the top, as pixel buffers have them, while the format
/// counts from the bottom. So the places where the shader says or asks "where" are turned over: the functions that read
/// pictures, the corners' positions and `gl_FragCoord`.
///
/// \param pass  the number of the pass that the shaders are for, a constant in them
/// \return nothing, with the reason in \p error, when the source cannot be bounded
std::optional<TranslatedShaders> translateShaders(
    const ISFDocument& document, std::size_t pass, CompositionError* error);

/// The vertex shader's file beside that of a composition: the one that is there with the extension "vs" or "vert",
/// otherwise with the former.
std::string vertexFileOf(const std::string& file);

/// Takes the first error out of a driver's log: the line of the file and the driver's words.
CompositionError errorFromDriverLog(std::string_view log, std::string file);

}
