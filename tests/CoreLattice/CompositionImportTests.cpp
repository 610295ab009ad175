#include "CoreLattice/CompositionImport.h"

#include "CoreLattice/LTCCompositionPickerView.h"
#include "tests/CoreLattice/CompositionFolder.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>

#include <iterator>

using namespace CoreLattice;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

constexpr const char* plain = FILTER("gl_FragColor = vec4(1.0);");

class CompositionImport : public CompositionFolder {
protected:
    fs::path source() const { return mRoot / "source"; }
    static std::string read(const fs::path& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return { std::istreambuf_iterator<char>(stream), {} };
    }
    /// Imports these names of the source folder: where each came to, below the user's folder, or why it did not.
    std::vector<std::string> import(const std::vector<std::string>& names)
    {
        std::vector<fs::path> files;
        for (const auto& name : names)
            files.push_back(source() / name);
        std::vector<std::string> result;
        for (const auto& imported : importCompositions(files, user()))
            result.push_back(
                imported.refusal ? imported.refusal->message : imported.file.lexically_relative(user()).string());
        return result;
    }
    std::vector<std::string> everything() const
    {
        std::vector<std::string> result;
        for (const auto& entry : fs::recursive_directory_iterator(user())) {
            if (!entry.is_directory())
                result.push_back(entry.path().lexically_relative(user()).string());
        }
        std::ranges::sort(result);
        return result;
    }
};

}

TEST_F(CompositionImport, FilesOfAFolderMayShareTheirVertexShader)
{
    write(source() / "Weather" / "Rain.fs", plain);
    write(source() / "Weather" / "Rain.isf", plain);
    write(source() / "Weather" / "Rain.vs", "void main() { isf_vertShaderInit(); }");
    EXPECT_THAT(import({ "Weather" }), testing::UnorderedElementsAre("Weather/Rain.fs", "Weather/Rain.isf"));
    EXPECT_THAT(everything(), ElementsAre("Weather/Rain.fs", "Weather/Rain.isf", "Weather/Rain.vs"));
}

TEST_F(CompositionImport, OverwritesNothing)
{
    write(source() / "Rain.fs", plain);
    EXPECT_THAT(import({ "Rain.fs" }), ElementsAre("Rain.fs"));
    EXPECT_THAT(import({ "Rain.fs" }), ElementsAre("Rain.fs")) << "the same again";
    write(source() / "Rain.fs", FILTER("gl_FragColor = vec4(0.5);"));
    EXPECT_THAT(import({ "Rain.fs" }), ElementsAre("Rain 2.fs"));
    write(source() / "Rain.fs", FILTER("gl_FragColor = vec4(0.25);"));
    write(user() / "Rain 3.vert", "somebody's");
    EXPECT_THAT(import({ "Rain.fs" }), ElementsAre("Rain 4.fs"));
    EXPECT_EQ(read(user() / "Rain.fs"), plain);
    EXPECT_THAT(everything(), ElementsAre("Rain 2.fs", "Rain 3.vert", "Rain 4.fs", "Rain.fs"));
}

TEST_F(CompositionImport, BringsWhatBelongsToIt)
{
    write(source() / "Bent.frag", plain);
    write(source() / "Bent.vert", "void main() { isf_vertShaderInit(); }");
    write(source() / "Paper.fs",
        R"(/*{ "IMPORTED": { "a": { "PATH": "pictures/a.png" }, "b": { "PATH": "../secret.png" }, "c": { "PATH": "missing.png" } } }*/ void main() {})");
    write(source() / "pictures" / "a.png", "picture");
    write(mRoot / "secret.png", "secret");
    EXPECT_THAT(import({ "Bent.frag", "Paper.fs", "Paper.fs" }),
        ElementsAre("Bent.frag", "Paper/Paper.fs", "Paper 2/Paper.fs"));
    EXPECT_THAT(everything(),
        ElementsAre("Bent.frag", "Bent.vert", "Paper 2/Paper.fs", "Paper 2/pictures/a.png", "Paper/Paper.fs",
            "Paper/pictures/a.png"));
    EXPECT_EQ(read(user() / "Paper/pictures/a.png"), "picture");
    write(source() / "Bent.vert", "void main() { isf_vertShaderInit(); gl_Position.x *= 0.5; }");
    EXPECT_THAT(import({ "Bent.frag" }), ElementsAre("Bent 2.frag")) << "with another vertex shader";
    EXPECT_EQ(read(user() / "Bent 2.vert"), read(source() / "Bent.vert"));
}

TEST_F(CompositionImport, TakesAFolderWithAllItsCompositions)
{
    write(source() / "Weather" / "Rain.fs", plain);
    write(source() / "Weather" / "Cold" / "Snow.isf", plain);
    write(source() / "Weather" / "Cold" / "Snow.vs", "void main() { isf_vertShaderInit(); }");
    write(source() / "Weather" / "notes.txt", "text");
    fs::create_directories(source() / "Empty");
    EXPECT_THAT(import({ "Weather", "Empty" }),
        ElementsAre("Weather/Cold/Snow.isf", "Weather/Rain.fs", "there is no composition in the folder"));
    EXPECT_THAT(everything(), ElementsAre("Weather/Cold/Snow.isf", "Weather/Cold/Snow.vs", "Weather/Rain.fs"));
    EXPECT_THAT(import({ "Weather/" }), ElementsAre("Weather 2/Cold/Snow.isf", "Weather 2/Rain.fs"));
}

TEST_F(CompositionImport, RefusesWhatIsNoComposition)
{
    write(source() / "notes.txt", plain);
    write(source() / "Diary.fs", "Dear diary");
    write(source() / "Binary.fs", std::string_view("/*{}*/\0", 7));
    write(source() / "Huge.fs", "");
    fs::resize_file(source() / "Huge.fs", std::uintmax_t { 1 } << 40);
    EXPECT_THAT(import({ "notes.txt", "Diary.fs", "Binary.fs", "Huge.fs", "missing.fs" }),
        ElementsAre("it is no composition: those end in .fs, .isf or .frag",
            "the file does not begin with a header in a comment", "the file is not text",
            "the file is larger than 1 MiB", "there is no such file"));
    write(user() / "Here.fs", plain);
    EXPECT_THAT(import({ "../user/tovrin/compositions/Here.fs" }).size(), 1U);
    EXPECT_THAT(everything(), ElementsAre("Here.fs")) << "what is there is not copied";
}

TEST_F(CompositionImport, SaysWhenItCannotCopy)
{
    write(source() / "Rain.fs", plain);
    write(user() / "file", "");
    const auto imported = importCompositions({ source() / "Rain.fs" }, user() / "file");
    ASSERT_EQ(imported.size(), 1U);
    EXPECT_EQ(imported[0].refusal->message, "it cannot be copied: Not a directory");
}

TEST_F(CompositionImport, TheRepositoryTellsWhatCameOfIt)
{
    write(source() / "Good.fs", plain);
    write(source() / "Made.fs", "/*{}*/ void main() { gl_FragColor = vec4(1.0); }");
    write(source() / "Bad.fs", FILTER("gl_FragColor = missing;"));
    write(source() / "Diary.fs", "Dear diary");
    auto& repository = follow();
    const auto picker = make<LTCCompositionPickerView>();
    picker->setRepository(&repository);
    picker->setCompositionsFromRepositoryWithProtocol_andAttributes(QCCompositionProtocolImageFilter, nullptr);
    StandardErrorCapture log;
    auto paths = make<CFArray>();
    for (const auto* const name : { "Good.fs", "Made.fs", "Bad.fs", "Diary.fs" })
        paths->append(CFString::create((source() / name).string()).get());
    std::vector<std::string> added;
    std::vector<std::string> unusable;
    bool isDone = false;
    repository.addFiles_completion(paths, [&](CFArray* compositions, CFArray* files) {
        EXPECT_TRUE(DispatchMain::isMainThread());
        for (const auto& value : compositions->values()) {
            added.push_back(kindOf<QCComposition>(value)->identifier()->string());
            EXPECT_EQ(composition(added.back()), kindOf<QCComposition>(value));
        }
        for (const auto& value : files->values())
            unusable.push_back(kindOf<LTCUnusableComposition>(value)->reason()->string());
        isDone = true;
    });
    EXPECT_TRUE(runUntil([&] { return isDone; }));
    EXPECT_THAT(added, ElementsAre("/Good", "/Made"));
    EXPECT_THAT(unusable,
        ElementsAre(testing::MatchesRegex("Bad.fs:1: .*missing.*"),
            "Diary.fs: the file does not begin with a header in a comment"));
    EXPECT_EQ(faults().size(), 1U) << "what was copied stays in the list";
    EXPECT_EQ(picker->notice()->string(),
        unusable[0] + "\n" + unusable[1] + "\nMade: it takes no picture, so it is no filter to choose");
}
