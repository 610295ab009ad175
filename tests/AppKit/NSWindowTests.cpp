#include "Platform/AppKit/NSWindow.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

class NotingWindowHost : public NSWindowHost {
public:
    void windowOrderFront(bool makeKey) override
    {
        visible = true;
        key = makeKey;
        notes.emplace_back(makeKey ? "front and key" : "front");
    }
    void windowOrderOut() override
    {
        visible = false;
        notes.emplace_back("out");
    }
    bool windowIsVisible() override { return visible; }
    bool windowIsKey() override { return key; }
    void windowContentViewChanged() override { notes.emplace_back("content"); }
    void windowAppearanceChanged() override { }
    std::vector<std::string> notes;
    bool visible = false;
    bool key = false;
};

class WindowDelegate : public NSObject, public NSWindowDelegate {
    NS_OBJECT(WindowDelegate)
public:
    void windowWillClose(NSNotification* notification) override
    {
        ++closes;
        auto* const window = kindOf<NSWindow>(notification->object());
        wasVisible = window && window->isVisible();
        window->close();
    }
    int closes = 0;
    bool wasVisible = false;
};

NS_IMPLEMENTATION(WindowDelegate, NSObject)
{
    type.message("windowWillClose:", &WindowDelegate::windowWillClose);
}

TEST(NSWindow, ComesToTheFrontWithAndWithoutTheKeyboard)
{
    const auto window = make<NSWindow>();
    NotingWindowHost host;
    window->setHost(&host);
    window->orderFront(nullptr);
    EXPECT_FALSE(window->isKeyWindow());
    window->makeKeyAndOrderFront(nullptr);
    EXPECT_TRUE(window->isKeyWindow());
    window->orderOut(nullptr);
    EXPECT_FALSE(window->isVisible());
    EXPECT_THAT(host.notes, ElementsAre("front", "front and key", "out"));
    window->setHost(nullptr);
}

TEST(NSWindow, TellsItsDelegateOnceBeforeItLeavesTheScreen)
{
    const auto window = make<NSWindow>();
    const auto delegate = make<WindowDelegate>();
    NotingWindowHost host;
    window->setHost(&host);
    window->setDelegate(delegate);
    window->orderFront(nullptr);
    window->performClose(nullptr);
    EXPECT_EQ(delegate->closes, 1);
    EXPECT_TRUE(delegate->wasVisible);
    EXPECT_FALSE(window->isVisible());
    window->orderFront(nullptr);
    window->performClose(nullptr);
    EXPECT_EQ(delegate->closes, 2);
    window->setHost(nullptr);
}

TEST(NSWindow, ClosesWithoutADelegate)
{
    const auto window = make<NSWindow>();
    NotingWindowHost host;
    window->setHost(&host);
    window->performClose(nullptr);
    EXPECT_THAT(host.notes, ElementsAre("out"));
    window->setHost(nullptr);
}

TEST(NSWindow, TellsItsHostOfANewContentViewOnly)
{
    const auto window = make<NSWindow>();
    const auto view = make<NSView>();
    NotingWindowHost host;
    window->setHost(&host);
    window->setContentView(view);
    window->setContentView(view);
    EXPECT_THAT(host.notes, ElementsAre("content"));
    EXPECT_EQ(window->contentView(), view.get());
    window->setHost(nullptr);
}

}
