#pragma once

#include "Platform/AppKit/NSView.h"

/// Conversion between a view's coordinates and fractions of its frame's size, from its bottom left. Nothing is clamped:
/// points outside give fractions below 0 or above 1, and a view of no size divides by zero. Main thread.
namespace NormalizedMouse {

NSPoint viewPointFromNormalizedPoint(NSView* view, NSPoint point);
CGPoint viewCGPointFromNormalizedCGPoint(NSView* view, CGPoint point);
NSPoint normalizedPointFromViewPoint(NSView* view, NSPoint point);
/// The zero point for anything but an event.
NSPoint normalizedPointFromEvent(NSView* view, NSObject* event);

}
