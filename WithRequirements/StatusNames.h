#pragma once

#include "Platform/CoreFoundation/CFType.h"

/// The names of the constants that the platform publishes for its status codes, each kind with a table of its own. Null
/// for a code that the table does not have; 0 has a name in some. From any thread.
namespace StatusNames {

const char* coreMedia(OSStatus status);
const char* videoToolbox(OSStatus status);
const char* coreVideo(OSStatus status);
const char* coreMediaIO(OSStatus status);
const char* coreGraphics(OSStatus status);
const char* cgl(OSStatus status);
/// A text for an OpenGL error, "GL_NO_ERROR" for every code that it has none for; never null.
const char* openGL(std::int32_t error);

}
