#pragma once

#include "CoreLattice/ShaderText.h"

#include <set>

namespace CoreLattice {

/// Looks through the declarations of a shader outside of its functions: takes out those of what the translation
/// declares itself, and a second one of the same varying value, which drivers refuse; and finds the shader's own
/// output.
class ShaderDeclarations {
public:
    /// \param known  the names that the translation declares
    ShaderDeclarations(std::vector<ShaderToken>& tokens, std::set<std::string, std::less<>> known);

    void rewrite();
    /// The name of the first `out` value; empty when there is none.
    const std::string& output() const noexcept { return mOutput; }
    /// Whether it has four parts.
    bool outputIsColor() const noexcept { return mOutputIsColor; }

private:
    struct Statement {
        std::string how; ///< "uniform", "varying", "in", "attribute", "out"; empty for anything else
        std::size_t firstName = 0; ///< where the first declared name stands
        std::size_t end = 0; ///< its semicolon
    };
    Statement statementAt(std::size_t begin) const;
    std::size_t endOfStatement(std::size_t begin) const;
    void rewriteNames(std::size_t begin, const Statement& statement);
    bool isToGo(const std::string& name, const std::string& how);
    void blank(std::size_t first, std::size_t last);

    std::vector<ShaderToken>& mTokens;
    const std::set<std::string, std::less<>> mKnown;
    std::set<std::string, std::less<>> mVarying;
    std::string mOutput;
    bool mOutputIsColor = false;
    int mConditions = 0; ///< how many #if are open
};

}
