#include "Tovrin09/LTCCamWindow/NSView+NormalizedMouse.h"

namespace NormalizedMouse {

NSPoint viewPointFromNormalizedPoint(NSView* view, NSPoint point)
{
    const auto size = view->frame().size;
    return { point.x * size.width, point.y * size.height };
}

CGPoint viewCGPointFromNormalizedCGPoint(NSView* view, CGPoint point)
{
    return viewPointFromNormalizedPoint(view, point);
}

NSPoint normalizedPointFromViewPoint(NSView* view, NSPoint point)
{
    const auto size = view->frame().size;
    return { point.x / size.width, point.y / size.height };
}

NSPoint normalizedPointFromEvent(NSView* view, NSObject* event)
{
    const auto* const mouseEvent = kindOf<NSEvent>(event);
    if (!mouseEvent)
        return NSZeroPoint;
    return normalizedPointFromViewPoint(view, view->convertPoint_fromView(mouseEvent->locationInWindow(), nullptr));
}

}
