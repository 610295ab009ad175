#pragma once

#include "Platform/CoreFoundation/CFString.h"

/// The text forms of four-character codes. The first character is the most significant byte.

/// What strings of the host gain: `stringWithFourCharCode:` as a message of the class.
struct NSString_FourCharCodeConversion {
    /// "[OK]" for 0, the four characters where all are printable, else the code in decimal with its sign. The string is
    /// kept by the innermost pool.
    static NSString* stringWithFourCharCode(FourCharCode code);
};

/// Writes "'noErr'" for 0, the four characters between single quotes where all are printable, else the code in
/// hexadecimal.
///
/// \param buffer  at least 13 bytes
/// \return \p buffer
char* FourCharCodeString_Construct(char* buffer, FourCharCode code);

/// The four byte values as characters, whatever they are: always of length 4. Kept by the innermost pool.
NSString* NSSStringFromFourCharCode(FourCharCode code);
