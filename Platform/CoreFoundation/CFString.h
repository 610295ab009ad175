#pragma once

#include "Platform/CoreFoundation/CFType.h"

#include <initializer_list>
#include <string_view>
#include <variant>
#include <vector>

/// An immutable text, kept as UTF-8.
class CFString : public CFType {
public:
    explicit CFString(std::string text)
        : mText(std::move(text))
    {
    }
    static Ref<CFString> create(std::string_view text) { return make<CFString>(std::string(text)); }
    /// The text of a C string, kept by the innermost pool. Null for null, for bytes that are not UTF-8, and where the
    /// platform fails ("stringWithUTF8String").
    static CFString* stringWithUTF8String(const char* text);

    const std::string& string() const noexcept { return mText; }
    CFTypeID typeID() const noexcept override;
    bool isEqual(CFType* other) override;
    CFHashCode hash() override;
    std::string description() override { return mText; }

private:
    const std::string mText;
};

using CFStringRef = CFString*;
using NSString = CFString;

inline CFTypeID CFStringGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CFString" };
    return identifier.value();
}

/// The constant string of this text: the same immortal object every time.
CFString* CFSTR(std::string_view text);

/// The text of \p string, empty for null.
inline std::string_view textOf(CFString* string)
{
    return string ? std::string_view(string->string()) : std::string_view();
}

/// One argument of a format: what `%@`, `%s`, `%d`, `%u`, `%x`, `%f`, `%p` and their relatives print.
class CFFormatArgument {
public:
    CFFormatArgument(CFType* object)
        : mValue(object)
    {
    }
    template <class T>
    CFFormatArgument(const Ref<T>& object)
        : mValue(static_cast<CFType*>(object.get()))
    {
    }
    CFFormatArgument(const char* text)
        : mValue(text)
    {
    }
    CFFormatArgument(double number)
        : mValue(number)
    {
    }
    CFFormatArgument(const void* address)
        : mValue(static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(address)))
    {
    }
    template <class T>
    requires std::is_integral_v<T> || std::is_enum_v<T> CFFormatArgument(T number)
    {
        if constexpr (std::is_unsigned_v<T>)
            mValue = static_cast<std::uint64_t>(number);
        else
            mValue = static_cast<std::int64_t>(number);
    }
    using Value = std::variant<CFType*, const char*, double, std::int64_t, std::uint64_t>;
    const Value& value() const noexcept { return mValue; }

private:
    Value mValue;
};

using CFFormatArguments = std::vector<CFFormatArgument>;

/// Formats as the C library does, with `%@` for an object's description ("(null)" for null). Conversions without an
/// argument, and unknown ones, stand as they are written. Widths, precisions and length modifiers work; `*` does not.
std::string CFFormat(std::string_view format, const CFFormatArguments& arguments);

/// \return the formatted text, or null where the format is null or the platform fails ("CFStringCreateWithFormat")
Ref<CFString> CFStringCreateWithFormatAndArguments(CFString* format, const CFFormatArguments& arguments);

template <class... Arguments> Ref<CFString> CFStringCreateWithFormat(CFString* format, const Arguments&... arguments)
{
    return CFStringCreateWithFormatAndArguments(format, CFFormatArguments { CFFormatArgument(arguments)... });
}

/// The number of 16-bit characters that the text has.
inline CFIndex CFStringGetLength(CFString* string)
{
    CFIndex length = 0;
    for (const auto character : textOf(string)) {
        const auto byte = static_cast<unsigned char>(character);
        if ((byte & 0xC0) != 0x80)
            length += byte >= 0xF0 ? 2 : 1;
    }
    return length;
}
