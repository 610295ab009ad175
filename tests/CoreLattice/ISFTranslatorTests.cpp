#include "CoreLattice/ISFTranslator.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace CoreLattice;

namespace {

std::string translated(const std::string& body)
{
    CompositionError error;
    const auto document = ISFDocument::parse(
        "/*{\"INPUTS\":[{\"NAME\":\"inputImage\",\"TYPE\":\"image\"}],\"PASSES\":[{},{},{},{}]}*/" + body, "", "t.fs",
        &error);
    EXPECT_NE(document, nullptr) << error.text();
    const auto shaders = translateShaders(*document, 3, &error);
    EXPECT_TRUE(shaders) << error.text();
    return shaders ? shaders->fragment : std::string();
}

std::string faultOf(const std::string& body)
{
    CompositionError error;
    const auto document = ISFDocument::parse("/*{}*/" + body, "", "t.fs", &error);
    EXPECT_NE(document, nullptr) << error.text();
    EXPECT_FALSE(translateShaders(*document, 0, &error)) << body;
    return error.text();
}

bool contains(const std::string& text, std::string_view part)
{
    return text.find(part) != std::string::npos;
}

}

TEST(ISFTranslator, LeavesShortLoopsToTheCompilerAndCountsTheOthers)
{
    EXPECT_TRUE(contains(
        translated("void main() { for (int i = 0; i < 9; i++) { f(i * 2); } }"), "for (int i = 0; i < 9; i++)"));
    EXPECT_TRUE(contains(
        translated("void main() { for (int i = 0; i < 100000; i++) { } }"), "; ( i < 100000) && lattice_turn(); i++)"));
    EXPECT_TRUE(contains(translated("void main() { for (;;) { } }"), "for (; (true) && lattice_turn();)"));
    EXPECT_TRUE(contains(translated("void main() { while (a < (b)) { } }"), "while ((a < (b)) && lattice_turn())"));
    EXPECT_TRUE(contains(translated("void main() { do { } while (true); }"), "while ((true) && lattice_turn())"));
    EXPECT_TRUE(contains(
        translated("#define TURN for (int i = 0; i < 3; i++)\nvoid main() { TURN { } }"), "&& lattice_turn()"));
}

TEST(ISFTranslator, CountsALoopWhoseBodyMeddlesWithItsCounter)
{
    for (const auto* const body :
        { "{ i = 0; }", "{ i -= 1; }", "{ --i; }", "{ change(i); }", "{ change(1, i); }", "if (a) { } else i--;" })
        EXPECT_TRUE(contains(
            translated(std::string("void main() { for (int i = 0; i < 9; i++) ") + body + " }"), "lattice_turn();"))
            << body;
}

TEST(ISFTranslator, CountsLoopsOnceTheirProductIsLarge)
{
    const auto text
        = translated("void main() { for (int i = 0; i < 60; i++) { for (int k = 0; k < 60; k++) { f(); } } }");
    EXPECT_TRUE(contains(text, "for (int i = 0; i < 60; i++)"));
    EXPECT_TRUE(contains(text, "( k < 60) && lattice_turn(); k++)"));
}

TEST(ISFTranslator, RefusesTricksThatWouldHideALoop)
{
    EXPECT_EQ(faultOf("\n#define while if\nvoid main() {}"), "t.fs:2: \"while\" cannot be redefined");
    EXPECT_EQ(faultOf("#define LOOP for\nvoid main() {}"), "t.fs:1: the condition of \"for\" cannot be found");
    EXPECT_EQ(faultOf("#define JOIN(a, b) a ## b\nvoid main() {}"), "t.fs:1: names cannot be pasted together");
    EXPECT_EQ(
        faultOf("\n\nbool lattice_turn() { return true; }"), "t.fs:3: names that begin with \"lattice_\" are reserved");
    EXPECT_TRUE(contains(translated("void main() { whi\\\nle (true) { } }"), "while ((true) && lattice_turn())"));
    EXPECT_TRUE(contains(translated("void main() { while/* */(true) { } }"), "&& lattice_turn()"));
}

TEST(ISFTranslator, KeepsTheNumbersOfLines)
{
    const auto text
        = translated("\n// first\n/* second\nthird */ int a; \\\nint b;\n#extension GL_ARB_x : enable\nint c;\n");
    const auto start = text.find("#line 1\n") + 8;
    const auto lineOf = [&](std::string_view part) {
        const auto at = text.find(part, start);
        return at == std::string::npos ? -1
                                       : 1
                + static_cast<int>(
                    std::count(text.begin() + static_cast<long>(start), text.begin() + static_cast<long>(at), '\n'));
    };
    EXPECT_EQ(lineOf("int a;"), 4);
    EXPECT_EQ(lineOf("int c;"), 7);
    EXPECT_LT(text.find("#extension GL_ARB_x : enable"), start);
    EXPECT_TRUE(contains(text, "#define PASSINDEX 3"));
}

TEST(ISFTranslator, HandsInputsOnFlatButLeavesComponentsOfTheSameNameAlone)
{
    CompositionError error;
    const auto document = ISFDocument::parse(
        "/*{\"INPUTS\":[{\"NAME\":\"x\",\"TYPE\":\"float\"},{\"NAME\":\"on\",\"TYPE\":\"bool\"}]}*/"
        "void main() { gl_FragColor = on ? vec4(x) : p.x + p . x; }",
        "", "t.fs", &error);
    const auto shaders = translateShaders(*document, 0, &error);
    ASSERT_TRUE(shaders);
    EXPECT_TRUE(contains(shaders->fragment, "on ? vec4(lattice_in_x) : p.x + p . x;"));
    EXPECT_TRUE(contains(shaders->fragment, "flat in float lattice_in_x;"));
    EXPECT_TRUE(contains(shaders->fragment, "uniform bool on;"));
    EXPECT_FALSE(contains(shaders->fragment, "uniform float x;"));
    EXPECT_TRUE(contains(shaders->vertex, "lattice_in_x = x;"));
}

TEST(ISFTranslator, ReadsTheLogsOfDrivers)
{
    const auto mesa = errorFromDriverLog("0:3(2): warning: odd\n0:12(17): error: `x' undeclared\n", "a.fs");
    EXPECT_EQ(mesa.text(), "a.fs:12: `x' undeclared");
    EXPECT_EQ(errorFromDriverLog("0(7) : error C1008: undefined variable \"x\"", "a.fs").text(),
        "a.fs:7: undefined variable \"x\"");
    EXPECT_EQ(errorFromDriverLog("", "a.fs").text(), "a.fs: the driver gives no reason");
}

TEST(ISFTranslator, KeepsTheNamesOfTheLanguageApart)
{
    EXPECT_TRUE(contains(translated("float filter(float input) { return input; }"),
        "float lattice_word_filter(float lattice_word_input)"));
    EXPECT_TRUE(
        contains(translated("float smooth = 1.0; smooth in vec2 p;"), "float lattice_word_smooth = 1.0; smooth in"));
    EXPECT_TRUE(contains(translated("vec4 a() { return texture2D(inputImage, p); }"), "lattice_texture2D(inputImage"));
    EXPECT_TRUE(contains(translated("vec4 texture(vec2 p) { return texture(p); }"), "{ return texture(p); }"));
    EXPECT_TRUE(contains(translated("void main() { float texture = 1.0; }"), "float texture = 1.0;"));
    EXPECT_TRUE(contains(translated("#version 120\n#extension GL_OES_x : require\n#extension GL_ARB_y : require\n"),
        "#extension GL_ARB_y : enable\n"));
    EXPECT_FALSE(contains(translated("#extension GL_OES_x : require\n"), "GL_OES_x"));
    EXPECT_EQ(
        errorFromDriverLog("0:2(1): error: `lattice_in_level' and `lattice_word_filter' undeclared", "a.fs").text(),
        "a.fs:2: `level' and `filter' undeclared");
}

TEST(ISFTranslator, MakesTheOutputOpaqueWhateverItsName)
{
    const auto endOf = [](const std::string& body) {
        const auto text = translated(body);
        return text.substr(text.rfind("void main()"));
    };
    EXPECT_EQ(endOf("void main() { gl_FragColor = vec4(0.0); }"),
        "void main() { gl_FragColor = vec4(0.0); lattice_main(); gl_FragColor.a = 1.0; }\n");
    EXPECT_EQ(endOf("out vec4 c; // gl_FragColor\nvoid main() { c = vec4(0.0); }"),
        "void main() { c = vec4(0.0); lattice_main(); c.a = 1.0; }\n");
    EXPECT_EQ(endOf("void main() { gl_FragData[0] = vec4(0.0); }"),
        "void main() { gl_FragData[0] = vec4(0.0); lattice_main(); gl_FragData[0].a = 1.0; }\n");
    EXPECT_EQ(
        endOf("void main() { }"), "void main() { gl_FragColor = vec4(0.0); lattice_main(); gl_FragColor.a = 1.0; }\n");
    // What cannot be told, or has no such part, the renderer makes opaque.
    EXPECT_EQ(endOf("out vec3 c; void main() { c = vec3(0.0); }"), "void main() { lattice_main(); }\n");
    EXPECT_EQ(endOf("#ifdef A\nout vec4 c;\n#else\n#define c gl_FragColor\n#endif\nvoid main() { c = vec4(0.0); }"),
        "void main() { lattice_main(); }\n");
}

TEST(ISFTranslator, TakesOutWhatNobodyCompiles)
{
    const auto left = [](const std::string& body) {
        const auto text = translated("\n" + body + "\nvoid main() { }");
        const auto start = text.find("#line 1\n") + 8;
        std::string result;
        for (const char c : text.substr(start, text.find("void lattice_main") - start))
            result += c == ' ' ? "" : std::string(1, c == '\n' ? '|' : c);
        return result.substr(
            result.find_first_not_of('|'), result.find_last_not_of('|') - result.find_first_not_of('|') + 1);
    };
    EXPECT_EQ(left("#if 0\nfor people\n#endif\nint a;"), "#if0||#endif|inta;");
    EXPECT_EQ(left("#if (0)\nwhile\n#else\nint a;\n#endif"), "#if(0)||#else|inta;|#endif");
    EXPECT_EQ(left("#if 1\nint a;\n#elif 1\nfor\n#else\nwhile\n#endif"), "#if1|inta;|#elif1||#else||#endif");
    EXPECT_EQ(left("#if 0\n#if 1\nfor\n#else\nwhile\n#endif\n#ifdef A\nfor\n#endif\nfor\n#elif 0\nfor\n#elif 1\nint "
                   "a;\n#else\nfor\n#endif\nint b;"),
        "#if0||||||||||#elif0||#elif1|inta;|#else||#endif|intb;");
    EXPECT_EQ(left("#if 1\n#if 0\nfor\n#endif\nint a;\n#endif"), "#if1|#if0||#endif|inta;|#endif");
    // What has to be found out stays.
    EXPECT_EQ(left("#if A\nint a;\n#else\nint b;\n#endif"), "#ifA|inta;|#else|intb;|#endif");
    EXPECT_EQ(
        left("#if A\nint a;\n#elif 1\nint b;\n#else\nint c;\n#endif"), "#ifA|inta;|#elif1|intb;|#else|intc;|#endif");
    EXPECT_EQ(left("#if 0 || A\nint a;\n#endif"), "#if0||A|inta;|#endif");
    EXPECT_EQ(left("#ifdef A\nint a;\n#endif"), "#ifdefA|inta;|#endif");
    EXPECT_EQ(left("#error for people\n#pragma while it lasts"), "#errorforpeople|#pragmawhileitlasts");
    EXPECT_EQ(faultOf("#if A\nfor people\n#endif\nvoid main() {}"), "t.fs:2: the condition of \"for\" cannot be found");
}
