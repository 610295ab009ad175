#pragma once

#include "Platform/CoreFoundation/CFReadStream.h"

enum CFPropertyListMutabilityOptions : unsigned { kCFPropertyListImmutable = 0 };

/// Reads a property list in its XML form, in UTF-8: dictionaries, lists, strings, integers, reals, truth values and
/// data. Dates are given as the strings that they are written as.
///
/// What the list owns is immortal where it is a string, so that a string released once too often does no harm.
///
/// \param streamLength  how many bytes to read; 0 for all
/// \param format  where the frameworks tell the form; left alone
/// \param error  receives, if it is not null, a string that says what is wrong and at which byte
/// \return null for a stream that does not hold a property list, and where the platform fails
/// ("CFPropertyListCreateWithStream")
Ref<CFType> CFPropertyListCreateWithStream(CFAllocatorRef allocator, CFReadStream* stream, CFIndex streamLength,
    CFPropertyListMutabilityOptions options, CFIndex* format, Ref<CFType>* error);
