#pragma once

#include "Platform/CoreImage/CIContext.h"

class NSOpenGLContext;
class NSOpenGLPixelFormat;

/// What renders images for a delegate. A delegate asks for the optional two only after a test that they are answered.
class AVCaptureAcceleratedContextProtocol {
public:
    virtual CGColorSpaceRef rendererColorSpace() = 0;
    virtual CIContext* rendererCIContext() = 0;
    virtual NSObject* delegate() = 0;
    virtual void setDelegate(NSObject* delegate) = 0;
    /// Optional, as the next.
    virtual NSOpenGLContext* rendererGLContext() { return nullptr; }
    virtual NSOpenGLPixelFormat* rendererGLPixelFormat() { return nullptr; }

protected:
    ~AVCaptureAcceleratedContextProtocol() = default;
};
