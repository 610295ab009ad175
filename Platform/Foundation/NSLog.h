#pragma once

#include "Platform/CoreFoundation/CFString.h"

/// Writes a line to standard error with date, time, program and thread before the text, in one write.
void NSLogArguments(CFString* format, const CFFormatArguments& arguments);

template <class... Arguments> void NSLog(CFString* format, const Arguments&... arguments)
{
    NSLogArguments(format, CFFormatArguments { CFFormatArgument(arguments)... });
}
