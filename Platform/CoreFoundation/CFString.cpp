#include "Platform/CoreFoundation/CFString.h"

#include "Platform/CoreFoundation/CFStringEncoding.h"
#include "Platform/CoreFoundation/FailPoint.h"

#include <cstdio>
#include <mutex>
#include <optional>
#include <unordered_map>

CFTypeID CFString::typeID() const noexcept
{
    return CFStringGetTypeID();
}

bool CFString::isEqual(CFType* other)
{
    const auto* const string = dynamic_cast<CFString*>(other);
    return string && string->mText == mText;
}

CFHashCode CFString::hash()
{
    return std::hash<std::string>()(mText);
}

CFString* CFString::stringWithUTF8String(const char* text)
{
    if (FAIL_POINT("stringWithUTF8String"))
        return nullptr;
    return autorelease(CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8));
}

CFString* CFSTR(std::string_view text)
{
    struct Constants {
        std::mutex lock;
        std::unordered_map<std::string_view, CFString*> strings;
    };
    static Constants* const constants = std::make_unique<Constants>().release();
    const std::lock_guard guard(constants->lock);
    if (const auto found = constants->strings.find(text); found != constants->strings.end())
        return found->second;
    auto made = CFString::create(text);
    made->makeImmortal();
    CFString* const string = made.leak();
    constants->strings.emplace(string->string(), string);
    return string;
}

namespace {

/// One conversion of a format, taken apart.
struct Conversion {
    std::string flags; ///< flags, width and precision as written
    char letter = 0;
    std::size_t length = 0; ///< bytes of the format that it takes, the percent sign included
};

std::optional<Conversion> parseConversion(std::string_view text)
{
    Conversion conversion;
    std::size_t at = 1;
    while (at < text.size() && std::string_view("-+ #0123456789.'").find(text[at]) != std::string_view::npos)
        conversion.flags += text[at++];
    while (at < text.size() && std::string_view("hlqjzt").find(text[at]) != std::string_view::npos)
        ++at;
    if (at >= text.size() || std::string_view("@sdiuoxXcpfFeEgG").find(text[at]) == std::string_view::npos)
        return std::nullopt;
    conversion.letter = text[at];
    conversion.length = at + 1;
    return conversion;
}

template <class T> std::string printed(const std::string& format, T value)
{
    const int size = std::snprintf(nullptr, 0, format.c_str(), value);
    if (size < 0)
        return {};
    std::string text(static_cast<std::size_t>(size) + 1, '\0');
    std::snprintf(text.data(), text.size(), format.c_str(), value);
    text.pop_back();
    return text;
}

std::uint64_t asInteger(const CFFormatArgument::Value& value)
{
    if (const auto* const number = std::get_if<std::int64_t>(&value))
        return static_cast<std::uint64_t>(*number);
    if (const auto* const number = std::get_if<std::uint64_t>(&value))
        return *number;
    if (const auto* const number = std::get_if<double>(&value))
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(*number));
    if (const auto* const object = std::get_if<CFType*>(&value))
        return reinterpret_cast<std::uintptr_t>(*object);
    return reinterpret_cast<std::uintptr_t>(std::get<const char*>(value));
}

double asDouble(const CFFormatArgument::Value& value)
{
    if (const auto* const number = std::get_if<double>(&value))
        return *number;
    return static_cast<double>(static_cast<std::int64_t>(asInteger(value)));
}

std::string asText(const CFFormatArgument::Value& value)
{
    if (const auto* const object = std::get_if<CFType*>(&value))
        return *object ? (*object)->description() : "(null)";
    if (const auto* const text = std::get_if<const char*>(&value))
        return *text ? *text : "(null)";
    return {};
}

/// Arguments narrower than 64 bits arrive widened; unsigned conversions of negative ones print their low 32 bits, as
/// the C library does for an `int`.
std::string formatted(const Conversion& conversion, bool isLong, const CFFormatArgument::Value& value)
{
    const std::string start = "%" + conversion.flags;
    switch (conversion.letter) {
    case '@':
    case 's':
        // Plain texts go through whole, with what zero characters they have.
        return conversion.flags.empty() ? asText(value) : printed(start + 's', asText(value).c_str());
    case 'd':
    case 'i':
        return printed(start + "lld",
            isLong ? static_cast<long long>(asInteger(value))
                   : static_cast<long long>(static_cast<int>(asInteger(value))));
    case 'c':
        return printed(start + 'c', static_cast<int>(asInteger(value)));
    case 'p':
        return printed(start + 'p', reinterpret_cast<void*>(asInteger(value)));
    case 'u':
    case 'o':
    case 'x':
    case 'X':
        return printed(start + "ll" + conversion.letter,
            isLong ? static_cast<unsigned long long>(asInteger(value))
                   : static_cast<unsigned long long>(static_cast<unsigned>(asInteger(value))));
    default:
        return printed(start + conversion.letter, asDouble(value));
    }
}

}

std::string CFFormat(std::string_view format, const CFFormatArguments& arguments)
{
    std::string result;
    std::size_t next = 0;
    while (!format.empty()) {
        const auto percent = format.find('%');
        result += format.substr(0, percent);
        if (percent == std::string_view::npos)
            break;
        format.remove_prefix(percent);
        if (format.starts_with("%%")) {
            result += '%';
            format.remove_prefix(2);
            continue;
        }
        const auto conversion = parseConversion(format);
        if (!conversion || next >= arguments.size()) {
            result += '%';
            format.remove_prefix(1);
            continue;
        }
        const auto written = format.substr(0, conversion->length);
        const bool isLong = written.find_first_of("lqjzt") != std::string_view::npos;
        result += formatted(*conversion, isLong, arguments[next++].value());
        format.remove_prefix(conversion->length);
    }
    return result;
}

Ref<CFString> CFStringCreateWithFormatAndArguments(CFString* format, const CFFormatArguments& arguments)
{
    if (!format || FAIL_POINT("CFStringCreateWithFormat"))
        return nullptr;
    return CFString::create(CFFormat(format->string(), arguments));
}
