#pragma once

#include "Platform/AppKit/NSColor.h"
#include "Platform/AppKit/NSControl.h"

/// A control that shows a line of text. Main thread.
class NSTextField : public NSControl {
    NS_OBJECT(NSTextField)
public:
    NSColor* textColor() const { return mTextColor; }
    void setTextColor(NSColor* color);

private:
    Ref<NSColor> mTextColor;
};
