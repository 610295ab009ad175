#pragma once

#include "tests/WithRequirements/WholeLines.h"

/// What a `ZVCMIO::AcceleratedCIContext` logs while it is made, as `linesOf` gives it.
namespace AcceleratedContextLines {

inline const WholeLines whole("AcceleratedCIContext.cpp");

/// A context of OpenGL that cannot be had, for \p reason.
/// \param between  what fails between that and the context for images
inline std::string withoutContext(const std::string& reason, const std::string& between = {})
{
    return whole.source("REQUIRED_CGLERROR " + reason, "CGLCreateContext(mCGLPixelFormat,__null,&mCGLContextObj)",
               "AcceleratedCIContext")
        + whole.notNull("mCGLContextObj", "AcceleratedCIContext") + between
        + whole.notNull("inCGLContextObj", "copyCIContextWithCGLContext");
}

/// A format that cannot be had, for \p reason, and so no context either.
inline std::string withoutOpenGL(
    const std::string& reason = "10002:kCGLBadPixelFormat (10002)", const std::string& between = {})
{
    return whole.source("REQUIRED_CGLERROR " + reason,
               "CGLChoosePixelFormat(kCGLPixelFormatAttributes, &pixelFormatObj, &numberOfPixelFormats)",
               "sCreateOffscreenAcceleratedPixelFormat")
        + whole.notNull("mCGLPixelFormat = sCreateOffscreenAcceleratedPixelFormat()", "AcceleratedCIContext")
        + withoutContext("10002:kCGLBadPixelFormat (10002)", between);
}

}
