#include "Platform/AppKit/NSControl.h"

NS_IMPLEMENTATION(NSControl, NSView)
{
    type.key("enabled", &NSControl::isEnabled, &NSControl::setEnabled);
    type.key("stringValue", &NSControl::stringValue, &NSControl::setStringValue);
}

void NSControl::setEnabled(bool enabled)
{
    if (enabled == mEnabled)
        return;
    const NSKeyValueChange change(this, "enabled");
    mEnabled = enabled;
}

void NSControl::setStringValue(CFString* text)
{
    const NSKeyValueChange change(this, "stringValue");
    mStringValue = text ? text : CFSTR("");
}

NSObject* NSControl::target() const
{
    return autorelease(mTarget.strongReference());
}

bool NSControl::sendAction_to(SEL action, NSObject* target)
{
    if (action.empty() || !target || !target->respondsToSelector(action))
        return false;
    target->performSelector(action, this);
    return true;
}
