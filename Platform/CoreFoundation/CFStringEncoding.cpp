#include "Platform/CoreFoundation/CFStringEncoding.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <algorithm>

namespace {

/// Bytes of UTF-8 that the character takes which starts with \p first.
std::size_t bytesOfCharacter(char first)
{
    const auto byte = static_cast<unsigned char>(first);
    return byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding)
{
    switch (encoding) {
    case kCFStringEncodingASCII:
        return length;
    case kCFStringEncodingUTF8:
        return length * 3;
    default:
        return -1;
    }
}

CFIndex CFStringGetBytes(CFString* string, CFRange range, CFStringEncoding encoding, unsigned char lossByte,
    bool /*isExternalRepresentation*/, char* buffer, CFIndex maximum, CFIndex* used)
{
    CFIndex converted = 0;
    CFIndex written = 0;
    CFIndex position = 0;
    auto text = textOf(string);
    if (FAIL_POINT("CFStringGetBytes"))
        text = {};
    while (!text.empty() && position < range.location + range.length) {
        const auto character = text.substr(0, bytesOfCharacter(text.front()));
        const CFIndex units = character.size() == 4 ? 2 : 1;
        text.remove_prefix(character.size());
        position += units;
        if (position <= range.location)
            continue;
        const char loss[] { static_cast<char>(lossByte) };
        const bool isLost = encoding == kCFStringEncodingASCII && character.size() > 1;
        if (isLost && !lossByte)
            break;
        const auto bytes = isLost ? std::string_view(loss, 1) : character;
        if (buffer && written + static_cast<CFIndex>(bytes.size()) > maximum)
            break;
        if (buffer)
            std::ranges::copy(bytes, buffer + written);
        written += static_cast<CFIndex>(bytes.size());
        converted += units;
    }
    if (used)
        *used = written;
    return converted;
}
