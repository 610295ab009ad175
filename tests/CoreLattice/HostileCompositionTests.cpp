#include "tests/CoreLattice/CompositionFolder.h"
#include "tests/CoreLattice/Pictures.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>

using namespace Pictures;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace fs = std::filesystem;

namespace {

#define HEADER R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/)"

std::string repeated(std::string_view text, std::size_t count)
{
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

/// A picture that runs in a view while a hostile file appears in the folder.
class HostileComposition : public CompositionFolder {
protected:
    /// What becomes of the file: the reason for which it is not used. Checks that the picture went on meanwhile, and
    /// that nothing else changed.
    std::string reasonFor(std::string_view text)
    {
        return reasonFor(settings(), [&] { write(user() / "Hostile.fs", text); });
    }
    std::string reasonFor(CoreLattice::CompositionFileSettings settings, const std::function<void()>& drop)
    {
        write(user() / "Good.fs", HEADER "void main() { gl_FragColor = vec4(fract(TIME)); }");
        follow(std::move(settings));
        const auto good = composition("/Good");
        EXPECT_TRUE(good);
        view->setValue_forInputKey(plain(64, 48, { 10, 20, 30 }).get(), QCCompositionInputImageKey);
        view->loadComposition(good);
        view->startRendering();
        EXPECT_TRUE(runUntil([&] { return output(*view) != nullptr; }));
        StandardErrorCapture log;
        drop();
        EXPECT_TRUE(runUntil([&] {
            notePicture();
            return !faults().empty();
        }));
        // One more after the file was settled, so that it is seen to go on.
        const auto before = pictures;
        EXPECT_TRUE(runUntil([&] {
            notePicture();
            return pictures > before + 1;
        }));
        view->stopRendering();
        EXPECT_EQ(view->loadedComposition(), good.get()) << "the composition stays";
        EXPECT_EQ(composition("/Good"), good);
        EXPECT_EQ(composition("/Hostile"), nullptr);
        const auto all = faults();
        return all.size() == 1 ? all[0] : std::to_string(all.size()) + " faults";
    }
    void notePicture()
    {
        auto picture = output(*view);
        if (picture != last)
            ++pictures;
        last = std::move(picture);
    }
    const Ref<LTCView> view = make<LTCView>();
    Ref<CVPixelBuffer> last;
    int pictures = 0;
};

/// Whatever the machine is quick enough for: the file runs into one of the limits of the trial.
const auto takesTooLong = AnyOf(HasSubstr("longer than"), HasSubstr("time"), HasSubstr("fails on it"));

}

TEST_F(HostileComposition, AnEndlessLoop)
{
    EXPECT_THAT(reasonFor(HEADER "void main() { float x = 0.0; while (true) { for (int i = 0; i < 64; i++) x += "
                                 "sin(x + float(i)); } gl_FragColor = vec4(x); }"),
        takesTooLong);
}

TEST_F(HostileComposition, HugeLoops)
{
    EXPECT_THAT(reasonFor(HEADER "void main() { float x = 0.0; for (int i = 0; i < 100000; i++) for (int j = 0; j < "
                                 "100000; j++) for (int k = 0; k < 64; k++) x += sin(x * float(i + j + k)); "
                                 "gl_FragColor = vec4(x); }"),
        takesTooLong);
}

TEST_F(HostileComposition, GiganticPasses)
{
    EXPECT_EQ(reasonFor(R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "PASSES": [
        { "TARGET": "a", "WIDTH": "1000000000", "HEIGHT": "$WIDTH * 1e30", "FLOAT": true, "PERSISTENT": true },
        { "TARGET": "b", "WIDTH": 1e300, "HEIGHT": 8192, "FLOAT": true, "PERSISTENT": true },
        { "TARGET": "c", "WIDTH": 8192, "HEIGHT": 8192, "FLOAT": true, "PERSISTENT": true }, {} ] }*/
        void main() { gl_FragColor = vec4(1.0); })"),
        "Hostile.fs: its buffers need more than 512 MiB");
}

TEST_F(HostileComposition, PassesThatGrowTheirBuffers)
{
    std::string passes;
    for (int i = 0; i < 8; ++i) {
        const auto target = R"({ "TARGET": "t)" + std::to_string(i) + R"(", "FLOAT": true, "PERSISTENT": true)";
        passes += target + R"(, "WIDTH": 1, "HEIGHT": 1 }, )" + target + R"(, "WIDTH": 4096, "HEIGHT": 4096 }, )";
    }
    EXPECT_EQ(reasonFor(R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "PASSES": [ )" + passes
                  + "{} ] }*/ void main() { gl_FragColor = vec4(1.0); }"),
        "Hostile.fs: its buffers need more than 512 MiB");
}

TEST_F(HostileComposition, ThousandsOfPasses)
{
    EXPECT_EQ(reasonFor(R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "PASSES": [ {})"
                  + repeated(", {}", 10'000) + "] }*/ void main() { gl_FragColor = vec4(1.0); }"),
        "Hostile.fs:1: there are more than 32 passes");
}

TEST_F(HostileComposition, AHundredMegabytesOfJSON)
{
    EXPECT_EQ(reasonFor(R"(/*{ "DESCRIPTION": [)" + repeated("[0],", 25 << 20) + "0] }*/ void main() {}"),
        "Hostile.fs: the file is larger than 1 MiB");
}

TEST_F(HostileComposition, AHeaderNestedDeeply)
{
    EXPECT_EQ(reasonFor("/*{ \"A\": " + repeated("[", 500'000) + repeated("]", 500'000) + "}*/ void main() {}"),
        "Hostile.fs:1: the header is nested too deeply");
}

TEST_F(HostileComposition, AShaderNestedDeeply)
{
    EXPECT_THAT(reasonFor(HEADER "void main() { gl_FragColor = vec4(" + repeated("(", 200'000) + "1.0"
                    + repeated(")", 200'000) + "); }"),
        MatchesRegex("Hostile.fs.*"));
}

TEST_F(HostileComposition, BlocksNestedDeeply)
{
    EXPECT_THAT(reasonFor(HEADER "void main() { " + repeated("if (true) { ", 50'000) + "gl_FragColor = vec4(1.0);"
                    + repeated("}", 50'000) + " }"),
        MatchesRegex("Hostile.fs.*"));
}

TEST_F(HostileComposition, MacrosThatExplode)
{
    std::string macros = "#define A0 sin(\n";
    for (int i = 1; i < 40; ++i)
        macros += "#define A" + std::to_string(i) + " A" + std::to_string(i - 1) + " A" + std::to_string(i - 1) + "\n";
    auto limited = settings();
    limited.trial.limit = std::chrono::seconds(3);
    EXPECT_THAT(
        reasonFor(limited,
            [&] {
                write(user() / "Hostile.fs", HEADER "\n" + macros + "void main() { gl_FragColor = vec4(A39 1.0); }");
            }),
        MatchesRegex("Hostile.fs.*"));
}

TEST_F(HostileComposition, ACompilerThatHangs)
{
    auto hanging = settings(script("case $2 in *Hostile*) exec sleep 1000 ;; esac; exec " TRIAL_PROGRAM " \"$@\""));
    hanging.trial.limit = std::chrono::seconds(2);
    EXPECT_EQ(reasonFor(hanging, [&] { write(user() / "Hostile.fs", HEADER "void main() {}"); }),
        "Hostile.fs: compiling and drawing it takes longer than 2000 ms");
}

TEST_F(HostileComposition, ACompilerThatCrashes)
{
    const auto crashing
        = settings(script("case $2 in *Hostile*) kill -SEGV $$ ;; esac; exec " TRIAL_PROGRAM " \"$@\""));
    EXPECT_THAT(reasonFor(crashing, [&] { write(user() / "Hostile.fs", HEADER "void main() {}"); }),
        testing::StartsWith("Hostile.fs: the graphics driver fails on it: "));
}
