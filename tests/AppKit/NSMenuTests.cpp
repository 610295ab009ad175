#include "Platform/AppKit/NSMenu.h"

#include <gmock/gmock.h>

namespace {

class MenuTarget : public NSObject {
    NS_OBJECT(MenuTarget)
public:
    void act(NSObject* sender) { lastSender = sender; }
    Ref<NSObject> lastSender;
};

NS_IMPLEMENTATION(MenuTarget, NSObject)
{
    type.message("act:", &MenuTarget::act);
}

TEST(NSMenuItem, SendsItsActionWithItselfAsSender)
{
    const auto target = make<MenuTarget>();
    const auto item = make<NSMenuItem>();
    item->setTarget(target);
    item->setAction("act:");
    EXPECT_TRUE(item->isEnabled());
    item->performAction();
    EXPECT_EQ(target->lastSender.get(), item.get());
}

TEST(NSMenuItem, IsDisabledWithoutAnActionThatItsTargetHas)
{
    const auto target = make<MenuTarget>();
    const auto item = make<NSMenuItem>();
    EXPECT_FALSE(item->isEnabled());
    item->setTarget(target);
    item->setAction("actElsewhere:");
    EXPECT_FALSE(item->isEnabled());
    item->performAction();
    EXPECT_FALSE(target->lastSender);
}

TEST(NSMenu, FindsTheItemOfAKeyInItsSubmenus)
{
    const auto menu = make<NSMenu>();
    const auto submenu = make<NSMenu>();
    const auto holder = make<NSMenuItem>();
    const auto item = make<NSMenuItem>();
    item->setKeyEquivalent(CFSTR("Ctrl+Shift+O"));
    submenu->addItem(item);
    holder->setSubmenu(submenu);
    menu->addItem(holder);
    EXPECT_EQ(menu->itemWithKeyEquivalent("Ctrl+Shift+O"), item.get());
    EXPECT_EQ(menu->itemWithKeyEquivalent("Ctrl+O"), nullptr);
    EXPECT_EQ(menu->itemWithKeyEquivalent(""), nullptr);
}

}
