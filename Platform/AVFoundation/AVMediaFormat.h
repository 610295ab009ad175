#pragma once

#include "Platform/CoreFoundation/CFString.h"

/// What a stream carries. The constants are compared by address as well as by text.
using AVMediaType = CFString*;

inline CFString* const AVMediaTypeVideo = CFSTR("vide");
inline CFString* const AVMediaTypeAudio = CFSTR("soun");
inline CFString* const AVMediaTypeMuxed = CFSTR("muxx");
