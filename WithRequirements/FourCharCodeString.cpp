#include "WithRequirements/FourCharCodeString.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>

namespace {

std::array<unsigned char, 4> bytesOf(FourCharCode code)
{
    return { static_cast<unsigned char>(code >> 24), static_cast<unsigned char>(code >> 16),
        static_cast<unsigned char>(code >> 8), static_cast<unsigned char>(code) };
}

/// High byte first, stopping at the first failure.
bool isPrintable(const std::array<unsigned char, 4>& bytes)
{
    return std::ranges::all_of(bytes, [](unsigned char byte) { return std::isprint(byte) != 0; });
}

constexpr std::size_t sConstructedSize = 13;

}

NSString* NSString_FourCharCodeConversion::stringWithFourCharCode(FourCharCode code)
{
    if (code == 0)
        return autorelease(CFString::create("[OK]"));
    const auto bytes = bytesOf(code);
    if (isPrintable(bytes))
        return autorelease(CFString::create(std::string(bytes.begin(), bytes.end())));
    return autorelease(CFStringCreateWithFormat(CFSTR("%d"), static_cast<std::int32_t>(code)));
}

char* FourCharCodeString_Construct(char* buffer, FourCharCode code)
{
    const auto bytes = bytesOf(code);
    if (code == 0)
        std::snprintf(buffer, sConstructedSize, "'noErr'");
    else if (isPrintable(bytes))
        std::snprintf(buffer, sConstructedSize, "'%c%c%c%c'", bytes[0], bytes[1], bytes[2], bytes[3]);
    else
        std::snprintf(buffer, sConstructedSize, "%04x", code);
    return buffer;
}

NSString* NSSStringFromFourCharCode(FourCharCode code)
{
    std::string text;
    for (const auto byte : bytesOf(code)) {
        // Each byte is widened to the character of that number; those beyond ASCII take two bytes of UTF-8.
        if (byte < 0x80) {
            text += static_cast<char>(byte);
        } else {
            text += static_cast<char>(0xC0 | byte >> 6);
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return autorelease(CFString::create(text));
}
