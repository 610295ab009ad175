#include "Platform/AppKit/NSView.h"

#include "Platform/AppKit/NSWindow.h"

NS_IMPLEMENTATION(NSView, NSObject)
{
    type.message("setNeedsDisplay:", &NSView::setNeedsDisplay);
    type.message("mouseDown:", &NSView::mouseDown);
    type.message("mouseUp:", &NSView::mouseUp);
    type.message("mouseMoved:", &NSView::mouseMoved);
    type.message("mouseDragged:", &NSView::mouseDragged);
    type.message("mouseEntered:", &NSView::mouseEntered);
    type.message("mouseExited:", &NSView::mouseExited);
    type.key("hidden", &NSView::isHidden, &NSView::setHidden);
    type.key("layer", &NSView::layer, &NSView::setLayer);
    type.key("toolTip", &NSView::toolTip, &NSView::setToolTip);
    type.key("window", &NSView::window);
}

NSView::NSView() = default;

NSView::NSView(NSRect frame)
    : mFrame(frame)
{
}

NSView::~NSView() = default;

void NSView::setFrameOrigin(NSPoint origin)
{
    if (origin == mFrame.origin)
        return;
    mFrame.origin = origin;
    if (mHost)
        mHost->viewFrameRequested(mFrame);
}

void NSView::setFrameSize(NSSize size)
{
    if (size == mFrame.size)
        return;
    mFrame.size = size;
    if (mHost)
        mHost->viewFrameRequested(mFrame);
}

void NSView::setFrame(NSRect frame)
{
    setFrameOrigin(frame.origin);
    setFrameSize(frame.size);
}

CALayer* NSView::layer() const
{
    Ref<CALayer> layer;
    {
        const std::lock_guard lock(mLock);
        layer = mLayer;
    }
    return autorelease(std::move(layer));
}

void NSView::setLayer(CALayer* layer)
{
    Ref<CALayer> replaced(layer);
    {
        const std::lock_guard lock(mLock);
        std::swap(replaced, mLayer);
    }
    if (mHost)
        mHost->viewLayerChanged();
}

void NSView::setWantsLayer(bool wantsLayer)
{
    mWantsLayer = wantsLayer;
    if (wantsLayer && !layer())
        setLayer(CALayer::layer());
}

void NSView::setNeedsDisplay(bool needsDisplay)
{
    if (!needsDisplay)
        return;
    if (auto* const shown = layer())
        shown->setNeedsDisplay();
}

void NSView::setHidden(bool hidden)
{
    if (hidden == mHidden)
        return;
    const NSKeyValueChange change(this, "hidden");
    mHidden = hidden;
    if (mHost)
        mHost->viewVisibilityChanged();
}

void NSView::setToolTip(CFString* toolTip)
{
    const NSKeyValueChange change(this, "toolTip");
    mToolTip = toolTip;
    if (mHost)
        mHost->viewToolTipChanged();
}

NSWindow* NSView::window() const
{
    return mHost ? mHost->viewWindow() : nullptr;
}

void NSView::viewWillMoveToWindow(NSWindow* /*window*/) { }

NSPoint NSView::convertPoint_fromView(NSPoint point, NSView* view)
{
    if (view == this || !mHost)
        return point;
    if (!view)
        return mHost->viewPointFromWindow(point);
    if (!view->mHost)
        return point;
    // The other view's place in the window is where the window's origin does not lie in it.
    const auto origin = view->mHost->viewPointFromWindow({});
    return mHost->viewPointFromWindow({ point.x - origin.x, point.y - origin.y });
}

NSRect NSView::convertRectToBacking(NSRect rect) const
{
    const auto scale = mHost ? mHost->viewBackingScale() : 1.0;
    return { { rect.origin.x * scale, rect.origin.y * scale }, { rect.size.width * scale, rect.size.height * scale } };
}

bool NSView::acceptsFirstMouse(NSEvent* /*event*/)
{
    return false;
}

void NSView::mouseDown(NSEvent* /*event*/) { }
void NSView::mouseUp(NSEvent* /*event*/) { }
void NSView::mouseMoved(NSEvent* /*event*/) { }
void NSView::mouseDragged(NSEvent* /*event*/) { }
void NSView::mouseEntered(NSEvent* /*event*/) { }
void NSView::mouseExited(NSEvent* /*event*/) { }

void NSView::setHost(NSViewHost* host)
{
    mHost = host;
}

void NSView::setInLiveResize(bool inLiveResize)
{
    if (inLiveResize == mInLiveResize)
        return;
    mInLiveResize = inLiveResize;
    if (inLiveResize)
        viewWillStartLiveResize();
    else
        viewDidEndLiveResize();
}
