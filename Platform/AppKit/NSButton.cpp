#include "Platform/AppKit/NSButton.h"

NS_IMPLEMENTATION(NSButton, NSControl)
{
    type.message("performClick:", &NSButton::performClick);
    type.key("title", &NSButton::title, &NSButton::setTitle);
    type.key("state", &NSButton::state, &NSButton::setState);
}

void NSButton::setTitle(CFString* title)
{
    const NSKeyValueChange change(this, "title");
    mTitle = title ? title : CFSTR("");
}

void NSButton::setState(long state)
{
    if (state == mState)
        return;
    const NSKeyValueChange change(this, "state");
    mState = state;
}

void NSButton::performClick(NSObject* /*sender*/)
{
    if (isEnabled())
        sendAction_to(action(), target());
}
