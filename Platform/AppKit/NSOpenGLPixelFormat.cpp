#include "Platform/AppKit/NSOpenGLPixelFormat.h"

#include "Platform/CoreFoundation/FailPoint.h"

NS_IMPLEMENTATION(NSOpenGLPixelFormat, NSObject) { }

Ref<NSOpenGLPixelFormat> NSOpenGLPixelFormat::initWithAttributes(const NSOpenGLPixelFormatAttribute* attributes)
{
    Ref<CGLPixelFormat> format;
    if (FAIL_POINT("NSOpenGLPixelFormat.initWithAttributes:")
        || CGLChoosePixelFormat(attributes, &format, nullptr) != kCGLNoError)
        return nullptr;
    return make<NSOpenGLPixelFormat>(std::move(format));
}
