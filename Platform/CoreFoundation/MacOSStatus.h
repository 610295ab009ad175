#pragma once

#include "Platform/CoreFoundation/CFType.h"

/// Words for a status code, from a table. They never fail and never return null; what they return lives for the whole
/// process. From any thread.

/// The symbolic name of \p status, such as "paramErr"; "unknownErr" for a code that the table does not have.
const char* GetMacOSStatusErrorString(OSStatus status);
/// What \p status means, in a few words.
const char* GetMacOSStatusCommentString(OSStatus status);
