#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CoreLattice {

/// One piece of a shader's text.
struct ShaderToken {
    enum class Kind { Space, Name, Number, Other };
    Kind kind;
    std::string text;
    int line; ///< from 1
    bool inDirective; ///< on a line that begins with "#"
};

/// Cuts a shader's text into pieces. Comments are blanked and lines that end in a backslash joined; every line end is a
/// piece of its own and stays, so that lines keep their numbers. Characters outside ASCII become blanks.
std::vector<ShaderToken> shaderTokens(std::string_view source);

/// The first piece from \p index on that is neither blank nor a line end; the number of pieces when there is none.
std::size_t significantToken(const std::vector<ShaderToken>& tokens, std::size_t index);
/// The last such piece before \p index; the number of pieces when there is none.
std::size_t significantTokenBefore(const std::vector<ShaderToken>& tokens, std::size_t index);

}
