#include "CoreLattice/ShaderNames.h"

#include <algorithm>
#include <array>
#include <set>

namespace CoreLattice {

namespace {

using Kind = ShaderToken::Kind;

constexpr std::string_view wordPrefix = "lattice_word_";

// Names in the versions that filters are written for, reserved in later ones.
constexpr std::array<std::string_view, 28> reservedWords { "active", "asm", "cast", "class", "common", "enum", "extern",
    "external", "filter", "fixed", "goto", "half", "input", "interface", "long", "namespace", "output", "partition",
    "public", "resource", "short", "sizeof", "superp", "template", "this", "typedef", "unsigned", "using" };
// These may also stand before a declaration, where they keep their meaning.
constexpr std::array<std::string_view, 4> qualifiers { "smooth", "flat", "noperspective", "centroid" };

// What is read from a picture.
constexpr std::array<std::string_view, 15> readers { "texture2D", "texture2DLod", "texture2DLodEXT", "texture2DProj",
    "texture2DRect", "texture2DGradEXT", "texture2DGradARB", "texture", "textureLod", "textureLodOffset", "textureProj",
    "textureGrad", "textureOffset", "texelFetch", "texelFetchOffset" };

struct Renamed {
    std::string_view from;
    std::string_view to;
};
constexpr std::array renamed { Renamed { "main", "lattice_main" }, Renamed { "gl_FragCoord", "lattice_fragCoord()" },
    Renamed { "vv_FragNormCoord", "isf_FragNormCoord" }, Renamed { "vv_vertShaderInit", "isf_vertShaderInit" },
    Renamed { "IMG_NORM_THIS_PIXEL", "IMG_THIS_NORM_PIXEL" }, Renamed { "sampler2DRect", "sampler2D" },
    Renamed { "gl_Vertex", "lattice_corner()" }, Renamed { "ftransform", "lattice_corner" } };

template <class List> bool isIn(const List& list, std::string_view text)
{
    return std::ranges::find(list, text) != std::ranges::end(list);
}

/// The names before a parenthesis, behind a type and outside of everything: functions that the shader defines.
std::set<std::string, std::less<>> definedFunctions(const std::vector<ShaderToken>& tokens)
{
    std::set<std::string, std::less<>> result;
    int depth = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (tokens[i].inDirective)
            continue;
        const auto& text = tokens[i].text;
        depth += text == "{" || text == "(" ? 1 : text == "}" || text == ")" ? -1 : 0;
        if (depth != 0 || tokens[i].kind != Kind::Name)
            continue;
        const auto before = significantTokenBefore(tokens, i);
        const auto after = significantToken(tokens, i + 1);
        if (before < tokens.size() && !tokens[before].inDirective && tokens[before].kind == Kind::Name
            && after < tokens.size() && tokens[after].text == "(")
            result.insert(text);
    }
    return result;
}

}

std::string languageName(const std::string& name)
{
    return isIn(reservedWords, name) || isIn(qualifiers, name) ? std::string(wordPrefix) + name : name;
}

void renameForLanguage(std::vector<ShaderToken>& tokens)
{
    const auto own = definedFunctions(tokens);
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        auto& text = tokens[i].text;
        if (tokens[i].kind != Kind::Name)
            continue;
        const auto after = significantToken(tokens, i + 1);
        const auto following = [&](Kind kind) { return after < tokens.size() && tokens[after].kind == kind; };
        const auto* const other = std::ranges::find(renamed, text, &Renamed::from);
        if (other != renamed.end()) {
            text = other->to;
        } else if (isIn(reservedWords, text) || (isIn(qualifiers, text) && !following(Kind::Name))) {
            text.insert(0, wordPrefix);
        } else if (isIn(readers, text) && !own.contains(text)) {
            // A variable may have such a name too; in a definition the parenthesis may come with its use.
            if (tokens[i].inDirective || (following(Kind::Other) && tokens[after].text == "("))
                text.insert(0, "lattice_");
        }
    }
}

std::string withAuthorsNames(std::string message)
{
    for (const std::string_view prefix : { "lattice_in_", "lattice_word_", "lattice_near_", "lattice_" }) {
        for (auto at = message.find(prefix); at != std::string::npos; at = message.find(prefix, at))
            message.erase(at, prefix.size());
    }
    return message;
}

}
