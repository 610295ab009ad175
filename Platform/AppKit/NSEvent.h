#pragma once

#include "Platform/CoreGraphics/CGGeometry.h"
#include "Platform/Foundation/NSObject.h"

class NSWindow;

enum NSEventType : unsigned long {
    NSEventTypeLeftMouseDown = 1,
    NSEventTypeLeftMouseUp = 2,
    NSEventTypeMouseMoved = 5,
    NSEventTypeLeftMouseDragged = 6,
    NSEventTypeMouseEntered = 8,
    NSEventTypeMouseExited = 9,
};

/// One thing that the user did with the mouse. Immutable.
class NSEvent : public NSObject {
    NS_OBJECT(NSEvent)
public:
    NSEvent(NSEventType type, NSPoint locationInWindow, long clickCount = 1);
    NSEventType type() const { return mType; }
    /// In points from the bottom left of the window's contents.
    NSPoint locationInWindow() const { return mLocationInWindow; }
    long clickCount() const { return mClickCount; }

private:
    const NSEventType mType;
    const NSPoint mLocationInWindow;
    const long mClickCount;
};
