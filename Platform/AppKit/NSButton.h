#pragma once

#include "Platform/AppKit/NSControl.h"

inline constexpr long NSControlStateValueOff = 0;
inline constexpr long NSControlStateValueOn = 1;

/// A control that sends its action when it is pressed. Main thread.
class NSButton : public NSControl {
    NS_OBJECT(NSButton)
public:
    CFString* title() const { return mTitle; }
    void setTitle(CFString* title);
    long state() const { return mState; }
    void setState(long state);
    /// What a press of the user does, unless the button is disabled.
    void performClick(NSObject* sender);

private:
    Ref<CFString> mTitle = CFSTR("");
    long mState = NSControlStateValueOff;
};
