#include "Platform/AppKit/NSApplication.h"
#include "Platform/AppKit/NSNib.h"
#include "Platform/AppKit/NSWindowController.h"
#include "Platform/AppKit/Quick/QuickApplication.h"

#include <gmock/gmock.h>
#include <QAccessible>
#include <QQuickItem>
#include <QQuickWindow>

#include <memory>

using testing::IsEmpty;

namespace {

int argumentCount = 1;
char programName[] = "tovrin";
char* arguments[] = { programName, nullptr };

/// The program's own files with the program's own classes; nothing is launched.
class InterfaceFiles : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("QT_QUICK_BACKEND", "software");
        application() = std::make_unique<QuickApplication>(argumentCount, arguments);
        mainProblem() = application()->loader().load("MainMenu", NSApplication::sharedApplication());
    }
    static void TearDownTestSuite() { application().reset(); }

    static std::unique_ptr<QuickApplication>& application()
    {
        static std::unique_ptr<QuickApplication> application;
        return application;
    }
    static std::optional<std::string>& mainProblem()
    {
        static std::optional<std::string> problem;
        return problem;
    }

    /// The window that the delegate's controller under \p outlet loads; null when its file is wrong.
    static QQuickWindow* windowOf(std::string_view outlet)
    {
        const AutoreleasePool pool;
        auto* const delegate = NSApplication::sharedApplication()->delegate();
        const auto* const found = delegate ? delegate->isa()->outlet(outlet) : nullptr;
        const auto controller = found ? found->get(*delegate) : nullptr;
        auto* const windowController = kindOf<NSWindowController>(controller);
        auto* const window = windowController ? windowController->window() : nullptr;
        return window ? dynamic_cast<QQuickWindow*>(window->host()) : nullptr;
    }

    /// Items that take the keyboard or the mouse's clicks and say no name to a screen reader.
    static void collectNameless(QQuickItem* item, std::vector<std::string>& nameless, int& controls)
    {
        const bool isControl = item->activeFocusOnTab() || item->inherits("QQuickAbstractButton")
            || item->inherits("QQuickComboBox") || item->inherits("QQuickSlider");
        if (isControl) {
            ++controls;
            auto* const accessible = QAccessible::queryAccessibleInterface(item);
            if (!accessible || accessible->text(QAccessible::Name).isEmpty())
                nameless.emplace_back(item->metaObject()->className());
        }
        for (auto* const child : item->childItems())
            collectNameless(child, nameless, controls);
    }

    static void expectNamedControls(QQuickWindow* window, int atLeast)
    {
        ASSERT_TRUE(window);
        std::vector<std::string> nameless;
        int controls = 0;
        collectNameless(window->contentItem(), nameless, controls);
        EXPECT_THAT(nameless, IsEmpty());
        EXPECT_GE(controls, atLeast);
    }
};

TEST_F(InterfaceFiles, TheMainFileIsWhole)
{
    EXPECT_EQ(mainProblem().value_or(""), "");
}

TEST_F(InterfaceFiles, TheMenusHaveTheKeysOfTheProgram)
{
    const auto* const menu = NSApplication::sharedApplication()->mainMenu();
    ASSERT_TRUE(menu);
    for (const auto* const keys : { "Ctrl+S", "Ctrl+R", "Ctrl+Shift+O", "Ctrl+Q" }) {
        const auto* const item = menu->itemWithKeyEquivalent(keys);
        ASSERT_TRUE(item) << keys;
        EXPECT_TRUE(item->isEnabled()) << keys;
    }
}

TEST_F(InterfaceFiles, TheMainWindowsFileIsWholeAndItsControlsHaveNames)
{
    // Menu bar with three menus, camera, snapshot, record, two folders.
    expectNamedControls(windowOf("outletWindowController"), 8);
}

TEST_F(InterfaceFiles, TheOutputWindowsFileIsWholeAndItsControlsHaveNames)
{
    // Table, install, remove.
    expectNamedControls(windowOf("outletExtensionController"), 3);
}

}
