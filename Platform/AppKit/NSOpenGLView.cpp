#include "Platform/AppKit/NSOpenGLView.h"

#include "Platform/dispatch/dispatch.h"

NS_IMPLEMENTATION(NSOpenGLView, NSView)
{
    using Self = NSOpenGLView;
    type.message("pixelFormat", &Self::pixelFormat);
    type.message("openGLContext", &Self::openGLContext);
    type.message("prepareOpenGL", &Self::prepareOpenGL);
    type.message("drawRect:", &Self::drawRect);
    type.message("setWantsBestResolutionOpenGLSurface:", &Self::setWantsBestResolutionOpenGLSurface);
    type.message("setWantsExtendedDynamicRangeOpenGLSurface:", &Self::setWantsExtendedDynamicRangeOpenGLSurface);
}

NSOpenGLView::NSOpenGLView()
    : NSOpenGLView({}, nullptr)
{
}

NSOpenGLView::NSOpenGLView(NSRect frame, NSOpenGLPixelFormat* format)
    : NSView(frame)
    , mPixelFormat(format)
{
    setWantsLayer(true);
}

NSOpenGLView::~NSOpenGLView() = default;

NSOpenGLContext* NSOpenGLView::openGLContext()
{
    if (!std::exchange(mTriedContext, true)) {
        mContext = NSOpenGLContext::initWithFormat_shareContext(mPixelFormat, nullptr);
        if (mContext)
            mContext->setView(this);
    }
    return mContext;
}

void NSOpenGLView::drawRect(NSRect /*dirtyRect*/) { }

void NSOpenGLView::setNeedsDisplay(bool needsDisplay)
{
    if (!needsDisplay || mDisplayWaits.exchange(true))
        return;
    dispatch_async(dispatch_get_main_queue(), [weakSelf = WeakRef { this }] {
        if (const auto self = weakSelf.strongReference())
            self->displayIfNeeded();
    });
}

void NSOpenGLView::displayIfNeeded()
{
    if (mDisplayWaits.exchange(false))
        display();
}

void NSOpenGLView::display()
{
    const auto extent = bounds().size;
    if (extent.width <= 0 || extent.height <= 0 || !openGLContext())
        return;
    if (host())
        host()->viewWillDraw();
    const CGLContext::Use use(*mContext->CGLContextObj());
    if (!use)
        return;
    if (!std::exchange(mPrepared, true)) {
        mContext->makeCurrentContext();
        prepareOpenGL();
    }
    drawRect(bounds());
}

void NSOpenGLView::setFrameSize(NSSize size)
{
    const bool changed = size != frame().size;
    NSView::setFrameSize(size);
    if (changed)
        setNeedsDisplay(true);
}

void NSOpenGLView::viewDidMoveToWindow()
{
    NSView::viewDidMoveToWindow();
    setNeedsDisplay(true);
}

void NSOpenGLView::viewDidChangeBackingProperties()
{
    NSView::viewDidChangeBackingProperties();
    setNeedsDisplay(true);
}
