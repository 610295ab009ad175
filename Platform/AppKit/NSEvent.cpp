#include "Platform/AppKit/NSEvent.h"

NS_IMPLEMENTATION(NSEvent, NSObject) { }

NSEvent::NSEvent(NSEventType type, NSPoint locationInWindow, long clickCount)
    : mType(type)
    , mLocationInWindow(locationInWindow)
    , mClickCount(clickCount)
{
}
