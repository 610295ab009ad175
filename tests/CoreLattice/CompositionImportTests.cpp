#include "CoreLattice/CompositionImport.h"

#include "CoreLattice/ISFDocument.h"
#include "CoreLattice/LTCCompositionPickerView.h"
#include "Platform/Foundation/NSNotification.h"
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

/// Keeps what is told of an addition at its end.
class AdditionListener : public NSObject {
    NS_OBJECT(AdditionListener)
public:
    AdditionListener()
    {
        NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
            this, "added:", LTCCompositionRepositoryDidAddFilesNotification, nullptr);
    }
    void filesWereAdded(NSNotification* notification)
    {
        EXPECT_TRUE(DispatchMain::isMainThread());
        for (const auto& value : notification->userInfo()->get<CFArray>(CFSTR("compositions"))->values())
            added.push_back(kindOf<QCComposition>(value)->identifier()->string());
        for (const auto& value : notification->userInfo()->get<CFArray>(CFSTR("unusable"))->values())
            unusable.push_back(kindOf<LTCUnusableComposition>(value)->reason()->string());
        isDone = true;
    }
    std::vector<std::string> added;
    std::vector<std::string> unusable;
    bool isDone = false;
};

NS_IMPLEMENTATION(AdditionListener, NSObject)
{
    type.message("added:", &AdditionListener::filesWereAdded);
}

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
    /// Adds these names of the source folder to the repository: gets the identifier that it tells of first.
    std::shared_ptr<std::vector<std::string>> add(const std::vector<std::string>& names)
    {
        auto paths = make<CFArray>();
        for (const auto& name : names)
            paths->append(CFString::create((source() / name).string()).get());
        auto first = std::make_shared<std::vector<std::string>>();
        mRepository->addFiles_protocol_first(paths, QCCompositionProtocolImageFilter, [first](QCComposition* filter) {
            EXPECT_TRUE(DispatchMain::isMainThread());
            first->push_back(filter->identifier()->string());
        });
        return first;
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

TEST_F(CompositionImport, ReadsEachFileOnceForBoth)
{
    write(source() / "Bent.fs", plain);
    write(source() / "Bent.vs", "void main() { isf_vertShaderInit(); }");
    write(source() / "Broken.fs", "/*{ \"INPUTS\": 3 }*/ void main() {}");
    write(user() / "Bent.fs", "somebody's");
    const auto imported = importCompositions({ source() / "Bent.fs", source() / "Broken.fs" }, user());
    ASSERT_EQ(imported.size(), 2U);
    ASSERT_TRUE(imported[0].read && imported[0].read->document);
    EXPECT_EQ(imported[0].read->fragment, plain);
    EXPECT_EQ(imported[0].read->vertex, read(source() / "Bent.vs"));
    EXPECT_EQ(imported[0].read->document->file, (user() / "Bent 2.fs").string()) << "as it stands in the copy";
    EXPECT_EQ(imported[0].read->document->name, "Bent 2");
    ASSERT_TRUE(imported[1].read);
    EXPECT_FALSE(imported[1].read->document);
    EXPECT_EQ(imported[1].read->error.text(), (user() / "Broken.fs").string() + ":1: INPUTS is no list");
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
    const auto listener = make<AdditionListener>();
    const auto first = add({ "Good.fs", "Made.fs", "Bad.fs", "Diary.fs" });
    EXPECT_TRUE(runUntil([&] { return listener->isDone; }));
    EXPECT_THAT(*first, ElementsAre("/Good"));
    EXPECT_THAT(listener->added, ElementsAre("/Good", "/Made"));
    for (const auto& identifier : listener->added)
        EXPECT_TRUE(composition(identifier));
    EXPECT_THAT(listener->unusable,
        ElementsAre(testing::MatchesRegex("Bad.fs:1: .*missing.*"),
            "Diary.fs: the file does not begin with a header in a comment"));
    EXPECT_EQ(faults().size(), 1U) << "what was copied stays in the list";
    EXPECT_EQ(picker->notice()->string(),
        listener->unusable[0] + "\n" + listener->unusable[1]
            + "\nMade: it takes no picture, so it is no filter to choose");
}

TEST_F(CompositionImport, TheFirstFilterIsThereBeforeTheOthersAreTried)
{
    write(source() / "A.fs", "/*{}*/ void main() { gl_FragColor = vec4(1.0); }");
    write(source() / "B.fs", FILTER("gl_FragColor = missing;"));
    write(source() / "C.fs", plain);
    for (int i = 0; i < 5; ++i)
        write(source() / ("D" + std::to_string(i) + ".fs"), std::string(plain) + "// " + std::to_string(i));
    write(user() / "Old.fs", FILTER("gl_FragColor = vec4(0.5);"));
    // Each trial leaves its mark, and the one of the fourth file waits for the test.
    const auto gate = mRoot / "gate";
    auto settings = this->settings(
        script("echo x >>" + (mRoot / "trials").string() + "; while [ $(wc -l <" + (mRoot / "trials").string()
            + ") -gt 4 ] && [ ! -e " + gate.string() + " ]; do sleep 0.01; done; exec " TRIAL_PROGRAM " \"$@\""));
    follow(settings);
    const auto listener = make<AdditionListener>();
    StandardErrorCapture log;
    const auto first = add({ "A.fs", "B.fs", "C.fs", "D0.fs", "D1.fs", "D2.fs", "D3.fs", "D4.fs", "missing.fs" });
    EXPECT_TRUE(runUntil([&] { return !first->empty(); }));
    EXPECT_THAT(*first, ElementsAre("/C"));
    EXPECT_TRUE(composition("/C")) << "to be chosen";
    EXPECT_FALSE(composition("/D4"));
    EXPECT_FALSE(listener->isDone);
    write(gate, "");
    EXPECT_TRUE(runUntil([&] { return listener->isDone; }));
    EXPECT_THAT(*first, ElementsAre("/C")) << "once";
    EXPECT_EQ(listener->added.size(), 7U);
    EXPECT_EQ(listener->unusable.size(), 2U);
}

TEST_F(CompositionImport, WithoutAFilterNoneIsTheFirst)
{
    write(source() / "Made.fs", "/*{}*/ void main() { gl_FragColor = vec4(1.0); }");
    follow();
    const auto listener = make<AdditionListener>();
    const auto first = add({ "Made.fs", "missing.fs" });
    EXPECT_TRUE(runUntil([&] { return listener->isDone; }));
    EXPECT_THAT(*first, IsEmpty());
    // What is there already is chosen again.
    write(source() / "Good.fs", plain);
    add({ "Good.fs" });
    const auto again = add({ "Good.fs" });
    EXPECT_TRUE(runUntil([&] { return !again->empty(); }));
    EXPECT_THAT(*again, ElementsAre("/Good"));
}
