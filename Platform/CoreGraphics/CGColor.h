#pragma once

#include "Platform/CoreFoundation/CFString.h"
#include "Platform/CoreGraphics/CGGeometry.h"

#include <array>

/// How colour values are meant; every space of the host is sRGB here.
class CGColorSpace final : public CFType {
public:
    CFTypeID typeID() const noexcept override;
};

using CGColorSpaceRef = CGColorSpace*;

inline CFTypeID CGColorSpaceGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CGColorSpace" };
    return identifier.value();
}
inline CFString* const kCGColorSpaceSRGB = CFSTR("kCGColorSpaceSRGB");
/// \return null for a name that is not one of the above, and at the fail point "CGColorSpaceCreateWithName"
Ref<CGColorSpace> CGColorSpaceCreateWithName(CFString* name);
/// \return null at the fail point "CGColorSpaceCreateDeviceRGB"
Ref<CGColorSpace> CGColorSpaceCreateDeviceRGB();
/// Drops the caller's reference; null is allowed.
void CGColorSpaceRelease(Ref<CGColorSpace> space);

/// A colour of the sRGB space with straight alpha, each part from 0 to 1. Unchanging; any thread may use it.
class CGColor final : public CFType {
public:
    CGColor(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha)
        : mComponents { red, green, blue, alpha }
    {
    }
    CGFloat red() const noexcept { return mComponents[0]; }
    CGFloat green() const noexcept { return mComponents[1]; }
    CGFloat blue() const noexcept { return mComponents[2]; }
    CGFloat alpha() const noexcept { return mComponents[3]; }
    const std::array<CGFloat, 4>& components() const noexcept { return mComponents; }

    CFTypeID typeID() const noexcept override;
    bool isEqual(CFType* other) override;

private:
    const std::array<CGFloat, 4> mComponents;
};

using CGColorRef = CGColor*;

inline CFTypeID CGColorGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CGColor" };
    return identifier.value();
}
Ref<CGColor> CGColorCreateGenericRGB(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha);

inline CFString* const kCGColorBlack = CFSTR("kCGColorBlack");
inline CFString* const kCGColorWhite = CFSTR("kCGColorWhite");
inline CFString* const kCGColorClear = CFSTR("kCGColorClear");
/// The immortal colour of one of the names above; null for other names.
CGColorRef CGColorGetConstantColor(CFString* name);
