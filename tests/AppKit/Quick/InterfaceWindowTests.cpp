#include "Platform/AppKit/Quick/InterfaceWindow.h"

#include "Platform/Foundation/NSURL.h"
#include "tests/AppKit/Quick/QuickTest.h"

#include <QDropEvent>
#include <QMimeData>
#include <QQuickItem>
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
            InterfaceWindow {
                id: shown
                className: "NSWindow"
                width: 100
                height: 100
                Outlet { name: "delegate"; object: owner }
                DropArea {
                    objectName: "well"
                    property string dropped
                    x: 50
                    width: 50
                    height: 100
                    onEntered: drag => drag.accepted = drag.hasUrls
                    onDropped: drop => { dropped = drop.urls[0].toString(); drop.accept(); }
                }
            })",
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
    bool move(QPoint place = { 2, 2 })
    {
        QDragMoveEvent event(place, Qt::CopyAction | Qt::MoveAction, &files, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &event);
        return event.isAccepted();
    }
    /// The action that was agreed on; none for a drop that was not taken.
    Qt::DropAction drop(QPoint place = { 2, 2 })
    {
        QDropEvent event(place, Qt::CopyAction | Qt::MoveAction, &files, Qt::LeftButton, Qt::NoModifier);
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

TEST_F(InterfaceWindowTest, AnItemThatTakesTheFilesGoesBeforeTheDelegate)
{
    acceptFiles();
    const auto* const well = window->findChild<QQuickItem*>("well");
    ASSERT_TRUE(well);
    EXPECT_TRUE(enter(files));
    EXPECT_TRUE(window->isDropWelcome());
    EXPECT_TRUE(move({ 70, 20 }));
    EXPECT_FALSE(window->isDropWelcome()) << "they would not be the delegate's there";
    EXPECT_TRUE(move({ 20, 20 }));
    EXPECT_TRUE(window->isDropWelcome());
    EXPECT_TRUE(move({ 70, 20 }));
    EXPECT_EQ(drop({ 70, 20 }), Qt::CopyAction);
    EXPECT_EQ(well->property("dropped").toString(), QStringLiteral("file:///tmp/a b.fs"));
    EXPECT_THAT(owner->told, ElementsAre("entered with 2", "exited"));
    EXPECT_TRUE(enter(files));
    EXPECT_EQ(drop(), Qt::CopyAction);
    EXPECT_THAT(owner->told, ElementsAre("entered with 2", "exited", "entered with 2", "/tmp/a b.fs", "/tmp/c.fs"));
}

TEST_F(InterfaceWindowTest, AnItemTakesWhatTheDelegateDoesNotWant)
{
    EXPECT_FALSE(enter(files));
    EXPECT_TRUE(move({ 70, 20 }));
    EXPECT_FALSE(move({ 20, 20 }));
    EXPECT_TRUE(move({ 70, 20 }));
    EXPECT_EQ(drop({ 70, 20 }), Qt::CopyAction);
    EXPECT_THAT(owner->told, IsEmpty());
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
