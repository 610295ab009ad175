#include "CoreLattice/ShaderDeclarations.h"

#include <algorithm>
#include <array>

namespace CoreLattice {

using TokenKind = ShaderToken::Kind;

ShaderDeclarations::ShaderDeclarations(std::vector<ShaderToken>& tokens, std::set<std::string, std::less<>> known)
    : mTokens(tokens)
    , mKnown(std::move(known))
{
}

void ShaderDeclarations::rewrite()
{
    int depth = 0;
    bool begins = true;
    for (std::size_t i = 0; i < mTokens.size(); ++i) {
        const auto& token = mTokens[i];
        if (token.inDirective) {
            const auto before = significantTokenBefore(mTokens, i);
            if (before < mTokens.size() && mTokens[before].inDirective && mTokens[before].text == "#")
                mConditions += token.text.starts_with("if") ? 1 : token.text == "endif" ? -1 : 0;
            begins = true;
            continue;
        }
        if (token.kind == TokenKind::Space)
            continue;
        const bool opens = token.text == "{" || token.text == "(";
        const bool closes = token.text == "}" || token.text == ")";
        depth += opens ? 1 : closes ? -1 : 0;
        if (begins && depth == 0) {
            const auto statement = statementAt(i);
            if (!statement.how.empty()) {
                rewriteNames(i, statement);
                i = statement.end;
                continue;
            }
        }
        begins = depth == 0 && (token.text == ";" || token.text == "}");
    }
}

std::size_t ShaderDeclarations::endOfStatement(std::size_t begin) const
{
    auto end = begin;
    while (end < mTokens.size() && mTokens[end].text != ";" && mTokens[end].text != "{" && !mTokens[end].inDirective)
        ++end;
    return end < mTokens.size() && mTokens[end].text == ";" ? end : mTokens.size();
}

ShaderDeclarations::Statement ShaderDeclarations::statementAt(std::size_t begin) const
{
    static constexpr std::array<std::string_view, 12> words { "uniform", "varying", "in", "attribute", "out", "flat",
        "smooth", "noperspective", "centroid", "highp", "mediump", "lowp" };
    Statement statement;
    statement.end = endOfStatement(begin);
    if (statement.end == mTokens.size())
        return {};
    auto at = begin;
    if (mTokens[at].text == "layout") {
        while (at < statement.end && mTokens[at].text != ")")
            ++at;
        at = significantToken(mTokens, at + 1);
    }
    for (; at < statement.end && std::ranges::find(words, mTokens[at].text) != words.end();
         at = significantToken(mTokens, at + 1)) {
        if (std::ranges::find(words, mTokens[at].text) - words.begin() < 5)
            statement.how = mTokens[at].text;
    }
    // Behind the type.
    statement.firstName = significantToken(mTokens, at + 1);
    if (statement.firstName >= statement.end || mTokens[statement.firstName].kind != TokenKind::Name)
        return {};
    return statement;
}

bool ShaderDeclarations::isToGo(const std::string& name, const std::string& how)
{
    if (mKnown.contains(name) && how != "out")
        return true;
    if ((how != "varying" && how != "in") || mConditions > 0)
        return false; // only one of the branches of a condition may hold the declaration
    return !mVarying.insert(name).second;
}

void ShaderDeclarations::rewriteNames(std::size_t begin, const Statement& statement)
{
    struct Part {
        std::size_t first;
        std::size_t last; ///< one past it: a comma or the semicolon
        bool goes;
    };
    std::vector<Part> parts;
    int depth = 0;
    auto first = statement.firstName;
    for (auto i = first; i <= statement.end; ++i) {
        const auto& text = mTokens[i].text;
        depth += text == "(" || text == "[" ? 1 : text == ")" || text == "]" ? -1 : 0;
        if (depth != 0 || (text != "," && i != statement.end))
            continue;
        const auto name = significantToken(mTokens, first);
        parts.push_back({ first, i, name < i && isToGo(mTokens[name].text, statement.how) });
        first = i + 1;
    }
    if (statement.how == "out" && mOutput.empty()) {
        mOutput = mTokens[statement.firstName].text;
        mOutputIsColor = mTokens[significantTokenBefore(mTokens, statement.firstName)].text == "vec4"
            && mTokens[significantToken(mTokens, statement.firstName + 1)].text != "[";
    }
    const auto staying = std::ranges::count(parts, false, &Part::goes);
    if (staying == 0) {
        blank(begin, statement.end + 1);
        return;
    }
    bool isFirst = true;
    for (const auto& part : parts) {
        if (part.goes) {
            // With its comma: the one before it when names stay there, else the one behind.
            blank(isFirst ? part.first : part.first - 1, isFirst ? part.last + 1 : part.last);
        } else {
            isFirst = false;
        }
    }
}

void ShaderDeclarations::blank(std::size_t first, std::size_t last)
{
    for (auto i = first; i < last; ++i) {
        if (mTokens[i].text != "\n") {
            mTokens[i].text.clear();
            mTokens[i].kind = TokenKind::Space;
        }
    }
}

}
