#pragma once

#include "Platform/AppKit/NSColor.h"
#include "Platform/AppKit/NSDragging.h"
#include "Platform/AppKit/NSView.h"
#include "Platform/Foundation/NSNotification.h"

class NSWindow;

inline CFString* const NSWindowWillCloseNotification = CFSTR("NSWindowWillCloseNotification");

class NSWindowDelegate {
public:
    virtual ~NSWindowDelegate() = default;
    /// The window is about to close, by its close button or by `close`.
    virtual void windowWillClose(NSNotification* /*notification*/) { }
};

/// What a window asks of the element that stands for it on the screen.
class NSWindowHost {
public:
    virtual ~NSWindowHost() = default;
    virtual void windowOrderFront(bool makeKey) = 0;
    virtual void windowOrderOut() = 0;
    virtual bool windowIsVisible() = 0;
    virtual bool windowIsKey() = 0;
    virtual void windowContentViewChanged() = 0;
    virtual void windowAppearanceChanged() = 0;
};

/// A window of the screen; interface files make them. Main thread.
class NSWindow : public NSObject {
    NS_OBJECT(NSWindow)
public:
    NSWindow();
    ~NSWindow() override;

    CFString* title() const { return mTitle; }
    void setTitle(CFString* title);
    NSView* contentView() const { return mContentView; }
    /// The view fills the window from now on; the one before leaves it.
    void setContentView(NSView* view);
    NSObject* delegate() const;
    void setDelegate(NSObject* delegate) { mDelegate = delegate; }

    /// What may be dragged over the window; the delegate, where it is an `NSDraggingDestination`, then hears of it. Of
    /// the types, `NSPasteboardTypeFileURL` is known; without it nothing is.
    void registerForDraggedTypes(CFArray* types);
    CFArray* registeredDraggedTypes() const { return mDraggedTypes; }

    bool isVisible() const;
    bool isKeyWindow() const;
    void orderFront(NSObject* sender);
    void orderOut(NSObject* sender);
    void makeKeyAndOrderFront(NSObject* sender);
    /// Tells the delegate and the observers of `NSWindowWillCloseNotification`, then takes the window off the screen.
    void close();
    /// What the close button does.
    void performClose(NSObject* sender);

    NSColor* backgroundColor() const { return mBackgroundColor; }
    void setBackgroundColor(NSColor* color);
    double alphaValue() const { return mAlphaValue; }
    void setAlphaValue(double alpha);
    bool isOpaque() const { return mOpaque; }
    void setOpaque(bool opaque) { mOpaque = opaque; }
    bool hasShadow() const { return mHasShadow; }
    void setHasShadow(bool hasShadow) { mHasShadow = hasShadow; }
    bool isMovableByWindowBackground() const { return mMovableByWindowBackground; }
    void setMovableByWindowBackground(bool movable) { mMovableByWindowBackground = movable; }

    // For the element that stands for the window: each asks the delegate, if it has the operation.
    NSDragOperation draggingEntered(NSDraggingInfo* sender);
    void draggingExited(NSDraggingInfo* sender);
    bool performDragOperation(NSDraggingInfo* sender);
    NSWindowHost* host() const { return mHost; }
    void setHost(NSWindowHost* host) { mHost = host; }

private:
    NSDraggingDestination* destinationFor(SEL selector, Ref<NSObject>* delegate) const;

    NSWindowHost* mHost = nullptr;
    Ref<CFString> mTitle = CFSTR("");
    Ref<NSView> mContentView;
    WeakRef<NSObject> mDelegate;
    Ref<CFArray> mDraggedTypes = make<CFArray>();
    Ref<NSColor> mBackgroundColor;
    double mAlphaValue = 1;
    bool mOpaque = true;
    bool mHasShadow = true;
    bool mMovableByWindowBackground = false;
    bool mClosing = false;
};

/// A window of less weight beside the main one.
class NSPanel : public NSWindow {
    NS_OBJECT(NSPanel)
};
