#pragma once

#include "Platform/Foundation/NSObject.h"

class NSMenu;

/// One entry of a menu: a command with its key, a submenu, or a line between others. Main thread.
class NSMenuItem : public NSObject {
    NS_OBJECT(NSMenuItem)
public:
    CFString* title() const { return mTitle; }
    void setTitle(CFString* title);
    /// As text of key names, for instance "Ctrl+Shift+O"; empty for none.
    CFString* keyEquivalent() const { return mKeyEquivalent; }
    void setKeyEquivalent(CFString* keyEquivalent);
    NSObject* target() const;
    void setTarget(NSObject* target) { mTarget = target; }
    const std::string& action() const { return mAction; }
    void setAction(SEL action) { mAction = action; }
    NSMenu* submenu() const { return mSubmenu; }
    void setSubmenu(NSMenu* submenu) { mSubmenu = submenu; }
    bool isSeparatorItem() const { return mSeparator; }
    void setSeparatorItem(bool separator) { mSeparator = separator; }
    /// Whether there is a target, here or in the responder chain, that has the action.
    bool isEnabled() const;
    /// Sends the action to the target with the item as sender; a null target means the application.
    void performAction();

private:
    Ref<CFString> mTitle = CFSTR("");
    Ref<CFString> mKeyEquivalent = CFSTR("");
    WeakRef<NSObject> mTarget;
    std::string mAction;
    Ref<NSMenu> mSubmenu;
    bool mSeparator = false;
};

/// An ordered list of items. Main thread.
class NSMenu : public NSObject {
    NS_OBJECT(NSMenu)
public:
    CFString* title() const { return mTitle; }
    void setTitle(CFString* title) { mTitle = title; }
    void addItem(NSMenuItem* item);
    const std::vector<Ref<NSMenuItem>>& itemArray() const { return mItems; }
    /// The item of this menu or its submenus with this key, null when there is none.
    NSMenuItem* itemWithKeyEquivalent(std::string_view keyEquivalent) const;

private:
    Ref<CFString> mTitle = CFSTR("");
    std::vector<Ref<NSMenuItem>> mItems;
};
