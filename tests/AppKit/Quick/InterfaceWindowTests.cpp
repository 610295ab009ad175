#include "Platform/AppKit/Quick/InterfaceWindow.h"

#include "Platform/Foundation/NSURL.h"
#include "tests/AppKit/Quick/QuickTest.h"

#include <QDropEvent>
#include <QMimeData>
#include <QUrl>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class DropOwner : public NSObject, public NSDraggingDestination {
    NS_OBJECT(DropOwner)
public:
    NSDragOperation draggingEntered(NSDraggingInfo* sender) override
    {
        told.push_back("entered with " + std::to_string(sender->draggedFileURLs()->count()));
        return answer;
    }
    void draggingExited(NSDraggingInfo* /*sender*/) override { told.push_back("exited"); }
    bool performDragOperation(NSDraggingInfo* sender) override
    {
        for (const auto& file : sender->draggedFileURLs()->values())
            told.push_back(kindOf<NSURL>(file)->path()->string());
        return true;
    }
    WeakRef<NSWindow> window;
    NSDragOperation answer = NSDragOperationCopy;
    std::vector<std::string> told;
};

NS_IMPLEMENTATION(DropOwner, NSObject)
{
    type.outlet("window", &DropOwner::window);
    type.message("draggingEntered:", &DropOwner::draggingEntered);
    type.message("draggingExited:", &DropOwner::draggingExited);
    type.message("performDragOperation:", &DropOwner::performDragOperation);
}

class InterfaceWindowTest : public QuickTest {
protected:
    void SetUp() override
    {
        QuickTest::SetUp();
        owner = make<DropOwner>();
        const auto error = load(R"(
            FileOwner { id: owner; className: "DropOwner"; Outlet { name: "window"; object: shown } }
            InterfaceWindow { id: shown; className: "NSWindow"; Outlet { name: "delegate"; object: owner } })",
            owner.get());
        ASSERT_FALSE(error) << *error;
        window = dynamic_cast<InterfaceWindow*>(owner->window.strongReference()->host());
        ASSERT_TRUE(window);
        files.setUrls(
            { QUrl::fromLocalFile("/tmp/a b.fs"), QUrl("https://example.org/c.fs"), QUrl::fromLocalFile("/tmp/c.fs") });
    }
    void acceptFiles() const
    {
        owner->window.strongReference()->registerForDraggedTypes(CFArray::create({ NSPasteboardTypeFileURL }).get());
    }
    bool enter(const QMimeData& data)
    {
        QDragEnterEvent event({ 1, 1 }, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &event);
        return event.isAccepted();
    }
    bool move()
    {
        QDragMoveEvent event({ 2, 2 }, Qt::CopyAction | Qt::MoveAction, &files, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &event);
        return event.isAccepted();
    }
    /// The action that was agreed on; none for a drop that was not taken.
    Qt::DropAction drop()
    {
        QDropEvent event({ 2, 2 }, Qt::CopyAction | Qt::MoveAction, &files, Qt::LeftButton, Qt::NoModifier);
        event.setDropAction(Qt::MoveAction);
        QCoreApplication::sendEvent(window, &event);
        return event.isAccepted() ? event.dropAction() : Qt::IgnoreAction;
    }

    Ref<DropOwner> owner;
    InterfaceWindow* window = nullptr;
    QMimeData files;
};

}

TEST_F(InterfaceWindowTest, GivesDroppedFilesToItsDelegate)
{
    acceptFiles();
    EXPECT_TRUE(enter(files));
    EXPECT_TRUE(window->isDropWelcome());
    EXPECT_TRUE(move());
    EXPECT_EQ(drop(), Qt::CopyAction) << "whoever dragged them keeps them";
    EXPECT_FALSE(window->isDropWelcome());
    EXPECT_THAT(owner->told, ElementsAre("entered with 2", "/tmp/a b.fs", "/tmp/c.fs"));
}

TEST_F(InterfaceWindowTest, TellsOfADragThatLeaves)
{
    acceptFiles();
    EXPECT_TRUE(enter(files));
    QDragLeaveEvent event;
    QCoreApplication::sendEvent(window, &event);
    EXPECT_FALSE(window->isDropWelcome());
    EXPECT_THAT(owner->told, ElementsAre("entered with 2", "exited"));
    EXPECT_EQ(drop(), Qt::IgnoreAction) << "without having entered";
}

TEST_F(InterfaceWindowTest, TakesNothingThatNobodyWants)
{
    EXPECT_FALSE(enter(files)) << "no type is registered";
    EXPECT_THAT(owner->told, IsEmpty());
    acceptFiles();
    QMimeData text;
    text.setText("text");
    EXPECT_FALSE(enter(text));
    EXPECT_THAT(owner->told, IsEmpty());
    owner->answer = NSDragOperationNone;
    EXPECT_FALSE(enter(files));
    EXPECT_FALSE(move());
    EXPECT_EQ(drop(), Qt::IgnoreAction);
    EXPECT_THAT(owner->told, ElementsAre("entered with 2"));
}
