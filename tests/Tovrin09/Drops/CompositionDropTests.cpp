#include "Tovrin09/LTCCamWindow/LTCCamWindowController.h"

#include "CoreLattice/LTCCompositionRepository.h"
#include "Platform/dispatch/dispatch.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

constexpr const char* filter
    = R"(/*{ "LABEL": "Dropped", "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/ void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage); })";
constexpr const char* generator = R"(/*{}*/ void main() { gl_FragColor = vec4(1.0); })";
constexpr const char* broken
    = R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/ void main() { gl_FragColor = missing; })";

/// Hears that all files of a drop have been tried.
class DropListener : public NSObject {
    NS_OBJECT(DropListener)
public:
    DropListener()
    {
        NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
            this, "added:", LTCCompositionRepositoryDidAddFilesNotification, nullptr);
    }
    void added(NSNotification* notification)
    {
        unusable = notification->userInfo()->get<CFArray>(CFSTR("unusable"))->count();
        isDone = true;
    }
    std::size_t unusable = 0;
    bool isDone = false;
};

NS_IMPLEMENTATION(DropListener, NSObject)
{
    type.message("added:", &DropListener::added);
}

/// The process's repository looks at a home of the test's own: each case is a process.
class CompositionDrop : public testing::Test {
protected:
    CompositionDrop()
    {
        std::string name = (fs::temp_directory_path() / "tovrin-drop-XXXXXX").string();
        root = mkdtemp(name.data());
        for (const auto* const variable : { "XDG_DATA_HOME", "XDG_CACHE_HOME" })
            ::setenv(variable, root.c_str(), 1);
        ::setenv("XDG_DATA_DIRS", (root / "system").c_str(), 1);
        controller->outletQCView = view;
    }
    ~CompositionDrop() override { fs::remove_all(root); }

    /// Drops files of these texts, in their order, and waits until all have been tried.
    std::size_t drop(const std::vector<std::pair<std::string, std::string>>& files)
    {
        auto urls = make<CFArray>();
        for (const auto& [name, text] : files) {
            fs::create_directories(root / "desktop");
            std::ofstream(root / "desktop" / name) << text;
            urls->append(make<NSURL>((root / "desktop" / name).string()).get());
        }
        const auto listener = make<DropListener>();
        const auto drag = make<NSDraggingInfo>(urls);
        EXPECT_EQ(controller->draggingEntered(drag), NSDragOperationCopy);
        EXPECT_TRUE(controller->performDragOperation(drag));
        EXPECT_TRUE(DispatchMain::runUntil([&] { return listener->isDone; }, 60));
        return listener->unusable;
    }
    std::string loaded() const
    {
        const auto* const composition = view->loadedComposition();
        return composition ? composition->identifier()->string() : "";
    }

    const AutoreleasePool pool;
    fs::path root;
    const Ref<LTCCamWindowController> controller = make<LTCCamWindowController>();
    const Ref<QCViewWithImageFilterOutput> view = make<QCViewWithImageFilterOutput>();
};

}

TEST_F(CompositionDrop, TheFirstFilterAmongTheFilesIsChosenAndAllAreKept)
{
    StandardErrorCapture log;
    EXPECT_EQ(drop({ { "A.fs", generator }, { "B.fs", broken }, { "notes.txt", "text" }, { "C.fs", filter },
                  { "D.fs", std::string(filter) + "//" } }),
        2U);
    EXPECT_EQ(loaded(), "/C");
    EXPECT_EQ(view->loadedComposition()->name()->string(), "Dropped");
    for (const auto* const name : { "A.fs", "B.fs", "C.fs", "D.fs" })
        EXPECT_TRUE(fs::exists(root / "tovrin" / "compositions" / name)) << name;
    EXPECT_FALSE(fs::exists(root / "tovrin" / "compositions" / "notes.txt"));
}

TEST_F(CompositionDrop, WithoutAFilterThePresentOneStays)
{
    StandardErrorCapture log;
    drop({ { "C.fs", filter } });
    EXPECT_EQ(drop({ { "A.fs", generator }, { "B.fs", broken } }), 1U);
    EXPECT_EQ(loaded(), "/C");
}

TEST_F(CompositionDrop, AFilterThatIsDroppedAgainIsChosenAgain)
{
    drop({ { "C.fs", filter } });
    drop({ { "E.fs", std::string(filter) + "//" } });
    EXPECT_EQ(loaded(), "/E");
    drop({ { "C.fs", filter } });
    EXPECT_EQ(loaded(), "/C");
    EXPECT_FALSE(fs::exists(root / "tovrin" / "compositions" / "C 2.fs"));
}
