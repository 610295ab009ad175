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

/// How many bytes the well-formed character at the start of \p bytes takes; 0 where there is none.
std::size_t wellFormedLength(std::string_view bytes)
{
    const auto at = [bytes](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
    const auto first = at(0);
    if (first < 0x80)
        return 1;
    // 0xC0 and 0xC1 would start overlong forms; from 0xF5 on the character would be too large.
    if (first < 0xC2 || first > 0xF4)
        return 0;
    const auto length = bytesOfCharacter(bytes[0]);
    if (bytes.size() < length)
        return 0;
    const unsigned char lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned char highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (at(1) < lowest || at(1) > highest)
        return 0;
    for (std::size_t index = 2; index < length; ++index) {
        if ((at(index) & 0xC0) != 0x80)
            return 0;
    }
    return length;
}

}

bool CFStringIsUTF8(std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto length = wellFormedLength(bytes);
        if (length == 0)
            return false;
        bytes.remove_prefix(length);
    }
    return true;
}

Ref<CFString> CFStringCreateWithCString(CFAllocatorRef /*allocator*/, const char* text, CFStringEncoding encoding)
{
    if (!text)
        return nullptr;
    const std::string_view bytes(text);
    const bool isASCII = std::ranges::all_of(bytes, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
    if (isASCII ? encoding != kCFStringEncodingASCII && encoding != kCFStringEncodingUTF8
                : encoding != kCFStringEncodingUTF8 || !CFStringIsUTF8(bytes))
        return nullptr;
    return CFString::create(bytes);
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
