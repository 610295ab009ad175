#include "CoreLattice/ShaderText.h"

#include <algorithm>
#include <array>

namespace CoreLattice {

namespace {

bool isNameStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Joins lines that end in a backslash and blanks comments. Every line end stays, the joined ones behind their line.
std::string withoutComments(std::string_view source)
{
    std::string result;
    std::size_t owedLines = 0;
    bool inBlock = false;
    bool inLine = false;
    for (std::size_t i = 0; i < source.size(); ++i) {
        const char c = source[i];
        const char next = i + 1 < source.size() ? source[i + 1] : '\0';
        if (c == '\\' && next == '\n') {
            ++i;
            ++owedLines;
        } else if (c == '\n') {
            inLine = false;
            result.append(1 + owedLines, '\n');
            owedLines = 0;
        } else if (inBlock) {
            if (c == '*' && next == '/') {
                inBlock = false;
                ++i;
                result += ' ';
            }
        } else if (inLine) {
            continue;
        } else if (c == '/' && (next == '*' || next == '/')) {
            (next == '*' ? inBlock : inLine) = true;
            ++i;
        } else {
            result += static_cast<unsigned char>(c) >= 0x80 || c == '\v' || c == '\f' || c == '\r' ? ' ' : c;
        }
    }
    return result;
}

}

std::vector<ShaderToken> shaderTokens(std::string_view text)
{
    using Kind = ShaderToken::Kind;
    const auto source = withoutComments(text);
    std::vector<ShaderToken> tokens;
    static constexpr std::array pairs { "++", "--", "+=", "-=", "*=", "/=", "<=", ">=", "==", "!=", "&&", "||", "##",
        "<<", ">>" };
    int line = 1;
    bool inDirective = false;
    bool lineBegins = true;
    for (std::size_t i = 0; i < source.size();) {
        const char c = source[i];
        const auto start = i;
        auto kind = Kind::Other;
        if (c == '\n') {
            kind = Kind::Space;
            ++i;
        } else if (c == ' ' || c == '\t') {
            kind = Kind::Space;
            while (i < source.size() && (source[i] == ' ' || source[i] == '\t'))
                ++i;
        } else if (isNameStart(c)) {
            kind = Kind::Name;
            while (i < source.size() && (isNameStart(source[i]) || isDigit(source[i])))
                ++i;
        } else if (isDigit(c) || (c == '.' && i + 1 < source.size() && isDigit(source[i + 1]))) {
            kind = Kind::Number;
            while (i < source.size()
                && (isNameStart(source[i]) || isDigit(source[i]) || source[i] == '.'
                    || ((source[i] == '+' || source[i] == '-') && (source[i - 1] == 'e' || source[i - 1] == 'E'))))
                ++i;
        } else {
            const auto two = std::string_view(source).substr(i, 2);
            i += std::ranges::find(pairs, two) != pairs.end() ? 2 : 1;
        }
        if (c == '#' && lineBegins)
            inDirective = true;
        tokens.push_back({ kind, source.substr(start, i - start), line, inDirective });
        if (c == '\n') {
            ++line;
            inDirective = false;
            lineBegins = true;
        } else if (kind != Kind::Space) {
            lineBegins = false;
        }
    }
    return tokens;
}

std::size_t significantToken(const std::vector<ShaderToken>& tokens, std::size_t index)
{
    while (index < tokens.size() && tokens[index].kind == ShaderToken::Kind::Space)
        ++index;
    return index;
}

std::size_t significantTokenBefore(const std::vector<ShaderToken>& tokens, std::size_t index)
{
    while (index > 0) {
        if (tokens[--index].kind != ShaderToken::Kind::Space)
            return index;
    }
    return tokens.size();
}

}
