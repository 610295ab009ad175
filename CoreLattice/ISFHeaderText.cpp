#include "CoreLattice/ISFHeaderText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <optional>

namespace CoreLattice {

namespace {

constexpr int deepestJSON = 32;

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool isWordCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '.'
        || c == '+' || c == '-' || c == '$';
}

/// How many bytes the well-formed UTF-8 character at the front has; 0 for something else.
std::size_t characterLength(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto first = byte(0);
    const std::size_t length = first < 0x80 ? 1
        : first >= 0xC2 && first < 0xE0     ? 2
        : first >= 0xE0 && first < 0xF0     ? 3
        : first >= 0xF0 && first < 0xF5     ? 4
                                            : 0;
    if (length > text.size())
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    const bool overlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
    const bool outside = (first == 0xED && byte(1) >= 0xA0) || (first == 0xF4 && byte(1) >= 0x90);
    return overlong || outside ? 0 : length;
}

/// A number in JSON's spelling, or nothing when the word is none.
std::optional<std::string> numberText(std::string_view word)
{
    const bool negative = word.starts_with('-');
    if (negative || word.starts_with('+'))
        word.remove_prefix(1);
    if (word.empty() || !(word[0] == '.' || (word[0] >= '0' && word[0] <= '9')))
        return std::nullopt;
    double value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    const std::string_view rest(end, static_cast<std::size_t>(word.data() + word.size() - end));
    if (!(rest.empty() || rest == "f" || rest == "F"))
        return std::nullopt;
    if (error == std::errc::result_out_of_range)
        value = word.find("e-") == std::string_view::npos && word.find("E-") == std::string_view::npos ? 1e30 : 0;
    else if (error != std::errc())
        return std::nullopt;
    char text[40];
    std::snprintf(text, sizeof text, "%s%.17g", negative ? "-" : "", std::clamp(value, -1e30, 1e30));
    return text;
}

}

ISFHeaderText::ISFHeaderText(std::string_view source)
{
    find(source);
    if (!isFound())
        return;
    mFirstLine
        = 1 + static_cast<int>(std::count(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(mStart), '\n'));
    mLine = static_cast<std::uint32_t>(mFirstLine);
    clean(source.substr(mStart + 2, mEnd - mStart - 4));
}

void ISFHeaderText::find(std::string_view source)
{
    for (std::size_t i = 0; i + 1 < source.size();) {
        if (source[i] != '/' || (source[i + 1] != '*' && source[i + 1] != '/')) {
            ++i;
            continue;
        }
        if (source[i + 1] == '/') {
            i = std::min(source.find('\n', i), source.size());
            continue;
        }
        const auto close = source.find("*/", i + 2);
        if (close == std::string_view::npos)
            return;
        const auto inside = source.substr(i + 2, close - i - 2);
        const auto first = inside.find_first_not_of(" \t\n\v\f\r*");
        const bool isHeader = first != std::string_view::npos && inside[first] == '{';
        if (isHeader || !isFound()) {
            mStart = i;
            mEnd = close + 2;
        }
        if (isHeader)
            return;
        i = close + 2;
    }
}

int ISFHeaderText::lineAt(std::size_t offset) const
{
    return mLines.empty() ? mFirstLine : static_cast<int>(mLines[std::min(offset, mLines.size() - 1)]);
}

void ISFHeaderText::emit(char c)
{
    mJson += c;
    mLines.push_back(mLine);
}

void ISFHeaderText::emit(std::string_view text)
{
    for (const char c : text)
        emit(c);
}

void ISFHeaderText::beginValue()
{
    if (mAfterValue || mCommaWaits)
        emit(',');
    mCommaWaits = false;
}

void ISFHeaderText::takeComma()
{
    // One too many behind an opening bracket or another comma says nothing.
    mCommaWaits = mCommaWaits || mAfterValue;
    mAfterValue = false;
}

void ISFHeaderText::clean(std::string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        if (isBlank(c) || c == '*') {
            mLine += c == '\n';
            ++i;
        } else if (c == '/' && i + 1 < text.size() && text[i + 1] == '/') {
            i = std::min(text.find('\n', i), text.size());
        } else if (c == '"' || c == '\'') {
            i = takeText(text, i);
        } else if (c == ',') {
            takeComma();
            ++i;
        } else if (c == ':') {
            emit(c);
            mAfterValue = false;
            ++i;
        } else if (isWordCharacter(c)) {
            i = takeWord(text, i);
        } else if (takeBracket(c)) {
            ++i;
            if (mTooDeep || (mDepth == 0 && c == '}'))
                return; // what follows the header's end belongs to people
        } else {
            i = takeCharacter(text, i);
        }
    }
}

bool ISFHeaderText::takeBracket(char c)
{
    if (c == '{' || c == '[') {
        beginValue();
        mAfterValue = false;
        mTooDeep = ++mDepth > deepestJSON;
        if (mTooDeep) {
            mJson.clear();
            mLines.clear();
            return true;
        }
    } else if (c == '}' || c == ']') {
        --mDepth;
        mCommaWaits = false;
        mAfterValue = true;
    } else {
        return false;
    }
    emit(c);
    return true;
}

std::size_t ISFHeaderText::takeText(std::string_view text, std::size_t at)
{
    const char quote = text[at++];
    beginValue();
    mAfterValue = true;
    emit('"');
    while (at < text.size()) {
        const char c = text[at];
        if (c == quote) {
            emit('"');
            return at + 1;
        }
        if (c == '\\') {
            at = takeEscape(text, at + 1);
        } else if (c == '\n') {
            emit("\\n");
            ++mLine;
            ++at;
        } else if (c == '\t') {
            emit("\\t");
            ++at;
        } else if (c == '"') {
            emit("\\\"");
            ++at;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            emit(' ');
            ++at;
        } else {
            at = takeCharacter(text, at);
        }
    }
    return at;
}

/// \param at  behind the backslash
std::size_t ISFHeaderText::takeEscape(std::string_view text, std::size_t at)
{
    static constexpr std::string_view known = "\"\\/bfnrt";
    if (at == text.size())
        return at;
    const char c = text[at];
    const auto isHexadecimal
        = [](char digit) { return std::string_view("0123456789abcdefABCDEF").find(digit) != std::string_view::npos; };
    if (known.find(c) != std::string_view::npos) {
        emit('\\');
        emit(c);
        return at + 1;
    }
    if (c == 'u' && text.size() - at > 4 && std::ranges::all_of(text.substr(at + 1, 4), isHexadecimal)) {
        emit('\\');
        emit(text.substr(at, 5));
        return at + 5;
    }
    if (c != '\'')
        emit("\\\\");
    return at;
}

/// Takes one character as it is, a byte that belongs to none as Latin-1.
std::size_t ISFHeaderText::takeCharacter(std::string_view text, std::size_t at)
{
    const auto length = characterLength(text.substr(at));
    if (length > 0) {
        emit(text.substr(at, length));
        return at + length;
    }
    const auto byte = static_cast<unsigned char>(text[at]);
    emit(static_cast<char>(0xC0 | (byte >> 6)));
    emit(static_cast<char>(0x80 | (byte & 0x3F)));
    return at + 1;
}

std::size_t ISFHeaderText::takeWord(std::string_view text, std::size_t at)
{
    const auto start = at;
    while (at < text.size() && isWordCharacter(text[at]))
        ++at;
    const auto word = text.substr(start, at - start);
    beginValue();
    mAfterValue = true;
    if (const auto number = numberText(word)) {
        emit(*number);
        return at;
    }
    std::string lower(word);
    std::ranges::transform(
        lower, lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    if (lower == "true" || lower == "false" || lower == "null") {
        emit(lower);
    } else {
        emit('"');
        emit(word);
        emit('"');
    }
    return at;
}

}
