#include "Platform/AppKit/NSColor.h"

NS_IMPLEMENTATION(NSColor, NSObject) { }

namespace {

NSColor* constantColor(double white, double alpha)
{
    auto color = make<NSColor>(make<CGColor>(white, white, white, alpha).get());
    color->makeImmortal();
    return color.get();
}

}

NSColor::NSColor(CGColorRef color)
    : mColor(color)
{
}

NSColor* NSColor::colorWithCalibratedWhite_alpha(double white, double alpha)
{
    return colorWithSRGBRed_green_blue_alpha(white, white, white, alpha);
}

NSColor* NSColor::colorWithSRGBRed_green_blue_alpha(double red, double green, double blue, double alpha)
{
    return autorelease(make<NSColor>(make<CGColor>(red, green, blue, alpha).get()));
}

NSColor* NSColor::blackColor()
{
    static NSColor* const color = constantColor(0, 1);
    return color;
}

NSColor* NSColor::whiteColor()
{
    static NSColor* const color = constantColor(1, 1);
    return color;
}

NSColor* NSColor::grayColor()
{
    static NSColor* const color = constantColor(0.5, 1);
    return color;
}

NSColor* NSColor::darkGrayColor()
{
    static NSColor* const color = constantColor(1.0 / 3, 1);
    return color;
}

NSColor* NSColor::shadowColor()
{
    static NSColor* const color = constantColor(0, 1);
    return color;
}

NSColor* NSColor::clearColor()
{
    static NSColor* const color = constantColor(0, 0);
    return color;
}

bool NSColor::isEqual(CFType* other)
{
    const auto* const color = kindOf<NSColor>(other);
    return color && color->redComponent() == redComponent() && color->greenComponent() == greenComponent()
        && color->blueComponent() == blueComponent() && color->alphaComponent() == alphaComponent();
}
