#pragma once

#include "Platform/AppKit/NSOpenGLPixelFormat.h"

#include <atomic>
#include <memory>

class NSOpenGLSurface;
class NSView;

using NSOpenGLContextParameter = std::int32_t;
/// How many of the display's frames a flush waits for at least.
inline constexpr NSOpenGLContextParameter NSOpenGLContextParameterSwapInterval = 222;

/// A context of OpenGL as an object, for drawing into memory: into what the user binds, or into a view.
///
/// Of one thread at a time; the main one for a context with a view.
class NSOpenGLContext : public NSObject {
    NS_OBJECT(NSOpenGLContext)
public:
    /// \param share  not supported: null
    /// \return null without a format and when the driver gives no context
    static Ref<NSOpenGLContext> initWithFormat_shareContext(NSOpenGLPixelFormat* format, NSOpenGLContext* share);

    explicit NSOpenGLContext(Ref<CGLContext> context);
    ~NSOpenGLContext() override;
    CGLContext* CGLContextObj() const noexcept { return mContext; }

    /// The view that the context draws into, held weakly; null when it draws into none.
    NSView* view() const;
    void setView(NSView* view);
    /// Makes this the context of the calling thread. With a view, what is drawn from then on goes into a surface of the
    /// view's size in pixels of the screen, whose origin is at the bottom left. The surface is new, transparent and has
    /// the whole of itself as viewport when the size changed or the context was lost; otherwise it keeps what it has.
    /// A context that the driver refuses is not made current.
    void makeCurrentContext();
    /// Makes what was drawn the contents of the view's layer. Does nothing without a view, and when the driver or the
    /// memory fails: the view keeps the picture that it has. After a context that was lost the view is drawn again.
    /// The fail point "NSOpenGLContext.flushBuffer" stands for a driver that fails.
    void flushBuffer();

    /// Only the swap interval is known. A flushed picture shows with one of the display's frames whatever it is.
    void setValues_forParameter(const std::int32_t* values, NSOpenGLContextParameter parameter);
    /// Leaves \p values alone for a parameter that is not known.
    void getValues_forParameter(std::int32_t* values, NSOpenGLContextParameter parameter) const;

private:
    const Ref<CGLContext> mContext;
    WeakRef<NSView> mView;
    std::unique_ptr<NSOpenGLSurface> mSurface; ///< made by the first drawing into a view
    std::int32_t mSwapInterval = 0;
};
