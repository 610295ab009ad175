#pragma once

#include "Platform/Foundation/NSObject.h"
#include "Platform/OpenGL/CGL.h"

using NSOpenGLPixelFormatAttribute = CGLPixelFormatAttribute;
inline constexpr NSOpenGLPixelFormatAttribute NSOpenGLPFADoubleBuffer = kCGLPFADoubleBuffer;
inline constexpr NSOpenGLPixelFormatAttribute NSOpenGLPFAColorSize = kCGLPFAColorSize;
inline constexpr NSOpenGLPixelFormatAttribute NSOpenGLPFAAlphaSize = kCGLPFAAlphaSize;
inline constexpr NSOpenGLPixelFormatAttribute NSOpenGLPFADepthSize = kCGLPFADepthSize;
inline constexpr NSOpenGLPixelFormatAttribute NSOpenGLPFASampleBuffers = kCGLPFASampleBuffers;
inline constexpr NSOpenGLPixelFormatAttribute NSOpenGLPFASamples = kCGLPFASamples;
inline constexpr NSOpenGLPixelFormatAttribute NSOpenGLPFAMultisample = kCGLPFAMultisample;
inline constexpr NSOpenGLPixelFormatAttribute NSOpenGLPFANoRecovery = kCGLPFANoRecovery;
inline constexpr NSOpenGLPixelFormatAttribute NSOpenGLPFAAccelerated = kCGLPFAAccelerated;

/// A pixel format as an object. Unchanging; any thread may use it.
class NSOpenGLPixelFormat : public NSObject {
    NS_OBJECT(NSOpenGLPixelFormat)
public:
    /// \param attributes  a list that ends with 0
    /// \return null when the machine has no such format, and at the fail points of `CGLChoosePixelFormat`; the fail
    ///         point "NSOpenGLPixelFormat.initWithAttributes:" refuses too
    static Ref<NSOpenGLPixelFormat> initWithAttributes(const NSOpenGLPixelFormatAttribute* attributes);

    explicit NSOpenGLPixelFormat(Ref<CGLPixelFormat> format)
        : mFormat(std::move(format))
    {
    }
    CGLPixelFormat* CGLPixelFormatObj() const noexcept { return mFormat; }

private:
    const Ref<CGLPixelFormat> mFormat;
};
