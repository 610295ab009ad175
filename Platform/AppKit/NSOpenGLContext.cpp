#include "Platform/AppKit/NSOpenGLContext.h"

NS_IMPLEMENTATION(NSOpenGLContext, NSObject) { }

Ref<NSOpenGLContext> NSOpenGLContext::initWithFormat_shareContext(NSOpenGLPixelFormat* format, NSOpenGLContext* share)
{
    Ref<CGLContext> context;
    if (!format
        || CGLCreateContext(format->CGLPixelFormatObj(), share ? share->CGLContextObj() : nullptr, &context)
            != kCGLNoError)
        return nullptr;
    return make<NSOpenGLContext>(std::move(context));
}
