#pragma once

#include "Platform/AppKit/NSOpenGLPixelFormat.h"

/// A context of OpenGL as an object, for drawing into memory.
class NSOpenGLContext : public NSObject {
    NS_OBJECT(NSOpenGLContext)
public:
    /// \param share  not supported: null
    /// \return null without a format and when the driver gives no context
    static Ref<NSOpenGLContext> initWithFormat_shareContext(NSOpenGLPixelFormat* format, NSOpenGLContext* share);

    explicit NSOpenGLContext(Ref<CGLContext> context)
        : mContext(std::move(context))
    {
    }
    CGLContext* CGLContextObj() const noexcept { return mContext; }

private:
    const Ref<CGLContext> mContext;
};
