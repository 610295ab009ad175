#pragma once

#include "Platform/CoreFoundation/CFString.h"

/// A colour of the sRGB space with straight alpha, each part from 0 to 1. Immutable; any thread.
class CGColor final : public CFType {
public:
    CGColor(double red, double green, double blue, double alpha)
        : mRed(red)
        , mGreen(green)
        , mBlue(blue)
        , mAlpha(alpha)
    {
    }
    double red() const noexcept { return mRed; }
    double green() const noexcept { return mGreen; }
    double blue() const noexcept { return mBlue; }
    double alpha() const noexcept { return mAlpha; }

private:
    const double mRed;
    const double mGreen;
    const double mBlue;
    const double mAlpha;
};

using CGColorRef = CGColor*;

inline CFString* const kCGColorBlack = CFSTR("kCGColorBlack");
inline CFString* const kCGColorWhite = CFSTR("kCGColorWhite");
inline CFString* const kCGColorClear = CFSTR("kCGColorClear");

/// The constant colour of one of the names above, immortal; null for any other name.
inline CGColorRef CGColorGetConstantColor(CFString* name)
{
    const auto immortal = [](double white, double alpha) {
        const auto color = make<CGColor>(white, white, white, alpha);
        color->makeImmortal();
        return color.get();
    };
    static CGColor* const black = immortal(0, 1);
    static CGColor* const white = immortal(1, 1);
    static CGColor* const clear = immortal(0, 0);
    if (textOf(name) == textOf(kCGColorBlack))
        return black;
    if (textOf(name) == textOf(kCGColorWhite))
        return white;
    return textOf(name) == textOf(kCGColorClear) ? clear : nullptr;
}
