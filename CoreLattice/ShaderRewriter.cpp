#include "CoreLattice/ShaderRewriter.h"

#include "CoreLattice/ShaderDeclarations.h"
#include "CoreLattice/ShaderNames.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>

namespace CoreLattice {

namespace {

// Loops with this many turns in the product of all of them are left to the compiler, which unrolls them.
constexpr double mostUncountedTurns = 2048;

std::optional<double> literal(const std::string& text)
{
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc()
        || (end != text.data() + text.size() && *end != 'f' && *end != 'F' && *end != 'u' && *end != 'U'))
        return std::nullopt;
    return value;
}

}

ShaderRewriter::ShaderRewriter(std::string_view source, std::vector<std::string> pictures,
    std::vector<std::string> handed, std::vector<std::string> declared)
    : mPictures(std::move(pictures))
    , mHanded(std::move(handed))
    , mDeclared(std::move(declared))
    , mTokens(shaderTokens(source))
{
}

bool ShaderRewriter::fail(int line, std::string message)
{
    mLine = line;
    mMessage = std::move(message);
    return false;
}

bool ShaderRewriter::rewrite()
{
    blankDeadCode();
    if (!rewriteDirectives() || !checkNames() || !rewriteLoops())
        return false;
    std::set<std::string, std::less<>> known(mDeclared.begin(), mDeclared.end());
    known.insert(mPictures.begin(), mPictures.end());
    ShaderDeclarations declarations(mTokens, std::move(known));
    declarations.rewrite();
    findOutput(declarations);
    rewritePictures();
    rewriteHanded();
    renameForLanguage(mTokens);
    for (const auto& token : mTokens)
        mText += token.text;
    return true;
}

void ShaderRewriter::findOutput(const ShaderDeclarations& declarations)
{
    const auto mentions
        = [this](std::string_view name) { return std::ranges::find(mTokens, name, &Token::text) != mTokens.end(); };
    std::vector<std::string> outputs;
    if (mentions("gl_FragData"))
        outputs.emplace_back("gl_FragData[0]");
    if (!declarations.output().empty())
        outputs.push_back(declarations.outputIsColor() ? languageName(declarations.output()) : std::string());
    // Also for a shader that writes to none, whose picture would be anything.
    if (outputs.empty() || mentions("gl_FragColor"))
        outputs.emplace_back("gl_FragColor");
    // Of several, which stand in the branches of a condition, only the compiler knows the one.
    mOutput = outputs.size() == 1 ? outputs.front() : std::string();
    mLeavesPixels = mentions("discard");
    mUsesTextureCoordinates = mentions("gl_TexCoord");
}

/// Takes out what stands in a branch that says `#if 0`, or behind one that says `#if 1`. People leave words there that
/// are no code.
void ShaderRewriter::blankDeadCode()
{
    struct Condition {
        bool wasTaken = false; ///< a branch before the present one, or that one, says 1
        bool isDead = false; ///< the present branch
        bool isKnown = true; ///< what all branches so far say
    };
    std::vector<Condition> open;
    int nested = 0; ///< conditions within a dead branch
    for (std::size_t i = 0; i < mTokens.size();) {
        const bool isDead = !open.empty() && open.back().isDead;
        auto end = i + 1;
        if (!mTokens[i].inDirective || mTokens[i].text != "#") {
            if (isDead)
                blank(i, end);
            i = end;
            continue;
        }
        while (end < mTokens.size() && mTokens[end].text != "\n")
            ++end;
        const auto word = nextSignificant(i + 1);
        const auto name = word < end ? mTokens[word].text : std::string();
        const bool begins = name.starts_with("if");
        const bool goesOn = name == "else" || name == "elif";
        if (isDead && (nested > 0 || begins || (!goesOn && name != "endif"))) {
            nested += begins ? 1 : name == "endif" ? -1 : 0;
            blank(i, end);
        } else if (begins) {
            open.emplace_back();
        } else if (name == "endif" && !open.empty()) {
            open.pop_back();
        }
        if ((begins && !isDead) || (goesOn && nested == 0 && !open.empty())) {
            const bool isJudged = name == "if" || name == "elif";
            const auto says = name == "else" ? std::optional(true)
                : isJudged                   ? literalCondition(word + 1, end)
                                             : std::nullopt;
            auto& condition = open.back();
            condition.isDead = condition.wasTaken || (says && !*says);
            condition.isKnown = condition.isKnown && says;
            condition.wasTaken = condition.wasTaken || (condition.isKnown && *says);
        }
        i = end;
    }
}

/// What `0` or `1` between \p first and \p last says; nothing for anything else.
std::optional<bool> ShaderRewriter::literalCondition(std::size_t first, std::size_t last) const
{
    std::string text;
    for (auto i = first; i < last; ++i) {
        if (mTokens[i].kind != Kind::Space)
            text += mTokens[i].text;
    }
    if (text == "0" || text == "(0)")
        return false;
    return text == "1" || text == "(1)" ? std::optional(true) : std::nullopt;
}

void ShaderRewriter::blank(std::size_t first, std::size_t last)
{
    for (auto i = first; i < last; ++i) {
        if (mTokens[i].text == "\n")
            continue;
        mTokens[i].text.clear();
        mTokens[i].kind = Kind::Space;
    }
}

std::size_t ShaderRewriter::nextSignificant(std::size_t index) const
{
    while (index < mTokens.size() && mTokens[index].kind == Kind::Space && mTokens[index].text != "\n")
        ++index;
    return index;
}

bool ShaderRewriter::rewriteDirectives()
{
    for (std::size_t i = 0; i < mTokens.size(); ++i) {
        if (!mTokens[i].inDirective || mTokens[i].text != "#")
            continue;
        const auto word = nextSignificant(i + 1);
        auto end = i;
        while (end < mTokens.size() && mTokens[end].text != "\n")
            ++end;
        if (word >= end)
            continue;
        const auto& name = mTokens[word].text;
        if (name == "define" || name == "undef") {
            const auto defined = nextSignificant(word + 1);
            static constexpr std::array guarded { "for", "while", "do", "main", "if", "gl_FragCoord" };
            if (defined < end && std::ranges::find(guarded, mTokens[defined].text) != guarded.end())
                return fail(mTokens[i].line, "\"" + mTokens[defined].text + "\" cannot be redefined");
        }
        // Extensions of the language for embedded systems are part of the one that we translate to.
        const auto extension = name == "extension" ? nextSignificant(word + 1) : end;
        const bool movesUp = extension < end && mTokens[extension].text.starts_with("GL_ARB_");
        if (name != "extension" && name != "version" && name != "line")
            continue;
        for (auto k = i; k < end; ++k) {
            if (movesUp) // a demand for what there is not would be an error even where it is not needed
                mExtensions += mTokens[k].text == "require" ? "enable" : mTokens[k].text;
            mTokens[k].text.clear();
            mTokens[k].kind = Kind::Space;
        }
        if (movesUp)
            mExtensions += '\n';
    }
    return true;
}

bool ShaderRewriter::checkNames()
{
    for (const auto& token : mTokens) {
        if (token.text == "##")
            return fail(token.line, "names cannot be pasted together");
        if (token.kind == Kind::Name && token.text.starts_with("lattice_"))
            return fail(token.line, "names that begin with \"lattice_\" are reserved");
    }
    return true;
}

void ShaderRewriter::rewritePictures()
{
    for (std::size_t i = 0; i < mTokens.size(); ++i) {
        if (mTokens[i].text != "IMG_THIS_PIXEL" && mTokens[i].text != "IMG_THIS_NORM_PIXEL")
            continue;
        const auto open = nextSignificant(i + 1);
        const auto name = nextSignificant(open + 1);
        const auto close = nextSignificant(name + 1);
        if (close >= mTokens.size() || mTokens[open].text != "(" || mTokens[close].text != ")")
            continue;
        if (std::ranges::find(mPictures, mTokens[name].text) != mPictures.end())
            mTokens[name].text.insert(0, "lattice_near_");
    }
}

void ShaderRewriter::rewriteHanded()
{
    bool afterDot = false;
    bool inStructure = false;
    for (std::size_t i = 0; i < mTokens.size(); ++i) {
        auto& token = mTokens[i];
        // So are the fields where they are declared.
        inStructure = inStructure ? token.text != "}" : token.text == "struct";
        if (inStructure)
            continue;
        // Behind a dot the name is a component's or a field's, before a parenthesis it is a function's.
        if (token.kind == Kind::Name && !afterDot && std::ranges::find(mHanded, token.text) != mHanded.end()) {
            const auto next = significantToken(mTokens, i + 1);
            if (token.inDirective || next == mTokens.size() || mTokens[next].text != "(")
                token.text.insert(0, "lattice_in_");
        }
        if (token.kind != Kind::Space)
            afterDot = token.text == ".";
    }
}

std::size_t ShaderRewriter::closing(std::size_t open) const
{
    int depth = 0;
    for (auto i = open; i < mTokens.size(); ++i) {
        if (mTokens[open].inDirective && mTokens[i].text == "\n")
            break;
        if (mTokens[i].text == "(")
            ++depth;
        else if (mTokens[i].text == ")" && --depth == 0)
            return i;
    }
    return mTokens.size();
}

bool ShaderRewriter::rewriteLoops()
{
    // Of the directives, only definitions become code.
    bool isText = false;
    for (std::size_t i = 0; i < mTokens.size(); ++i) {
        if (mTokens[i].inDirective && (i == 0 || !mTokens[i - 1].inDirective || mTokens[i - 1].text == "\n")) {
            const auto word = nextSignificant(i + 1);
            isText = word == mTokens.size() || mTokens[word].text != "define";
        }
        if (mTokens[i].inDirective && isText)
            continue;
        if (mTokens[i].kind != Kind::Name || (mTokens[i].text != "for" && mTokens[i].text != "while"))
            continue;
        auto open = i + 1;
        while (open < mTokens.size() && mTokens[open].kind == Kind::Space)
            ++open;
        const auto close = open < mTokens.size() && mTokens[open].text == "(" ? closing(open) : mTokens.size();
        if (close == mTokens.size())
            return fail(mTokens[i].line, "the condition of \"" + mTokens[i].text + "\" cannot be found");
        if (mTokens[i].text == "while") {
            mTokens[open].text = "((";
            mTokens[close].text = ") && lattice_turn())";
        } else if (!rewriteFor(open, close)) {
            return false;
        }
    }
    return true;
}

bool ShaderRewriter::rewriteFor(std::size_t open, std::size_t close)
{
    std::array<std::size_t, 2> semicolons {};
    std::size_t count = 0;
    int depth = 0;
    for (auto i = open + 1; i < close; ++i) {
        const auto& text = mTokens[i].text;
        depth += text == "(" ? 1 : text == ")" ? -1 : 0;
        if (text != ";" || depth != 0)
            continue;
        if (count == semicolons.size())
            return fail(mTokens[i].line, "\"for\" has too many parts");
        semicolons[count++] = i;
    }
    if (count != semicolons.size())
        return fail(mTokens[open].line, "\"for\" has too few parts");
    if (isShort(open, semicolons[0], semicolons[1], close))
        return true;
    const bool endless = std::all_of(mTokens.begin() + static_cast<std::ptrdiff_t>(semicolons[0]) + 1,
        mTokens.begin() + static_cast<std::ptrdiff_t>(semicolons[1]),
        [](const Token& t) { return t.kind == Kind::Space; });
    mTokens[semicolons[0]].text = endless ? "; (true" : "; (";
    mTokens[semicolons[1]].text = ") && lattice_turn();";
    return true;
}

/// Whether the loop is `for (int i = a; i < b; i++)` in literal numbers, or a relative of it, its body leaves `i`
/// alone, and its turns still fit among the uncounted ones.
bool ShaderRewriter::isShort(
    std::size_t open, std::size_t firstSemicolon, std::size_t secondSemicolon, std::size_t close)
{
    if (mTokens[open].inDirective)
        return false;
    const auto part = [this](std::size_t first, std::size_t last) {
        std::vector<const Token*> tokens;
        for (auto i = first; i < last; ++i) {
            if (mTokens[i].kind != Kind::Space)
                tokens.push_back(&mTokens[i]);
        }
        return tokens;
    };
    const auto number = [](const std::vector<const Token*>& tokens, std::size_t from) -> std::optional<double> {
        const bool negative = from < tokens.size() && tokens[from]->text == "-";
        if (from + negative + 1 != tokens.size())
            return std::nullopt;
        const auto value = literal(tokens[from + negative]->text);
        return value && negative ? -*value : value;
    };
    const auto start = part(open + 1, firstSemicolon);
    const auto test = part(firstSemicolon + 1, secondSemicolon);
    const auto step = part(secondSemicolon + 1, close);
    if (start.size() < 4 || (start[0]->text != "int" && start[0]->text != "float") || start[2]->text != "=")
        return false;
    const auto& name = start[1]->text;
    if (test.size() < 3 || test[0]->text != name || step.size() < 2)
        return false;

    const auto from = number(start, 3);
    const auto to = number(test, 2);
    std::optional<double> by;
    if (step.size() == 2 && (step[0]->text == name || step[1]->text == name)) {
        const auto& sign = step[0]->text == name ? step[1]->text : step[0]->text;
        by = sign == "++" ? std::optional(1.0) : sign == "--" ? std::optional(-1.0) : std::nullopt;
    } else if (step[0]->text == name && (step[1]->text == "+=" || step[1]->text == "-=")) {
        by = number(step, 2);
        if (by && step[1]->text == "-=")
            by = -*by;
    }
    const auto& comparison = test[1]->text;
    const bool upwards = comparison == "<" || comparison == "<=";
    if (!from || !to || !by || (!upwards && comparison != ">" && comparison != ">=") || (upwards ? *by <= 0 : *by >= 0))
        return false;
    const double turns = std::max(1.0, std::floor((*to - *from) / *by) + 1);
    if (!(mUncountedTurns * turns <= mostUncountedTurns) || bodyChanges(close, name))
        return false;
    mUncountedTurns *= turns;
    return true;
}

/// Whether the rest of the loop's function may assign to \p name, or hand it to something that may. Looks at all that
/// follows up to the end of the loop's body, or one statement.
bool ShaderRewriter::bodyChanges(std::size_t close, std::string_view name) const
{
    int braces = 0;
    int parentheses = 0;
    for (auto i = close + 1; i < mTokens.size(); ++i) {
        const auto& token = mTokens[i];
        braces += token.text == "{" ? 1 : token.text == "}" ? -1 : 0;
        parentheses += token.text == "(" ? 1 : token.text == ")" ? -1 : 0;
        if (braces < 0)
            return false;
        if (braces == 0 && (token.text == "}" || (token.text == ";" && parentheses == 0))) {
            auto next = i + 1;
            while (next < mTokens.size() && mTokens[next].kind == Kind::Space)
                ++next;
            if (next == mTokens.size() || mTokens[next].text != "else")
                return false;
        }
        if (token.inDirective)
            return true;
        if (token.text != name)
            continue;
        auto before = i - 1;
        while (before > close && mTokens[before].kind == Kind::Space)
            --before;
        auto after = i + 1;
        while (after < mTokens.size() && mTokens[after].kind == Kind::Space)
            ++after;
        static constexpr std::array changes { "=", "+=", "-=", "*=", "/=", "++", "--" };
        const auto isChange = [](const Token& t) { return std::ranges::find(changes, t.text) != changes.end(); };
        const auto& left = mTokens[before].text;
        if (left == "++" || left == "--" || (after < mTokens.size() && isChange(mTokens[after])))
            return true;
        // Alone between commas or parentheses it may be an argument that the function writes to; a type's constructor,
        // the usual case, writes nothing.
        const auto& right = after < mTokens.size() ? mTokens[after].text : left;
        if ((left == "(" || left == ",") && (right == ")" || right == ",")) {
            auto callee = before;
            while (callee > close && left == "(" && (callee == before || mTokens[callee].kind == Kind::Space))
                --callee;
            static constexpr std::array harmless { "float", "int", "vec2", "vec3", "vec4", "mod", "abs", "sin", "cos",
                "floor" };
            if (left == "," || std::ranges::find(harmless, mTokens[callee].text) == harmless.end())
                return true;
        }
    }
    return true;
}

}
