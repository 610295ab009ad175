#include "Platform/CoreGraphics/CGGeometry.h"

#include <algorithm>
#include <iterator>

CGRect CGRectApplyAffineTransform(const CGRect& rect, const CGAffineTransform& transform)
{
    const auto& [origin, size] = rect;
    const CGPoint corners[] = {
        CGPointApplyAffineTransform(origin, transform),
        CGPointApplyAffineTransform({ origin.x + size.width, origin.y }, transform),
        CGPointApplyAffineTransform({ origin.x, origin.y + size.height }, transform),
        CGPointApplyAffineTransform({ origin.x + size.width, origin.y + size.height }, transform),
    };
    const auto byX = [](const CGPoint& a, const CGPoint& b) { return a.x < b.x; };
    const auto byY = [](const CGPoint& a, const CGPoint& b) { return a.y < b.y; };
    const auto [left, right] = std::minmax_element(std::begin(corners), std::end(corners), byX);
    const auto [bottom, top] = std::minmax_element(std::begin(corners), std::end(corners), byY);
    return CGRectMake(left->x, bottom->y, right->x - left->x, top->y - bottom->y);
}
