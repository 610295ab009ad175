#pragma once

#include "Platform/CoreMedia/CMTime.h"

/// The bodies of the requirement checks on the statuses of the media, video, graphics and OpenGL layers: each turns the
/// code into the name of the constant that is published for it and writes its line with the location of the check.
///
/// The first three add a second line through `__OSStatusRequiredBody`. Like that one, all but `__GLRequiredBody` show
/// the function's name before the colon and the file in the parentheses. A code without a name prints as
/// "statusValue=%d".

void __CoreMediaOSStatusRequiredBody(
    OSStatus status, const char* function, const char* file, int line, const char* source);
void __VideoToolboxRequiredBody(OSStatus status, const char* function, const char* file, int line, const char* source);
void __CoreMediaIOStatusRequiredBody(
    OSStatus status, const char* function, const char* file, int line, const char* source);
void __CoreVideoRequiredBody(OSStatus status, const char* function, const char* file, int line, const char* source);
void __CoreGraphicsCGErrorRequiredBody(
    OSStatus status, const char* function, const char* file, int line, const char* source);
void __CGLErrorRequiredBody(OSStatus status, const char* function, const char* file, int line, const char* source);
/// \param error  what the OpenGL layer's error query gave
void __GLRequiredBody(std::int32_t error, const char* file, const char* function, int line);

/// A trace of one time value, no requirement. \p ignored is not used.
void __CoreMediaCMTimeLogMessage(
    const char* path, const char* function, int line, const CMTime& time, const char* ignored, const char* label);
