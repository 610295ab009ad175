#include "Platform/AppKit/NSTextField.h"

NS_IMPLEMENTATION(NSTextField, NSControl)
{
    type.key("textColor", &NSTextField::textColor, &NSTextField::setTextColor);
}

void NSTextField::setTextColor(NSColor* color)
{
    const NSKeyValueChange change(this, "textColor");
    mTextColor = color;
}
