#include "tests/AppKit/Quick/QuickTest.h"

#include "Platform/AppKit/NSApplication.h"
#include "Platform/AppKit/NSButton.h"
#include "Platform/AppKit/NSMenu.h"
#include "Platform/AppKit/NSWindowController.h"

#include <QKeyEvent>
#include <QQuickItem>
#include <QWindow>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::vector<std::string> awakened;

class Holder : public NSObject {
    NS_OBJECT(Holder)
public:
    void awakeFromNib() override { awakened.push_back(partner.strongReference() ? "with its partner" : "alone"); }
    void act(NSObject* sender) { lastSender = sender; }
    WeakRef<Holder> partner;
    WeakRef<NSButton> button;
    Ref<NSObject> lastSender;
};

NS_IMPLEMENTATION(Holder, NSObject)
{
    type.outlet("partner", &Holder::partner);
    type.outlet("button", &Holder::button);
    type.message("act:", &Holder::act);
}

class InterfaceLoaderTest : public QuickTest {
protected:
    void SetUp() override
    {
        QuickTest::SetUp();
        awakened.clear();
    }
};

TEST_F(InterfaceLoaderTest, ConnectsAllOutletsBeforeAnyObjectAwakes)
{
    const auto owner = make<Holder>();
    const auto problem
        = load("FileOwner { id: owner; className: 'Holder'; Outlet { name: 'partner'; object: first } }\n"
               "InterfaceObject { id: first; className: 'Holder'; Outlet { name: 'partner'; object: owner } }",
            owner);
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_THAT(awakened, ElementsAre("with its partner", "with its partner"));
}

TEST_F(InterfaceLoaderTest, NamesFileAndLineOfAMissingClass)
{
    const auto problem = load("\nInterfaceObject { className: 'Hodler' }");
    ASSERT_TRUE(problem);
    EXPECT_THAT(*problem, AllOf(HasSubstr("Test.qml:5:"), HasSubstr("There is no class \"Hodler\"")));
}

TEST_F(InterfaceLoaderTest, NamesFileAndLineOfAMissingOutlet)
{
    const auto problem = load("InterfaceObject { id: first; className: 'Holder'\n"
                              "Outlet { name: 'partnre'; object: first } }");
    ASSERT_TRUE(problem);
    EXPECT_THAT(*problem, AllOf(HasSubstr("Test.qml:5:"), HasSubstr("\"Holder\" has no outlet \"partnre\"")));
    EXPECT_THAT(awakened, ElementsAre());
}

TEST_F(InterfaceLoaderTest, RefusesAnObjectOfTheWrongClassInAnOutlet)
{
    const auto problem = load("InterfaceObject { className: 'Holder'; Outlet { name: 'button'; object: second } }\n"
                              "InterfaceObject { id: second; className: 'Holder' }");
    ASSERT_TRUE(problem);
    EXPECT_THAT(*problem,
        AllOf(HasSubstr("Test.qml:4:"),
            HasSubstr("The outlet \"button\" of \"Holder\" takes a \"NSButton\", and \"Holder\" is none")));
}

TEST_F(InterfaceLoaderTest, NamesFileAndLineOfAMissingAction)
{
    const auto problem = load("InterfaceObject { id: target; className: 'Holder' }\n"
                              "InterfaceMainMenu { InterfaceMenuItem { title: 'A';\n"
                              "InterfaceMenuItem { title: 'B'; target: target; action: 'atc:' } } }");
    ASSERT_TRUE(problem);
    EXPECT_THAT(*problem, AllOf(HasSubstr("Test.qml:6:"), HasSubstr("\"Holder\" has no action \"atc:\"")));
}

TEST_F(InterfaceLoaderTest, NamesFileAndLineOfAMissingKey)
{
    const auto problem = load("InterfaceObject { id: target; className: 'Holder' }\n"
                              "KeyBinding { object: target; keyPath: 'colour' }");
    ASSERT_TRUE(problem);
    EXPECT_THAT(*problem, AllOf(HasSubstr("Test.qml:5:"), HasSubstr("\"Holder\" has no key \"colour\"")));
}

TEST_F(InterfaceLoaderTest, ReportsASyntaxErrorAndAFileThatIsNotThere)
{
    const auto problem = load("InterfaceObject { className: }");
    ASSERT_TRUE(problem);
    EXPECT_THAT(*problem, HasSubstr("Test.qml:4:"));
    EXPECT_TRUE(application().loader().load("NobodyWroteThis", nullptr));
}

TEST_F(InterfaceLoaderTest, RefusesAFileThatIsLoadedByAnotherClass)
{
    const auto owner = make<Holder>();
    const auto problem = load("FileOwner { className: 'NSWindowController' }", owner);
    ASSERT_TRUE(problem);
    EXPECT_THAT(*problem, HasSubstr("The file is not loaded by a \"NSWindowController\""));
}

TEST_F(InterfaceLoaderTest, PressesAControlWhenItsItemIsClicked)
{
    const auto owner = make<Holder>();
    const auto problem
        = load("FileOwner { id: owner; className: 'Holder'; Outlet { name: 'button'; object: control } }\n"
               "Item { id: item; objectName: 'button'; signal clicked(); property string text: 'Press'\n"
               "ControlLink { id: control; className: 'NSButton'; target: owner; action: 'act:' }\n"
               "Component.onCompleted: clickLater.start()\n"
               "Timer { id: clickLater; interval: 1; onTriggered: item.clicked() } }",
            owner);
    ASSERT_EQ(problem, std::nullopt);
    const auto button = owner->button.strongReference();
    ASSERT_TRUE(button);
    EXPECT_EQ(textOf(button->title()), "Press");
    EXPECT_TRUE(waitFor([&] { return owner->lastSender.get() == button.get(); }));
}

TEST_F(InterfaceLoaderTest, TurnsTheKeysOfTheMainMenuIntoItsActions)
{
    const auto owner = make<Holder>();
    const auto problem
        = load("FileOwner { id: owner; className: 'Holder' }\n"
               "InterfaceMainMenu { InterfaceMenuItem { title: 'File'\n"
               "InterfaceMenuItem { title: 'Save'; keyEquivalent: 'Ctrl+Shift+S'; target: owner; action: 'act:' } } }",
            owner);
    ASSERT_EQ(problem, std::nullopt);
    QWindow window;
    QKeyEvent other(QEvent::KeyPress, Qt::Key_S, Qt::ControlModifier);
    QCoreApplication::sendEvent(&window, &other);
    EXPECT_FALSE(owner->lastSender);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    QCoreApplication::sendEvent(&window, &key);
    ASSERT_TRUE(kindOf<NSMenuItem>(owner->lastSender));
    EXPECT_EQ(textOf(kindOf<NSMenuItem>(owner->lastSender)->title()), "Save");
    NSApplication::sharedApplication()->setMainMenu(nullptr);
}

TEST_F(InterfaceLoaderTest, ReportsAKeyThatIsNone)
{
    const auto problem = load("InterfaceMainMenu { InterfaceMenuItem { title: 'A'; keyEquivalent: 'Ctrll+S' } }");
    ASSERT_TRUE(problem);
    EXPECT_THAT(*problem, HasSubstr("There is no key \"Ctrll+S\""));
    NSApplication::sharedApplication()->setMainMenu(nullptr);
}

}
