#include "CoreLattice/CompositionFolders.h"
#include "Platform/Foundation/NSNotification.h"
#include "tests/CoreLattice/CompositionFolder.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include <sys/stat.h>

using namespace CoreLattice;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

namespace fs = std::filesystem;

namespace {

constexpr const char* plain = FILTER("gl_FragColor = vec4(1.0);");
constexpr const char* broken = FILTER("\n\ngl_FragColor = missing;");

class CompositionFiles : public CompositionFolder {
protected:
    /// Counts the notifications of the repository that is followed.
    void count()
    {
        mToken = NSNotificationCenter::defaultCenter()->addObserverForName_object_queue_usingBlock(
            LTCCompositionRepositoryDidUpdateNotification, mRepository, nullptr, [this](NSNotification*) {
                EXPECT_TRUE(DispatchMain::isMainThread());
                ++mUpdates;
            });
    }
    ~CompositionFiles() override
    {
        if (mToken)
            NSNotificationCenter::defaultCenter()->removeObserver(mToken);
    }
    std::vector<std::string> names() const
    {
        std::vector<std::string> result;
        for (const auto& file : compositionFilesIn({ user(), system() }))
            result.push_back(file.name);
        return result;
    }
    int mUpdates = 0;
    Ref<NSObject> mToken;
};

}

TEST_F(CompositionFiles, LieInFoldersAndBelowThem)
{
    for (const auto* const name : { "b.fs", "a.FS", "c.frag", "c.isf", "d/e/f.fs", ".hidden.fs", "text.txt", "x.vs" })
        write(user() / name, plain);
    write(user() / "c.vert", "");
    write(user() / "b.vs", "");
    write(system() / "b.fs", plain);
    write(system() / "g.fs", plain);
    fs::create_directories(user() / "folder.fs");
    fs::create_directory_symlink(user(), user() / "round");
    ::mkfifo((user() / "pipe.fs").c_str(), 0600);
    EXPECT_THAT(names(), ElementsAre("a", "b", "c", "c.frag", "d/e/f", "g"));
    const auto files = compositionFilesIn({ user(), system() });
    EXPECT_EQ(files[1].fragment, user() / "b.fs") << "the user's file hides the system's";
    EXPECT_EQ(files[1].vertex, user() / "b.vs");
    EXPECT_EQ(files[2].fragment, user() / "c.isf");
    EXPECT_EQ(files[2].vertex, user() / "c.vert");
    EXPECT_EQ(files[0].vertex, fs::path());
}

TEST_F(CompositionFiles, LieWhereTheDesktopKeepsData)
{
    setenv("XDG_DATA_HOME", "/home/somebody/data", 1);
    setenv("XDG_DATA_DIRS", "/one:relative:/two/", 1);
    EXPECT_THAT(usualCompositionFolders(),
        ElementsAre("/home/somebody/data/tovrin/compositions", "/one/tovrin/compositions", "/two/tovrin/compositions"));
    setenv("XDG_DATA_HOME", "relative", 1);
    setenv("HOME", "/home/somebody", 1);
    unsetenv("XDG_DATA_DIRS");
    EXPECT_THAT(usualCompositionFolders(),
        ElementsAre("/home/somebody/.local/share/tovrin/compositions", "/usr/local/share/tovrin/compositions",
            "/usr/share/tovrin/compositions"));
}

TEST_F(CompositionFiles, AreOfferedOnceTheyWereTried)
{
    write(user() / "Own.fs", plain);
    write(user() / "Weather" / "Rain.frag", "in float rain;" FILTER("gl_FragColor = vec4(rain);"));
    write(user() / "Weather" / "Rain.vert", "out float rain; void main() { isf_vertShaderInit(); rain = 0.5; }");
    write(user() / "Made.fs", "/*{}*/ void main() { gl_FragColor = vec4(1.0); }");
    write(system() / "System.fs", plain);
    auto& repository = follow();
    EXPECT_THAT(faults(), IsEmpty());
    const auto all = filters();
    ASSERT_GE(all.size(), 3U);
    EXPECT_THAT(std::vector(all.end() - 3, all.end()), ElementsAre("/Own", "/System", "/Weather/Rain"));
    EXPECT_THAT(all, Contains("/sharpen"));
    EXPECT_THAT(all, Not(Contains("/Made"))) << "it takes no picture";
    const auto made = repository.compositionWithIdentifier(CFSTR("/Made"));
    ASSERT_TRUE(made);
    EXPECT_EQ(made->name()->string(), "Made");
}

TEST_F(CompositionFiles, TheOneOfTheUserGoesBeforeTheSystems)
{
    write(user() / "Same.fs", R"(/*{ "LABEL": "The user's" }*/ void main() { gl_FragColor = vec4(1.0); })");
    write(system() / "Same.fs", R"(/*{ "LABEL": "The system's" }*/ void main() { gl_FragColor = vec4(1.0); })");
    follow();
    EXPECT_EQ(composition("/Same")->name()->string(), "The user's");
    fs::remove(user() / "Same.fs");
    EXPECT_TRUE(runUntil([&] { return composition("/Same")->name()->string() == "The system's"; }));
}

TEST_F(CompositionFiles, WhatTheApplicationRegistersStaysWhatItIs)
{
    write(user() / "QCImageFilterRetro.fs", plain);
    write(user() / "sharpen.fs", plain);
    auto& repository = follow();
    repository.registerApplicationCompositionWithName(CFSTR("QCImageFilterRetro"));
    EXPECT_EQ(composition("/QCImageFilterRetro")->name()->string(), "Retro");
    const auto all = filters();
    EXPECT_THAT(std::vector(all.end() - 2, all.end()), ElementsAre("/QCImageFilterRetro.fs", "/sharpen.fs"));
}

TEST_F(CompositionFiles, ThatCannotBeUsedAreListedWithTheReason)
{
    write(user() / "Header.fs", "/*{*/");
    write(user() / "Shader.fs", broken);
    write(user() / "Vertex.fs", plain);
    write(user() / "Vertex.vert", "\nvoid main() { isf_vertShaderInit(); lost = 1.0; }");
    write(user() / "Long.fs", std::string(3 << 20, ' '));
    write(user() / "Text.fs", "Dear diary");
    StandardErrorCapture log;
    auto& repository = follow();
    EXPECT_THAT(faults(),
        ElementsAre(MatchesRegex("Header.fs:1: the header is no JSON: .*"), "Long.fs: the file is larger than 1 MiB",
            MatchesRegex("Shader.fs:3: .*missing.*"), "Text.fs:1: the file does not begin with a header in a comment",
            MatchesRegex("Vertex.vert:2: .*lost.*")));
    auto* const vertex = kindOf<LTCUnusableComposition>(repository.unusableCompositions()->objectAtIndex(4));
    EXPECT_EQ(vertex->name()->string(), "Vertex");
    EXPECT_EQ(vertex->file()->string(), (user() / "Vertex.vert").string());
    EXPECT_EQ(vertex->line(), 2);
    EXPECT_THAT(vertex->message()->string(), testing::HasSubstr("lost"));
    EXPECT_EQ(composition("/Shader"), nullptr);
    EXPECT_THAT(
        log.text(), testing::HasSubstr("A composition cannot be used: " + (user() / "Shader.fs").string() + ":3: "));
}

TEST_F(CompositionFiles, AnEmptyOneIsListedAndTakenOnceItIsWritten)
{
    write(user() / "Empty.fs", "");
    StandardErrorCapture log;
    follow();
    EXPECT_THAT(faults(), ElementsAre("Empty.fs:1: the file does not begin with a header in a comment"));
    EXPECT_EQ(composition("/Empty"), nullptr);
    write(user() / "Empty.fs", plain);
    EXPECT_TRUE(runUntil([&] { return composition("/Empty") && faults().empty(); }));
    write(user() / "Empty.fs", "");
    EXPECT_TRUE(runUntil([&] { return !faults().empty(); }));
    EXPECT_TRUE(composition("/Empty")) << "as it was";
}

TEST_F(CompositionFiles, MayHaveAnyNameThatAFileCanHave)
{
    const std::array names { std::string("\xff\xfe odd"), std::string("two\nlines"), std::string("100% %s %@ %n"),
        std::string("quo\"te's"), std::string("a.b.c"), std::string("\xc3\xbc\xe2\x82\xac"), std::string(240, 'x'),
        std::string("-rf"), std::string("$HOME `x`") };
    for (const auto& name : names)
        write(user() / (name + ".fs"), plain);
    write(user() / "bad %s %n \xff.fs", broken);
    StandardErrorCapture log;
    follow();
    for (const auto& name : names)
        EXPECT_TRUE(composition("/" + name)) << name;
    EXPECT_THAT(faults(), ElementsAre(MatchesRegex("bad %s %n \xff.fs:3: .*missing.*")));
}

TEST_F(CompositionFiles, LinksThatLeadNowhereOrRoundArePassedOver)
{
    write(user() / "Good.fs", plain);
    fs::create_symlink(user() / "Loop.fs", user() / "Loop.fs");
    fs::create_symlink(user() / "gone.fs", user() / "Dangling.fs");
    fs::create_directory_symlink(user() / "loop", user() / "loop");
    fs::create_directory_symlink("..", user() / "up");
    fs::create_directories(user() / "deep");
    fs::create_directory_symlink(user(), user() / "deep" / "round");
    fs::create_symlink(user() / "Good.fs", user() / "deep" / "Linked.fs");
    EXPECT_THAT(names(), ElementsAre("Good", "deep/Linked"));
    follow();
    EXPECT_TRUE(composition("/Good"));
    EXPECT_TRUE(composition("/deep/Linked"));
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(CompositionFiles, ALinkToAllThereIsDoesNotKeepTheQueueForever)
{
    // More folders than anybody has for compositions.
    constexpr int folders = 4500;
    for (int i = 0; i < folders; ++i)
        write(mRoot / "much" / std::to_string(i) / "A.fs", "");
    write(user() / "Good.fs", plain);
    fs::create_directory_symlink(mRoot / "much", user() / "much");
    const auto found = names();
    EXPECT_THAT(found, Contains("Good"));
    EXPECT_GT(found.size(), 4000U);
    EXPECT_LT(found.size(), static_cast<std::size_t>(folders)) << "the search ends";
}

TEST_F(CompositionFiles, AFolderThatGoesTakesItsCompositionsAlong)
{
    write(user() / "Kept" / "A.fs", plain);
    write(user() / "B.fs", plain);
    write(system() / "B.fs", R"(/*{ "LABEL": "The system's" }*/ void main() { gl_FragColor = vec4(1.0); })");
    follow();
    ASSERT_TRUE(composition("/Kept/A"));
    fs::rename(user(), mRoot / "elsewhere");
    EXPECT_TRUE(runUntil([&] { return !composition("/Kept/A"); }));
    EXPECT_EQ(composition("/B")->name()->string(), "The system's");
    fs::rename(mRoot / "elsewhere", user());
    EXPECT_TRUE(runUntil([&] { return composition("/Kept/A") && composition("/B")->name()->string() == "B"; }));
}

TEST_F(CompositionFiles, OneThatCannotBeReadIsListed)
{
    // A file that opens and gives an error instead of bytes, whoever reads it.
    fs::create_symlink("/proc/self/mem", user() / "Secret.fs");
    StandardErrorCapture log;
    follow();
    EXPECT_THAT(faults(), ElementsAre("Secret.fs: the file cannot be read"));
}

TEST_F(CompositionFiles, AreFollowedAsTheyChange)
{
    write(user() / "Stays.fs", plain);
    follow();
    count();
    const auto stays = composition("/Stays");
    write(user() / "New.fs", plain);
    EXPECT_TRUE(runUntil([&] { return composition("/New") != nullptr; }));
    const auto first = composition("/New");
    write(user() / "New.fs", FILTER("gl_FragColor = vec4(0.5);"));
    EXPECT_TRUE(runUntil([&] { return composition("/New") != first; }));
    EXPECT_EQ(composition("/New")->identifier()->string(), "/New");
    fs::rename(user() / "New.fs", user() / "Other.fs");
    EXPECT_TRUE(runUntil([&] { return composition("/Other") && !composition("/New"); }));
    fs::remove(user() / "Other.fs");
    EXPECT_TRUE(runUntil([&] { return !composition("/Other"); }));
    EXPECT_EQ(composition("/Stays"), stays) << "what did not change is the same";
    EXPECT_TRUE(runUntil([&] { return mUpdates >= 4; }));
    // Written with the same contents, and something else in the folder.
    write(user() / "Stays.fs", plain);
    write(user() / "notes.txt", "text");
    waitUntilRead();
    EXPECT_EQ(mUpdates, 4);
}

TEST_F(CompositionFiles, ABrokenEditLeavesTheCompositionAndIsListed)
{
    write(user() / "Edited.fs", plain);
    follow();
    const auto good = composition("/Edited");
    ASSERT_TRUE(good);
    StandardErrorCapture log;
    write(user() / "Edited.fs", broken);
    EXPECT_TRUE(runUntil([&] { return !faults().empty(); }));
    EXPECT_THAT(faults(), ElementsAre(MatchesRegex("Edited.fs:3: .*missing.*")));
    EXPECT_EQ(composition("/Edited"), good);
    write(user() / "Edited.fs", FILTER("gl_FragColor = vec4(0.25);"));
    EXPECT_TRUE(runUntil([&] { return faults().empty(); }));
    EXPECT_NE(composition("/Edited"), good);
}

TEST_F(CompositionFiles, AVertexShaderBesideIsPartOfIt)
{
    write(user() / "Edited.fs", plain);
    follow();
    const auto before = composition("/Edited");
    write(user() / "Edited.vs", "void main() { isf_vertShaderInit(); }");
    EXPECT_TRUE(runUntil([&] { return composition("/Edited") != before; }));
}

TEST_F(CompositionFiles, AreTriedOnceAndNotByTheMainThread)
{
    const auto program = script("echo run >> " + (mRoot / "runs").string() + "; exec " TRIAL_PROGRAM " \"$@\"");
    for (int i = 0; i < 20; ++i)
        write(user() / (std::to_string(i) + ".fs"), plain + std::string(static_cast<std::size_t>(i % 4), ' '));
    for (int i = 0; i < 2; ++i) {
        const auto start = std::chrono::steady_clock::now();
        mRepository = make<LTCCompositionRepository>();
        mRepository->followFiles(settings(program));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
        waitUntilRead();
        EXPECT_TRUE(composition("/19"));
    }
    EXPECT_EQ(fs::file_size(mRoot / "runs"), 4 * 4U) << "four lines of \"run\"";
}

TEST_F(CompositionFiles, ARepositoryThatGoesEndsItsTrials)
{
    write(user() / "Slow.fs", plain);
    auto hanging = settings(script("touch " + (mRoot / "begun").string() + "; exec sleep 1000"));
    mRepository = make<LTCCompositionRepository>();
    mRepository->followFiles(hanging);
    EXPECT_TRUE(runUntil([&] { return fs::exists(mRoot / "begun"); }));
    const auto start = std::chrono::steady_clock::now();
    mRepository = nullptr;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}
