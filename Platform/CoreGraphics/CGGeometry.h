#pragma once

/// Points, sizes, rectangles and affine transforms in two dimensions, as doubles. The origin is at the bottom left.

struct CGPoint {
    double x = 0;
    double y = 0;
    friend bool operator==(const CGPoint&, const CGPoint&) = default;
};

struct CGSize {
    double width = 0;
    double height = 0;
    friend bool operator==(const CGSize&, const CGSize&) = default;
};

struct CGRect {
    CGPoint origin;
    CGSize size;
    friend bool operator==(const CGRect&, const CGRect&) = default;
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

constexpr CGPoint CGPointMake(double x, double y)
{
    return { x, y };
}
constexpr CGSize CGSizeMake(double width, double height)
{
    return { width, height };
}
constexpr CGRect CGRectMake(double x, double y, double width, double height)
{
    return { { x, y }, { width, height } };
}
constexpr NSPoint NSMakePoint(double x, double y)
{
    return { x, y };
}
constexpr NSSize NSMakeSize(double width, double height)
{
    return { width, height };
}
constexpr NSRect NSMakeRect(double x, double y, double width, double height)
{
    return { { x, y }, { width, height } };
}
constexpr bool NSEqualPoints(NSPoint a, NSPoint b)
{
    return a == b;
}
constexpr bool NSEqualSizes(NSSize a, NSSize b)
{
    return a == b;
}
constexpr bool NSEqualRects(NSRect a, NSRect b)
{
    return a == b;
}

/// Maps (x, y) to (a x + c y + tx, b x + d y + ty).
struct CGAffineTransform {
    double a = 1;
    double b = 0;
    double c = 0;
    double d = 1;
    double tx = 0;
    double ty = 0;
    friend bool operator==(const CGAffineTransform&, const CGAffineTransform&) = default;
};

inline constexpr CGAffineTransform CGAffineTransformIdentity {};

constexpr CGAffineTransform CGAffineTransformMakeScale(double sx, double sy)
{
    return { sx, 0, 0, sy, 0, 0 };
}
constexpr CGAffineTransform CGAffineTransformMakeTranslation(double tx, double ty)
{
    return { 1, 0, 0, 1, tx, ty };
}
constexpr CGPoint CGPointApplyAffineTransform(CGPoint point, const CGAffineTransform& t)
{
    return { t.a * point.x + t.c * point.y + t.tx, t.b * point.x + t.d * point.y + t.ty };
}
