#pragma once

#include "Platform/CoreFoundation/CFString.h"

/// Strings as bytes in other encodings.

using CFStringEncoding = std::uint32_t;
inline constexpr CFStringEncoding kCFStringEncodingASCII = 0x0600;
inline constexpr CFStringEncoding kCFStringEncodingUTF8 = 0x08000100;

struct CFRange {
    CFIndex location = 0; ///< in 16-bit characters
    CFIndex length = 0;
};

/// Whether \p bytes are well-formed UTF-8: no stray, missing or overlong bytes, no surrogates, nothing above U+10FFFF.
bool CFStringIsUTF8(std::string_view bytes);

/// A string of a C string. Null for null, for an encoding that is not known and for bytes that the encoding does not
/// have.
Ref<CFString> CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding);

/// The most bytes that \p length characters can take; -1 (kCFNotFound) for an encoding that is not known.
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);

/// Writes the characters of \p range that fit whole into \p maximum bytes.
///
/// \param lossByte  written for a character that the encoding does not have; 0: stop there instead
/// \param buffer  may be null, to count only
/// \param used  receives the number of bytes, if it is not null
/// \return how many characters were converted; 0 where the platform fails ("CFStringGetBytes")
CFIndex CFStringGetBytes(CFString* string, CFRange range, CFStringEncoding encoding, unsigned char lossByte,
    bool isExternalRepresentation, char* buffer, CFIndex maximum, CFIndex* used);
