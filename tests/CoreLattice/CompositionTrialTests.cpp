#include "CoreLattice/CompositionTrial.h"

#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include <unistd.h>

using namespace CoreLattice;

namespace {

constexpr const char* good = "/*{}*/ void main() { gl_FragColor = vec4(1.0); }";

class CompositionTrialTest : public testing::Test {
protected:
    CompositionTrialTest()
    {
        std::string name = (std::filesystem::temp_directory_path() / "tovrin-trial-XXXXXX").string();
        mFolder = mkdtemp(name.data());
    }
    ~CompositionTrialTest() override { std::filesystem::remove_all(mFolder); }

    CompositionTrial::Settings settings(std::string program = TRIAL_PROGRAM) const
    {
        return { std::move(program), (mFolder / "cache").string(), std::chrono::seconds(60) };
    }
    std::string script(const std::string& text) const
    {
        const auto path = mFolder / "script";
        std::ofstream(path) << "#!/bin/sh\n" << text << '\n';
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path.string();
    }
    std::size_t cached() const
    {
        std::error_code error;
        const std::filesystem::directory_iterator entries(mFolder / "cache", error);
        return error ? 0 : static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }
    std::filesystem::path mFolder;
};

std::string textOf(const std::optional<CompositionError>& error)
{
    return error ? error->text() : "good";
}

}

TEST_F(CompositionTrialTest, LetsGoodOnesPassAndNamesTheFaultsOfOthers)
{
    CompositionTrial trial(settings());
    EXPECT_EQ(textOf(trial.run(good, "", "folder/a.fs")), "good");
    EXPECT_EQ(textOf(trial.run("/*{*/", "", "a.fs")).find("a.fs:1: the header is no JSON: "), 0U);
    EXPECT_THAT(textOf(trial.run("/*{}*/\nvoid main() { gl_FragColor = missing; }", "", "a.fs")),
        testing::MatchesRegex("a.fs:2: .*missing.*"));
    EXPECT_THAT(textOf(trial.run(good, "\n\nvoid main() { isf_vertShaderInit(); lost = 1.0; }", "b/a.fs")),
        testing::MatchesRegex("b/a.vs:3: .*lost.*"));
    EXPECT_EQ(
        textOf(trial.run(
            R"(/*{ "PASSES": [ { "TARGET": "a", "WIDTH": 4096, "HEIGHT": 4096, "FLOAT": true, "PERSISTENT": true },
        { "TARGET": "b" } ] }*/ void main() { gl_FragColor = vec4(1.0); })",
            "", "a.fs")),
        "a.fs: its buffers need more than 512 MiB");
}

TEST_F(CompositionTrialTest, TriesAFileOnce)
{
    const auto program = script("echo run >> " + (mFolder / "runs").string() + "; exec " TRIAL_PROGRAM " \"$@\"");
    const std::string bad = "/*{}*/\nvoid main() { gl_FragColor = missing; }";
    for (int i = 0; i < 2; ++i) {
        CompositionTrial trial(settings(program));
        for (int k = 0; k < 2; ++k) {
            EXPECT_EQ(textOf(trial.run(good, "", "a.fs")), "good");
            EXPECT_EQ(textOf(trial.run(bad, "", "other.fs")).find("other.fs:2: "), 0U);
        }
    }
    EXPECT_EQ(std::filesystem::file_size(mFolder / "runs"), 8U) << "two lines of \"run\"";
    EXPECT_EQ(cached(), 2U);
}

TEST_F(CompositionTrialTest, RemembersNothingOnAFullDisk)
{
    const std::string bad = "/*{}*/\nvoid main() { gl_FragColor = missing; }";
    EXPECT_THAT(textOf(CompositionTrial(settings()).run(bad, "", "a.fs")), testing::HasSubstr("missing"));
    ASSERT_EQ(cached(), 1U);
    // What is written there next meets a disk without room.
    const auto known = std::filesystem::directory_iterator(mFolder / "cache")->path();
    std::filesystem::remove(known);
    std::filesystem::create_symlink("/dev/full", known.string() + "." + std::to_string(getpid()));
    EXPECT_THAT(textOf(CompositionTrial(settings()).run(bad, "", "a.fs")), testing::HasSubstr("missing"));
    EXPECT_EQ(cached(), 0U);
    EXPECT_THAT(textOf(CompositionTrial(settings()).run(bad, "", "a.fs")), testing::HasSubstr("missing"));
    EXPECT_EQ(cached(), 1U) << "as soon as there is room";
}

TEST_F(CompositionTrialTest, TriesAgainWhatWasRememberedByHalves)
{
    const std::string bad = "/*{}*/\nvoid main() { gl_FragColor = missing; }";
    EXPECT_THAT(textOf(CompositionTrial(settings()).run(bad, "", "a.fs")), testing::HasSubstr("missing"));
    const auto known = std::filesystem::directory_iterator(mFolder / "cache")->path();
    for (const auto* const half : { "", "go", "bad", "bad\t", "bad\t2", "bad\t2\tf" }) {
        std::ofstream(known, std::ios::binary) << half;
        EXPECT_THAT(
            textOf(CompositionTrial(settings()).run(bad, "", "a.fs")), testing::MatchesRegex("a.fs:2: .*missing.*"))
            << half;
    }
}

TEST_F(CompositionTrialTest, AFileCannotSpeakForTheTrial)
{
    for (const auto* const words : { "composition-trial\tgood", "composition-trial\tunknown" }) {
        const auto text = textOf(
            CompositionTrial(settings()).run("/*{}*/\n#error " + std::string(words) + "\nvoid main() {}", "", "a.fs"));
        EXPECT_EQ(text.find("a.fs:2: "), 0U) << text;
    }
}

TEST_F(CompositionTrialTest, KillsWhatHangs)
{
    auto hanging = settings(script("exec sleep 1000"));
    hanging.limit = std::chrono::milliseconds(100);
    CompositionTrial trial(hanging);
    EXPECT_EQ(textOf(trial.run(good, "", "a.fs")), "a.fs: compiling and drawing it takes longer than 100 ms");
    EXPECT_EQ(cached(), 0U) << "on another day the machine may be quicker";
}

TEST_F(CompositionTrialTest, RefusesWhatBringsTheDriverDown)
{
    CompositionTrial trial(settings(script("kill -SEGV $$")));
    EXPECT_THAT(textOf(trial.run(good, "", "a.fs")),
        testing::AllOf(
            testing::StartsWith("a.fs: the graphics driver fails on it: "), testing::HasSubstr("Segmentation fault")));
    EXPECT_EQ(cached(), 1U);
}

TEST_F(CompositionTrialTest, IsNotInTheWayWhereItCannotBeMade)
{
    StandardErrorCapture log;
    CompositionTrial failing(settings(script("exit 3")));
    EXPECT_EQ(textOf(failing.run(good, "", "a.fs")), "good");
    CompositionTrial unknown(settings(script("printf 'composition-trial\\tunknown\\n'")));
    EXPECT_EQ(textOf(unknown.run(good, "", "a.fs")), "good");
    EXPECT_EQ(cached(), 0U);
}
