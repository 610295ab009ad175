#pragma once

#include "Platform/CoreFoundation/CFType.h"

/// The bodies of the requirement checks on conditions, statuses, values and dispatch objects: each writes the line of a
/// check that failed and returns. The wrappers of Requirements.h hold the tests.
///
/// Status bodies take the function before the file and store them so: their lines show the function's name before the
/// colon and the file in the parentheses, where the others show the file before the colon.

void __CFRequiredBody(const char* file, const char* function, int line, const char* source);
void __OSStatusRequiredBody(OSStatus status, const char* function, const char* file, int line, const char* source);
void __CFRequiredNotCFNullBody(const void* value, const char* file, const char* function, int line, const char* source);
void __CFRequiredTypeOfBody(const char* tag, CFTypeRef object, CFTypeID expected, const char* file,
    const char* function, int line, const char* source);
/// The tag is never printed: the word in the line is fixed.
void __DispatchRequiredBody(
    const char* tag, const void* value, const char* file, const char* function, int line, const char* source);
void __BlockPtrRequiredBody(
    const char* tag, const void* value, const char* file, const char* function, int line, const char* source);
