#pragma once

#include "Platform/AppKit/NSView.h"

/// A view that the user operates: it sends its action to its target, and has a text. Main thread.
class NSControl : public NSView {
    NS_OBJECT(NSControl)
public:
    bool isEnabled() const { return mEnabled; }
    void setEnabled(bool enabled);
    CFString* stringValue() const { return mStringValue; }
    void setStringValue(CFString* text);

    NSObject* target() const;
    void setTarget(NSObject* target) { mTarget = target; }
    const std::string& action() const { return mAction; }
    void setAction(SEL action) { mAction = action; }
    /// Sends \p action to \p target with the control as sender; says whether the target has it.
    bool sendAction_to(SEL action, NSObject* target);

private:
    WeakRef<NSObject> mTarget;
    std::string mAction;
    Ref<CFString> mStringValue = CFSTR("");
    bool mEnabled = true;
};
