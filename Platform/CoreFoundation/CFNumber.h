#pragma once

#include "Platform/CoreFoundation/CFType.h"

#include <variant>

/// An immutable number: a signed or unsigned 64-bit integer or a double.
class CFNumber : public CFType {
public:
    using Value = std::variant<std::int64_t, double>;
    explicit CFNumber(Value value)
        : mValue(value)
    {
    }
    template <class T>
    requires std::is_arithmetic_v<T>
    static Ref<CFNumber> create(T value)
    {
        if constexpr (std::is_floating_point_v<T>)
            return make<CFNumber>(Value(static_cast<double>(value)));
        else
            return make<CFNumber>(Value(static_cast<std::int64_t>(value)));
    }

    bool isFloatType() const noexcept { return mValue.index() == 1; }
    std::int64_t integerValue() const noexcept;
    double doubleValue() const noexcept;
    bool boolValue() const noexcept { return doubleValue() != 0; }

    CFTypeID typeID() const noexcept override;
    bool isEqual(CFType* other) override;
    CFHashCode hash() override;
    std::string description() override;

private:
    const Value mValue;
};

/// The two truth values are numbers of their own kind.
class CFBoolean final : public CFNumber {
public:
    explicit CFBoolean(bool value)
        : CFNumber(Value(static_cast<std::int64_t>(value)))
    {
    }
    static CFBoolean* of(bool value);
    CFTypeID typeID() const noexcept override;
};

using CFNumberRef = CFNumber*;
using CFBooleanRef = CFBoolean*;
using NSNumber = CFNumber;

inline CFTypeID CFNumberGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CFNumber" };
    return identifier.value();
}
inline CFTypeID CFBooleanGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CFBoolean" };
    return identifier.value();
}

inline CFBoolean* const kCFBooleanTrue = CFBoolean::of(true);
inline CFBoolean* const kCFBooleanFalse = CFBoolean::of(false);
