#pragma once

#include "Platform/AppKit/NSView.h"

/// Owns one view, which an interface file connects to its outlet `view`. Main thread.
class NSViewController : public NSObject {
    NS_OBJECT(NSViewController)
public:
    NSView* view() const { return mView; }
    void setView(NSView* view) { mView = view; }
    virtual void viewDidLoad() { }

private:
    Ref<NSView> mView;
};
