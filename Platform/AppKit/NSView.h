#pragma once

#include "Platform/AppKit/NSEvent.h"
#include "Platform/CoreGraphics/CGGeometry.h"
#include "Platform/Foundation/NSObject.h"
#include "Platform/QuartzCore/CALayer.h"

class NSWindow;
class NSView;

/// What a view asks of the element of the interface that stands for it on the screen.
class NSViewHost {
public:
    virtual ~NSViewHost() = default;
    virtual void viewNeedsDisplay() = 0;
    virtual void viewLayerChanged() = 0;
    virtual void viewVisibilityChanged() = 0;
    virtual void viewToolTipChanged() = 0;
    virtual void viewFrameRequested(NSRect frame) = 0;
    virtual NSWindow* viewWindow() = 0;
    virtual NSPoint viewPointFromWindow(NSPoint point) = 0;
    /// Pixels of the screen to a point.
    virtual CGFloat viewBackingScale() = 0;
    /// The view is about to draw with a context of its own on the main thread, which the screen's must leave free.
    virtual void viewWillDraw() = 0;
};

/// A rectangle of a window. Interface files make views by class name; a subclass shows a picture by the contents of
/// its layer, and gets the mouse.
///
/// Coordinates are points from the view's bottom left corner. Everything is for the main thread, except
/// `setNeedsDisplay` and `layer`.
class NSView : public NSObject {
    NS_OBJECT(NSView)
public:
    NSView();
    /// \param frame  where the view lies in its superview, in points
    explicit NSView(NSRect frame);
    ~NSView() override;

    NSRect frame() const { return mFrame; }
    NSRect bounds() const { return { {}, mFrame.size }; }
    virtual void setFrameOrigin(NSPoint origin);
    /// Also called by the screen when the view's size changes there.
    virtual void setFrameSize(NSSize size);
    void setFrame(NSRect frame);
    /// True between the start and the end of the user's drag at the window's edge.
    bool inLiveResize() const { return mInLiveResize; }

    /// The layer that the view shows, kept by the innermost pool; null when it has none.
    CALayer* layer() const;
    void setLayer(CALayer* layer);
    bool wantsLayer() const { return mWantsLayer; }
    /// A view without a layer gets one of its own when it first wants one.
    void setWantsLayer(bool wantsLayer);
    long layerContentsRedrawPolicy() const { return mLayerContentsRedrawPolicy; }
    void setLayerContentsRedrawPolicy(long policy) { mLayerContentsRedrawPolicy = policy; }

    /// Asks for a redraw; may be called from any thread. Subclasses that render on their own override it.
    virtual void setNeedsDisplay(bool needsDisplay);
    virtual bool isOpaque() { return false; }
    bool isHidden() const { return mHidden; }
    void setHidden(bool hidden);
    CFString* toolTip() const { return mToolTip; }
    void setToolTip(CFString* toolTip);

    /// Null while the view is in none.
    NSWindow* window() const;
    virtual void viewWillMoveToWindow(NSWindow* window);
    virtual void viewDidMoveToWindow() { }
    virtual void viewWillStartLiveResize() { }
    virtual void viewDidEndLiveResize() { }
    /// \param view  null: \p point is in the window's coordinates
    NSPoint convertPoint_fromView(NSPoint point, NSView* view);
    /// \p rect in pixels of the screen that the view is on; as it is while the view is on none.
    NSRect convertRectToBacking(NSRect rect) const;
    /// The screen under the view has another scale now.
    virtual void viewDidChangeBackingProperties() { }

    virtual bool acceptsFirstResponder() { return false; }
    /// Whether the click that brings the window to the front is also given to the view.
    virtual bool acceptsFirstMouse(NSEvent* event);
    virtual void mouseDown(NSEvent* event);
    virtual void mouseUp(NSEvent* event);
    virtual void mouseMoved(NSEvent* event);
    virtual void mouseDragged(NSEvent* event);
    virtual void mouseEntered(NSEvent* event);
    virtual void mouseExited(NSEvent* event);

    /// The resource URL of a QML component that draws the view's insides, such as
    /// "qrc:/CoreLattice/LTCCompositionPickerView.qml"; empty for a view that only shows its layer.
    ///
    /// The component's root is an item with `required property var view`, which it may give as the `object` of a
    /// `KeyBinding` and as the `target` of an `ActionLink`. It fills the view and lies above its layer.
    virtual std::string interfaceComponent() { return {}; }

    /// For the element that stands for the view.
    NSViewHost* host() const { return mHost; }
    void setHost(NSViewHost* host);
    void setInLiveResize(bool inLiveResize);

private:
    mutable std::mutex mLock;
    Ref<CALayer> mLayer;
    NSRect mFrame;
    NSViewHost* mHost = nullptr;
    Ref<CFString> mToolTip;
    long mLayerContentsRedrawPolicy = 0;
    bool mWantsLayer = false;
    bool mHidden = false;
    bool mInLiveResize = false;
};
