#pragma once

#include "Platform/AppKit/NSOpenGLContext.h"
#include "Platform/AppKit/NSView.h"

/// A view that is drawn with OpenGL, in a context of its own, and shown as its layer's contents.
///
/// What is drawn goes into memory; `flushBuffer` of the context makes a picture of it, which is shown until the next.
/// The surface has as many pixels as the screen has under the view. It is drawn after `setNeedsDisplay`, when its size
/// or the screen's scale changes, and when its context was lost, once for however many of these. Main thread.
class NSOpenGLView : public NSView {
    NS_OBJECT(NSOpenGLView)
public:
    NSOpenGLView();
    /// \param format  what the context is made with; null for a view that cannot draw
    NSOpenGLView(NSRect frame, NSOpenGLPixelFormat* format);
    ~NSOpenGLView() override;

    NSOpenGLPixelFormat* pixelFormat() const { return mPixelFormat; }
    /// Made when it is first asked for; null without a format and when the driver gives none.
    NSOpenGLContext* openGLContext();

    /// Called once, before the first drawing, with the context current.
    virtual void prepareOpenGL() { }
    /// Draws the view. The context is current and what is drawn shows after its `flushBuffer`.
    virtual void drawRect(NSRect dirtyRect);
    /// May be called from any thread.
    void setNeedsDisplay(bool needsDisplay) override;
    /// Draws at once what waits to be drawn. A view without an extent or without a context draws nothing.
    ///
    /// What was current on the thread before is so again afterwards. Whoever has a context of another interface than
    /// EGL current there releases it first.
    void displayIfNeeded();

    void setFrameSize(NSSize size) override;
    void viewDidMoveToWindow() override;
    void viewDidChangeBackingProperties() override;

    /// The surface has the screen's resolution in any case.
    bool wantsBestResolutionOpenGLSurface() const { return mWantsBestResolution; }
    void setWantsBestResolutionOpenGLSurface(bool wants) { mWantsBestResolution = wants; }
    /// The surface has eight bits a colour in any case.
    bool wantsExtendedDynamicRangeOpenGLSurface() const { return mWantsExtendedDynamicRange; }
    void setWantsExtendedDynamicRangeOpenGLSurface(bool wants) { mWantsExtendedDynamicRange = wants; }

private:
    void display();

    const Ref<NSOpenGLPixelFormat> mPixelFormat;
    Ref<NSOpenGLContext> mContext;
    std::atomic<bool> mDisplayWaits = false;
    bool mTriedContext = false;
    bool mPrepared = false;
    bool mWantsBestResolution = false;
    bool mWantsExtendedDynamicRange = false;
};
