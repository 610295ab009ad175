#pragma once

#include "CoreLattice/ShaderText.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CoreLattice {

class ShaderDeclarations;

/// Rewrites the text of one shader of a composition, keeping the number of each line.
///
/// Where a picture is read at the very place that is being drawn, its name becomes `lattice_near_` with the name, for
/// which the renderer may choose a cheaper way of reading. Comments and `#version` go, `#extension` lines are set
/// apart, declarations of what the translation declares itself go, and names are those of the language's version that
/// we translate to. What stands in a branch of `#if 0` goes too. Every loop asks `lattice_turn()` before each turn,
/// except short ones whose literal bounds show how many turns they take.
class ShaderRewriter {
public:
    /// \param pictures  the names of the pictures that the shader reads
    /// \param handed  the names of inputs that come under the name `lattice_in_` with the name
    /// \param declared  the other names that the translation declares
    ShaderRewriter(std::string_view source, std::vector<std::string> pictures, std::vector<std::string> handed,
        std::vector<std::string> declared);

    /// False when a loop cannot be found out or the source meddles with the rewriting; then `line` and `message` say
    /// why.
    bool rewrite();
    const std::string& text() const noexcept { return mText; }
    /// The `#extension` lines.
    const std::string& extensions() const noexcept { return mExtensions; }
    /// How many turns the loops that are not counted take together at most, were each within the one before.
    double uncountedTurns() const noexcept { return mUncountedTurns; }
    /// The colour that the shader writes its result to; empty when it has no alpha, or when it cannot be told.
    const std::string& output() const noexcept { return mOutput; }
    /// Whether it may leave pixels as they are.
    bool leavesPixels() const noexcept { return mLeavesPixels; }
    /// Whether it reads the old `gl_TexCoord`.
    bool usesTextureCoordinates() const noexcept { return mUsesTextureCoordinates; }
    int line() const noexcept { return mLine; }
    const std::string& message() const noexcept { return mMessage; }

private:
    using Kind = ShaderToken::Kind;
    using Token = ShaderToken;
    bool fail(int line, std::string message);
    void blankDeadCode();
    std::optional<bool> literalCondition(std::size_t first, std::size_t last) const;
    void blank(std::size_t first, std::size_t last);
    bool rewriteDirectives();
    bool checkNames();
    void findOutput(const ShaderDeclarations& declarations);
    void rewritePictures();
    void rewriteHanded();
    bool rewriteLoops();
    bool rewriteFor(std::size_t open, std::size_t close);
    std::size_t closing(std::size_t open) const;
    std::size_t nextSignificant(std::size_t index) const;
    bool isShort(std::size_t open, std::size_t firstSemicolon, std::size_t secondSemicolon, std::size_t close);
    bool bodyChanges(std::size_t close, std::string_view name) const;

    const std::vector<std::string> mPictures;
    const std::vector<std::string> mHanded;
    const std::vector<std::string> mDeclared;
    std::vector<Token> mTokens;
    std::string mText;
    std::string mExtensions;
    std::string mOutput;
    bool mLeavesPixels = false;
    bool mUsesTextureCoordinates = false;
    std::string mMessage;
    int mLine = 0;
    /// The product of the turns of all loops that are not counted: more turns than that none of them can take together.
    double mUncountedTurns = 1;
};

}
