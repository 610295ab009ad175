#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace CoreLattice {

/// The header comment of a file in the Interactive Shader Format, as strict JSON.
///
/// Files are written by hand, and other programs read them leniently, so this brings into shape what has one meaning
/// only: commas too many or missing between values, comments, line ends and tabs within texts, texts in single quotes,
/// words without quotes, numbers such as `.5`, `+1`, `2.` and `1.0f`, stars at the beginning of lines, text in the
/// encoding Latin-1. What is really broken stays broken for the JSON reader to find.
class ISFHeaderText {
public:
    /// Looks for the header in \p source, whose lines end in "\n": the first block comment that begins with a brace,
    /// else the first block comment.
    explicit ISFHeaderText(std::string_view source);

    bool isFound() const noexcept { return mEnd > mStart; }
    /// Where the comment begins and ends in the source, its marks included.
    std::size_t start() const noexcept { return mStart; }
    std::size_t end() const noexcept { return mEnd; }
    /// Brackets are nested deeper than any header needs; there is no JSON then.
    bool isTooDeep() const noexcept { return mTooDeep; }
    const std::string& json() const noexcept { return mJson; }
    /// The line of the source, from 1, that the byte of `json` at \p offset came from.
    int lineAt(std::size_t offset) const;
    /// The line on which the comment begins.
    int firstLine() const noexcept { return mFirstLine; }

private:
    void find(std::string_view source);
    void clean(std::string_view text);
    void emit(char c);
    void emit(std::string_view text);
    void beginValue();
    void takeComma();
    std::size_t takeText(std::string_view text, std::size_t at);
    std::size_t takeEscape(std::string_view text, std::size_t at);
    std::size_t takeCharacter(std::string_view text, std::size_t at);
    std::size_t takeWord(std::string_view text, std::size_t at);
    bool takeBracket(char c);

    std::size_t mStart = 0;
    std::size_t mEnd = 0;
    int mFirstLine = 1;
    bool mTooDeep = false;
    std::string mJson;
    std::vector<std::uint32_t> mLines; ///< for each byte of the JSON

    // While cleaning.
    std::uint32_t mLine = 1;
    int mDepth = 0;
    bool mAfterValue = false; ///< what may follow now is a comma, a colon or a closing bracket
    bool mCommaWaits = false;
};

}
