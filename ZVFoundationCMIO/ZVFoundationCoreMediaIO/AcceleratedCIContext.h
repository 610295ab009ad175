#pragma once

#include "Platform/CoreImage/CIContext.h"

namespace ZVCMIO {

/// An offscreen context of OpenGL with its image context in sRGB, complete or invalid from the start: a step that fails
/// writes its line, and the next one is tried all the same. Guarded by its owner's lock.
class AcceleratedCIContext {
public:
    AcceleratedCIContext();
    ~AcceleratedCIContext();
    AcceleratedCIContext(const AcceleratedCIContext&) = delete;
    AcceleratedCIContext& operator=(const AcceleratedCIContext&) = delete;

    static CFDictionary* CIContextOptionsDictionary();
    CGColorSpaceRef rendererColorSpace() const { return mColorSpace; }
    /// Null while the context is not valid; kept by the innermost pool.
    CIContext* rendererCIContext() const { return autorelease(mCIContext); }
    bool IsValid() const;

private:
    Ref<CGLPixelFormat> mCGLPixelFormat;
    Ref<CGLContext> mCGLContextObj;
    Ref<CGColorSpace> mColorSpace;
    Ref<CIContext> mCIContext;
};

}
