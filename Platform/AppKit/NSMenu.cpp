#include "Platform/AppKit/NSMenu.h"

#include "Platform/AppKit/NSApplication.h"

NS_IMPLEMENTATION(NSMenuItem, NSObject)
{
    type.message("performAction", &NSMenuItem::performAction);
    type.key("title", &NSMenuItem::title, &NSMenuItem::setTitle);
    type.key("keyEquivalent", &NSMenuItem::keyEquivalent, &NSMenuItem::setKeyEquivalent);
}

NS_IMPLEMENTATION(NSMenu, NSObject)
{
    type.key("title", &NSMenu::title, &NSMenu::setTitle);
}

void NSMenuItem::setTitle(CFString* title)
{
    const NSKeyValueChange change(this, "title");
    mTitle = title ? title : CFSTR("");
}

void NSMenuItem::setKeyEquivalent(CFString* keyEquivalent)
{
    mKeyEquivalent = keyEquivalent ? keyEquivalent : CFSTR("");
}

NSObject* NSMenuItem::target() const
{
    return autorelease(mTarget.strongReference());
}

bool NSMenuItem::isEnabled() const
{
    if (mAction.empty())
        return mSubmenu.get() != nullptr;
    auto* const receiver = target() ? target() : NSApplication::sharedApplication();
    return receiver->respondsToSelector(mAction);
}

void NSMenuItem::performAction()
{
    if (mAction.empty() || !isEnabled())
        return;
    auto* const receiver = target() ? target() : NSApplication::sharedApplication();
    receiver->performSelector(mAction, this);
}

void NSMenu::addItem(NSMenuItem* item)
{
    if (item)
        mItems.emplace_back(item);
}

NSMenuItem* NSMenu::itemWithKeyEquivalent(std::string_view keyEquivalent) const
{
    if (keyEquivalent.empty())
        return nullptr;
    for (const auto& item : mItems) {
        if (textOf(item->keyEquivalent()) == keyEquivalent)
            return item;
        if (const auto* const submenu = item->submenu())
            if (auto* const found = submenu->itemWithKeyEquivalent(keyEquivalent))
                return found;
    }
    return nullptr;
}
