#pragma once

#include "Platform/Foundation/NSObject.h"

/// The null object, fetched once when the program is loaded, so that a test against it is one comparison of pointers.
extern NSNull* NSRequiredNotNSNullCachedValue;

/// Load-time step 1; see LoadTimeInitialisers.h.
void NSRequiredNotNSNullCachedValueConstructor();

namespace requiredCpp {

/// The tests of those checks that take more than a comparison.
bool isKindOfClass(CFTypeRef object, Class required);
bool delegateRespondsToSelector(CFTypeRef object, SEL selector);

}

/// The bodies of the requirement checks on objects with messages. Each writes one line and returns.

void __NSRequiredNSErrorNilBody(CFTypeRef error, const char* file, const char* function, int line, const char* source);
void __NSRequiredNotNilBody(CFTypeRef object, const char* file, const char* function, int line, const char* source);
void __NSRequiredKindOfClassBody(const char* tag, CFTypeRef object, Class required, const char* file,
    const char* function, int line, const char* source);
/// Reads the object's delegate for the line, if the object answers `delegate`.
void __NSRequiredDelegateSelectorBody(const char* tag, CFTypeRef object, SEL selector, const char* file,
    const char* function, int line, const char* source);
/// Takes the function before the file, yet its line has the file before the colon.
void __NSRequiredNoExceptionBody(
    const NSException& exception, const char* function, const char* file, int line, const char* source);
