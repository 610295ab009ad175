#include "CoreLattice/ISFDocument.h"

#include <gtest/gtest.h>

using CoreLattice::CompositionError;
using CoreLattice::ISFDocument;
using CoreLattice::ISFInputType;

namespace {

std::shared_ptr<const ISFDocument> parse(std::string_view source)
{
    CompositionError error;
    auto document = ISFDocument::parse(source, "", "folder/my filter.fs", &error);
    EXPECT_NE(document, nullptr) << error.text();
    return document;
}

std::string faultOf(std::string_view source)
{
    CompositionError error;
    EXPECT_EQ(ISFDocument::parse(source, "", "bad.fs", &error), nullptr);
    return error.text();
}

std::string withInputs(const std::string& inputs)
{
    return "/*{ \"INPUTS\": [" + inputs + "] }*/ void main() {}";
}

}

TEST(ISFDocument, ReadsEveryKindOfInput)
{
    const auto document = parse(R"(/*{
        "DESCRIPTION": "All of them", "LABEL": "Everything",
        "INPUTS": [
            { "NAME": "inputImage", "TYPE": "image" },
            { "NAME": "level", "LABEL": "Level", "TYPE": "float", "DEFAULT": 0.5, "MIN": -1, "MAX": 2.5 },
            { "NAME": "on", "TYPE": "bool", "DEFAULT": 1.0 },
            { "NAME": "mode", "TYPE": "long", "VALUES": [0, 4, 9], "LABELS": ["None", "Some", "All"], "DEFAULT": 4 },
            { "NAME": "tint", "TYPE": "color", "DEFAULT": [1.0, 0.5, 0.25, 0.75] },
            { "NAME": "place", "TYPE": "point2D", "DEFAULT": [0.25, 0.5], "MIN": [0, 0], "MAX": [1, 1] },
            { "NAME": "flash", "TYPE": "event" },
            { "NAME": "sound", "TYPE": "audioFFT" },
        ],
    }*/ void main() {})");
    ASSERT_EQ(document->inputs.size(), 8U);
    EXPECT_EQ(document->name, "Everything");
    EXPECT_EQ(document->explanation, "All of them");
    const auto& level = document->inputs[1];
    EXPECT_EQ(level.label, "Level");
    EXPECT_EQ((*level.defaultValue)[0], 0.5);
    EXPECT_EQ((*level.minimum)[0], -1);
    EXPECT_EQ((*level.maximum)[0], 2.5);
    EXPECT_EQ(document->inputs[2].type, ISFInputType::Boolean);
    EXPECT_EQ((*document->inputs[2].defaultValue)[0], 1);
    EXPECT_EQ(document->inputs[3].values, (std::vector<double> { 0, 4, 9 }));
    EXPECT_EQ(document->inputs[3].labels, (std::vector<std::string> { "None", "Some", "All" }));
    EXPECT_EQ(*document->inputs[4].defaultValue, (std::array<double, 4> { 1, 0.5, 0.25, 0.75 }));
    EXPECT_EQ(document->inputs[5].type, ISFInputType::Point);
    EXPECT_EQ(document->inputs[6].type, ISFInputType::Event);
    EXPECT_TRUE(document->inputs[7].isSilent);
    EXPECT_EQ(document->passes.size(), 1U);
    EXPECT_TRUE(document->dependsOnTime) << "sound goes on";
    EXPECT_EQ(document->inputs[7].sound, CoreLattice::ISFSound::Spectrum);
    EXPECT_EQ(document->kind, CoreLattice::ISFKind::Filter);
}

TEST(ISFDocument, ReadsPassesOfBothVersionsOfTheFormat)
{
    const auto second = parse(R"(/*{ "PASSES": [
        { "TARGET": "small", "WIDTH": "$WIDTH/4", "HEIGHT": 90, "FLOAT": true },
        { "TARGET": "kept", "PERSISTENT": true }, { } ] }*/ void main() {})");
    ASSERT_EQ(second->passes.size(), 3U);
    EXPECT_TRUE(second->passes[0].floatingPoint);
    EXPECT_FALSE(second->passes[0].width.isEmpty());
    EXPECT_TRUE(second->passes[1].persistent);
    EXPECT_TRUE(second->passes[2].target.empty());

    const auto first = parse(R"(/*{ "PERSISTENT_BUFFERS": { "kept": { "WIDTH": "16", "FLOAT": 1 } },
        "PASSES": [ { "TARGET": "kept" }, { } ] }*/ void main() {})");
    EXPECT_TRUE(first->passes[0].persistent);
    EXPECT_TRUE(first->passes[0].floatingPoint);
    EXPECT_FALSE(first->passes[0].width.isEmpty());
    EXPECT_TRUE(parse(R"(/*{ "PERSISTENT_BUFFERS": ["kept"], "PASSES": [ { "TARGET": "kept" } ] }*/ void main() {})")
                    ->passes[0]
                    .persistent);
}

TEST(ISFDocument, TakesItsNameFromTheFileAndBlanksTheHeaderOnly)
{
    const auto document = parse("\n/*{\n}*/\nvoid main() { gl_FragColor = vec4(TIME); }");
    EXPECT_EQ(document->name, "my filter");
    EXPECT_EQ(document->fragmentSource, "\n   \n   \nvoid main() { gl_FragColor = vec4(TIME); }");
    EXPECT_TRUE(document->dependsOnTime);
    EXPECT_FALSE(parse("/*{}*/ void main() { float TIMER; }")->dependsOnTime);
}

TEST(ISFDocument, SaysWhereAHeaderIsWrong)
{
    EXPECT_EQ(faultOf("void main() {}"), "bad.fs:1: the file does not begin with a header in a comment");
    EXPECT_TRUE(faultOf("\n/*{\n \"INPUTS\": [\n  }\n*/").starts_with("bad.fs:4: "))
        << faultOf("\n/*{\n \"INPUTS\": [\n  }\n*/");
    EXPECT_EQ(faultOf("/* [] */"), "bad.fs:1: the header is no JSON object");
    EXPECT_EQ(
        faultOf(withInputs(R"({ "NAME": "a b", "TYPE": "float" })")), "bad.fs:1: \"a b\" is no name for an input");
    EXPECT_EQ(
        faultOf(withInputs(R"({ "NAME": "a", "TYPE": "cube" })")), "bad.fs:1: input a has the unknown type \"cube\"");
    EXPECT_EQ(faultOf(withInputs(R"({ "NAME": "a", "TYPE": "float" }, { "NAME": "a", "TYPE": "bool" })")),
        "bad.fs:1: two inputs have the name a");
    EXPECT_EQ(faultOf(R"(/*{ "PASSES": [ { "TARGET": "t", "WIDTH": "$WIDTH /" } ] }*/)"),
        "bad.fs:1: WIDTH of a pass: the formula ends too early");
}

TEST(ISFDocument, RefusesWhatCouldExhaustTheMachine)
{
    EXPECT_EQ(faultOf(std::string((1 << 20) + 1, ' ')), "bad.fs: the file is larger than 1 MiB");
    EXPECT_EQ(faultOf(std::string("/*{}*/\0", 7)), "bad.fs: the file is not text");
    EXPECT_EQ(faultOf("/*{\"a\":" + std::string(100000, '[') + "*/"), "bad.fs:1: the header is nested too deeply");
    std::string inputs;
    for (int i = 0; i < 129; ++i)
        inputs += (i ? "," : "") + std::string("{\"NAME\":\"i") + std::to_string(i) + "\",\"TYPE\":\"float\"}";
    EXPECT_EQ(faultOf(withInputs(inputs)), "bad.fs:1: there are more than 128 inputs");
    std::string passes = "{}";
    for (int i = 0; i < 32; ++i)
        passes += ",{}";
    EXPECT_EQ(faultOf("/*{\"PASSES\":[" + passes + "]}*/"), "bad.fs:1: there are more than 32 passes");
    // Bounds so far apart that counting through them would never end.
    const auto document = parse(withInputs(R"({ "NAME": "n", "TYPE": "long", "MIN": -1e300, "MAX": 1e300 })"));
    EXPECT_EQ(document->inputs[0].values.size(), 256U);
}

TEST(ISFDocument, SurvivesEveryTruncationAndMutationOfAGoodFile)
{
    const std::string good
        = R"isf(/*{ "INPUTS": [ { "NAME": "mode", "TYPE": "long", "VALUES": [0, 1], "LABELS": ["\u00e4", "b"] } ],
        "PASSES": [ { "TARGET": "t", "WIDTH": "floor($WIDTH / (2 + $mode))", "PERSISTENT": 1 }, { } ] }*/ void main() {})isf";
    CompositionError error;
    for (std::size_t i = 0; i < good.size(); ++i) {
        ISFDocument::parse(std::string_view(good).substr(0, i), "", "cut.fs", &error);
        for (const char c : { '{', '"', '\\', '-', '9', '\x80', ',', '\n' }) {
            auto changed = good;
            changed[i] = c;
            ISFDocument::parse(changed, "", "changed.fs", &error);
        }
    }
    EXPECT_NE(parse(good), nullptr);
}

TEST(ISFDocument, TellsWhatAFileIsForAndWhoMadeIt)
{
    const auto document = parse(R"(/*{ "CREDIT": "Ann", "VSN": 2, "CATEGORIES": [ "Blur", "Light" ],
        "INPUTS": [ { "NAME": "startImage", "TYPE": "image" }, { "NAME": "endImage", "TYPE": "image" },
                    { "NAME": "progress", "TYPE": "float", "IDENTITY": 0.25 } ] }*/ void main() {})");
    EXPECT_EQ(document->kind, CoreLattice::ISFKind::Transition);
    EXPECT_EQ(document->credit, "Ann");
    EXPECT_EQ(document->version, "2");
    EXPECT_EQ(document->categories, (std::vector<std::string> { "Blur", "Light" }));
    EXPECT_EQ((*document->inputs[2].identity)[0], 0.25);
    EXPECT_EQ(parse(withInputs(R"({ "NAME": "a", "TYPE": "float" })"))->kind, CoreLattice::ISFKind::Generator);
    EXPECT_EQ(parse(withInputs(R"({ "NAME": "inputImage", "TYPE": "audio" })"))->kind, CoreLattice::ISFKind::Generator);
}

TEST(ISFDocument, ReadsImportedPicturesOfBothVersions)
{
    const auto second = parse(R"(/*{ "IMPORTED": [ { "NAME": "a", "PATH": "a.png" }, { "NAME": "b", "TYPE": "cube",
        "PATH": [ "1", "2", "3", "4", "5", "6" ] } ] }*/)");
    ASSERT_EQ(second->imports.size(), 2U);
    EXPECT_EQ(second->imports[0].paths, std::vector<std::string> { "a.png" });
    EXPECT_TRUE(second->imports[1].isCube);
    EXPECT_EQ(second->pictures(), std::vector<std::string> { "a" });
    EXPECT_EQ(parse(R"(/*{ "IMPORTED": { "a": { "PATH": "a.png" }, "b": "b.png" } }*/)")->imports[1].paths[0], "b.png");
    EXPECT_EQ(faultOf(R"(/*{ "IMPORTED": [ { "NAME": "a" } ] }*/)"), "bad.fs:1: the imported picture a has no path");
    EXPECT_EQ(faultOf(R"(/*{ "IMPORTED": { "a": { "TYPE": "cube", "PATH": "x" } } }*/)"),
        "bad.fs:1: the imported picture a has no six paths");
    EXPECT_EQ(faultOf(R"(/*{ "IMPORTED": { "a": "1" }, "INPUTS": [ { "NAME": "a", "TYPE": "float" } ] }*/)"),
        "bad.fs:1: two pictures have the name a");
}

TEST(ISFDocument, TakesValuesAsFilesWriteThem)
{
    const auto document = parse(withInputs(R"(
        { "NAME": "on", "TYPE": "bool", "DEFAULT": "true" },
        { "NAME": "mode", "TYPE": "long", "VALUES": [ "3", 5 ], "LABELS": [ "Three" ] },
        { "NAME": "word", "TYPE": "long", "LABELS": [ "Off", "On" ], "DEFAULT": "On" },
        { "NAME": "level", "TYPE": "float", "DEFAULT": "0.5", "MIN": 1, "MAX": 0 },
        { "NAME": "level", "TYPE": "float" })"));
    ASSERT_EQ(document->inputs.size(), 4U) << "the same input twice is one";
    EXPECT_EQ((*document->inputs[0].defaultValue)[0], 1);
    EXPECT_EQ((*document->inputs[1].defaultValue)[0], 3) << "the first choice";
    EXPECT_EQ(document->inputs[1].labels, (std::vector<std::string> { "Three", "5" }));
    EXPECT_EQ(document->inputs[2].values, (std::vector<double> { 0, 1 }));
    EXPECT_EQ((*document->inputs[2].defaultValue)[0], 1);
    EXPECT_EQ((*document->inputs[3].minimum)[0], 0);
    EXPECT_EQ((*document->inputs[3].maximum)[0], 1);
    EXPECT_EQ((*document->inputs[3].defaultValue)[0], 0.5);
}
