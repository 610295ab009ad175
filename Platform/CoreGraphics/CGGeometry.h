#pragma once

using CGFloat = double;

// Points, sizes, rectangles and transforms in two dimensions. The origin is at the bottom left, y grows upwards.

struct CGPoint {
    CGFloat x = 0;
    CGFloat y = 0;
    friend bool operator==(const CGPoint&, const CGPoint&) = default;
};

struct CGSize {
    CGFloat width = 0;
    CGFloat height = 0;
    friend bool operator==(const CGSize&, const CGSize&) = default;
};

struct CGRect {
    CGPoint origin;
    CGSize size;
    friend bool operator==(const CGRect&, const CGRect&) = default;
};

/// Maps (x, y) to (a x + c y + tx, b x + d y + ty).
struct CGAffineTransform {
    CGFloat a = 1;
    CGFloat b = 0;
    CGFloat c = 0;
    CGFloat d = 1;
    CGFloat tx = 0;
    CGFloat ty = 0;
    friend bool operator==(const CGAffineTransform&, const CGAffineTransform&) = default;
};

using NSPoint = CGPoint;
using NSSize = CGSize;
using NSRect = CGRect;

inline constexpr CGPoint CGPointZero {};
inline constexpr CGSize CGSizeZero {};
inline constexpr CGRect CGRectZero {};
inline constexpr NSPoint NSZeroPoint {};
inline constexpr NSSize NSZeroSize {};
inline constexpr NSRect NSZeroRect {};
inline constexpr CGAffineTransform CGAffineTransformIdentity {};

inline constexpr CGPoint CGPointMake(CGFloat x, CGFloat y)
{
    return { x, y };
}
inline constexpr CGSize CGSizeMake(CGFloat width, CGFloat height)
{
    return { width, height };
}
inline constexpr CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height)
{
    return { { x, y }, { width, height } };
}
inline constexpr NSPoint NSMakePoint(CGFloat x, CGFloat y)
{
    return { x, y };
}
inline constexpr NSSize NSMakeSize(CGFloat width, CGFloat height)
{
    return { width, height };
}
inline constexpr NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height)
{
    return CGRectMake(x, y, width, height);
}
inline constexpr bool NSEqualPoints(const NSPoint& a, const NSPoint& b)
{
    return a == b;
}
inline constexpr bool NSEqualSizes(const NSSize& a, const NSSize& b)
{
    return a == b;
}
inline constexpr bool NSEqualRects(const NSRect& a, const NSRect& b)
{
    return a == b;
}
inline constexpr CGAffineTransform CGAffineTransformMakeScale(CGFloat x, CGFloat y)
{
    return { x, 0, 0, y, 0, 0 };
}
inline constexpr CGAffineTransform CGAffineTransformMakeTranslation(CGFloat x, CGFloat y)
{
    return { 1, 0, 0, 1, x, y };
}
/// The transform that does \p first and then \p second.
inline constexpr CGAffineTransform CGAffineTransformConcat(
    const CGAffineTransform& first, const CGAffineTransform& second)
{
    return { first.a * second.a + first.b * second.c, first.a * second.b + first.b * second.d,
        first.c * second.a + first.d * second.c, first.c * second.b + first.d * second.d,
        first.tx * second.a + first.ty * second.c + second.tx, first.tx * second.b + first.ty * second.d + second.ty };
}
/// The transform that undoes \p transform; \p transform itself when it cannot be undone.
inline constexpr CGAffineTransform CGAffineTransformInvert(const CGAffineTransform& transform)
{
    const auto determinant = transform.a * transform.d - transform.b * transform.c;
    if (determinant == 0)
        return transform;
    const auto& t = transform;
    return { t.d / determinant, -t.b / determinant, -t.c / determinant, t.a / determinant,
        (t.c * t.ty - t.d * t.tx) / determinant, (t.b * t.tx - t.a * t.ty) / determinant };
}
inline constexpr CGPoint CGPointApplyAffineTransform(const CGPoint& point, const CGAffineTransform& t)
{
    return { t.a * point.x + t.c * point.y + t.tx, t.b * point.x + t.d * point.y + t.ty };
}
/// The smallest upright rectangle around the transformed corners.
CGRect CGRectApplyAffineTransform(const CGRect& rect, const CGAffineTransform& transform);
