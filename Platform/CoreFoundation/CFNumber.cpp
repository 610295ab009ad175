#include "Platform/CoreFoundation/CFNumber.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

std::int64_t CFNumber::integerValue() const noexcept
{
    if (const auto* const integer = std::get_if<std::int64_t>(&mValue))
        return *integer;
    const double number = *std::get_if<double>(&mValue);
    constexpr double limit = 9223372036854775808.0; // 2 to the 63rd
    if (std::isnan(number))
        return 0;
    if (number >= limit)
        return std::numeric_limits<std::int64_t>::max();
    if (number < -limit)
        return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(number);
}

double CFNumber::doubleValue() const noexcept
{
    if (const auto* const integer = std::get_if<std::int64_t>(&mValue))
        return static_cast<double>(*integer);
    return *std::get_if<double>(&mValue);
}

CFTypeID CFNumber::typeID() const noexcept
{
    return CFNumberGetTypeID();
}

bool CFNumber::isEqual(CFType* other)
{
    const auto* const number = dynamic_cast<CFNumber*>(other);
    if (!number)
        return false;
    return mValue == number->mValue || doubleValue() == number->doubleValue();
}

CFHashCode CFNumber::hash()
{
    return std::hash<double>()(doubleValue());
}

std::string CFNumber::description()
{
    if (!isFloatType())
        return std::to_string(integerValue());
    char text[32];
    const auto [end, error] = std::to_chars(std::begin(text), std::end(text), doubleValue());
    return std::string(text, end);
}

CFBoolean* CFBoolean::of(bool value)
{
    static CFBoolean* const values[] = { [] {
                                            auto object = make<CFBoolean>(false);
                                            object->makeImmortal();
                                            return object.leak();
                                        }(),
        [] {
            auto object = make<CFBoolean>(true);
            object->makeImmortal();
            return object.leak();
        }() };
    return values[value ? 1 : 0];
}

CFTypeID CFBoolean::typeID() const noexcept
{
    return CFBooleanGetTypeID();
}
