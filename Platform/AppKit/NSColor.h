#pragma once

#include "Platform/CoreGraphics/CGColor.h"
#include "Platform/Foundation/NSObject.h"

/// A colour of the sRGB space; every other space that callers name is the same one here. Immutable.
class NSColor : public NSObject {
    NS_OBJECT(NSColor)
public:
    explicit NSColor(CGColorRef color);

    static NSColor* colorWithCalibratedWhite_alpha(double white, double alpha);
    static NSColor* colorWithSRGBRed_green_blue_alpha(double red, double green, double blue, double alpha);
    static NSColor* blackColor();
    static NSColor* whiteColor();
    static NSColor* grayColor();
    static NSColor* darkGrayColor();
    static NSColor* shadowColor();
    static NSColor* clearColor();

    double redComponent() const { return mColor->red(); }
    double greenComponent() const { return mColor->green(); }
    double blueComponent() const { return mColor->blue(); }
    double alphaComponent() const { return mColor->alpha(); }
    CGColorRef getCGColor() const { return mColor; }
    bool isEqual(CFType* other) override;

private:
    const Ref<CGColor> mColor;
};
