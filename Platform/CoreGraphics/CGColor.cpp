#include "Platform/CoreGraphics/CGColor.h"

#include "Platform/CoreFoundation/FailPoint.h"

CFTypeID CGColorSpace::typeID() const noexcept
{
    return CGColorSpaceGetTypeID();
}

Ref<CGColorSpace> CGColorSpaceCreateWithName(CFString* name)
{
    if (FAIL_POINT("CGColorSpaceCreateWithName") || !name || !CFEqual(name, kCGColorSpaceSRGB))
        return nullptr;
    return make<CGColorSpace>();
}

// The parameter is what is dropped.
void CGColorSpaceRelease(Ref<CGColorSpace> /*space*/) { }

Ref<CGColorSpace> CGColorSpaceCreateDeviceRGB()
{
    if (FAIL_POINT("CGColorSpaceCreateDeviceRGB"))
        return nullptr;
    return make<CGColorSpace>();
}

CFTypeID CGColor::typeID() const noexcept
{
    return CGColorGetTypeID();
}

bool CGColor::isEqual(CFType* other)
{
    const auto* const color = kindOf<CGColor>(other);
    return color && color->mComponents == mComponents;
}

Ref<CGColor> CGColorCreateGenericRGB(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha)
{
    return make<CGColor>(red, green, blue, alpha);
}

namespace {

CGColorRef immortalGrey(CGFloat white, CGFloat alpha)
{
    const auto color = make<CGColor>(white, white, white, alpha);
    color->makeImmortal();
    return color;
}

}

CGColorRef CGColorGetConstantColor(CFString* name)
{
    static const CGColorRef black = immortalGrey(0, 1);
    static const CGColorRef white = immortalGrey(1, 1);
    static const CGColorRef clear = immortalGrey(0, 0);
    if (textOf(name) == textOf(kCGColorBlack))
        return black;
    if (textOf(name) == textOf(kCGColorWhite))
        return white;
    return textOf(name) == textOf(kCGColorClear) ? clear : nullptr;
}
