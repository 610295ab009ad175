#include "CoreLattice/ShaderDeclarations.h"

#include <gtest/gtest.h>

using namespace CoreLattice;

namespace {

/// The text that is left, with one blank for every run of them.
std::string rewritten(std::string_view source, std::string* output = nullptr)
{
    auto tokens = shaderTokens(source);
    ShaderDeclarations declarations(tokens, { "a", "b", "TIME" });
    declarations.rewrite();
    if (output)
        *output = declarations.output();
    std::string text;
    for (const auto& token : tokens)
        for (const char c : token.text)
            if (c != ' ' || (!text.empty() && text.back() != ' '))
                text += c;
    return text;
}

}

TEST(ShaderDeclarations, TakesOutWhatIsDeclaredAlready)
{
    EXPECT_EQ(rewritten("uniform float a;int x;"), "int x;");
    EXPECT_EQ(rewritten("uniform highp float a, b;"), "");
    EXPECT_EQ(rewritten("uniform float a, c, b;"), "uniform float c;");
    EXPECT_EQ(rewritten("uniform float c, a;"), "uniform float c;");
    EXPECT_EQ(rewritten("uniform vec2 a = vec2(1.0, 2.0), c;"), "uniform vec2 c;");
    EXPECT_EQ(rewritten("layout(location = 0) uniform float TIME;"), "");
    EXPECT_EQ(rewritten("uniform\nfloat\na;\nint x;"), "\n\n\nint x;") << "lines keep their numbers";
}

TEST(ShaderDeclarations, LeavesEverythingElse)
{
    for (const auto* const text :
        { "uniform float c[2];", "void f(in float a) { float b; }", "float a;", "struct S { float a; };",
            "const float b = 1.0;", "precision mediump float;", "varying vec2 p, q[3];", "uniform float c" })
        EXPECT_EQ(rewritten(text), text);
}

TEST(ShaderDeclarations, TakesOutASecondVaryingValueOnlyWhereBothCount)
{
    EXPECT_EQ(rewritten("varying vec2 p;varying vec2 p;"), "varying vec2 p;");
    EXPECT_EQ(rewritten("varying vec2 p;varying vec2 p, q;"), "varying vec2 p;varying vec2 q;");
    const auto* const branches = "#if X\nvarying vec2 p;\n#else\nin vec2 p;\n#endif\n";
    EXPECT_EQ(rewritten(branches), branches);
}

TEST(ShaderDeclarations, FindsTheOutput)
{
    std::string output;
    rewritten("layout(location = 0) out vec4 color; out vec4 other;", &output);
    EXPECT_EQ(output, "color");
    rewritten("void f(out vec4 color) { }", &output);
    EXPECT_EQ(output, "");
}
