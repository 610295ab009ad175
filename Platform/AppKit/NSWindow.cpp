#include "Platform/AppKit/NSWindow.h"

NS_IMPLEMENTATION(NSWindow, NSObject)
{
    type.message("orderFront:", &NSWindow::orderFront);
    type.message("orderOut:", &NSWindow::orderOut);
    type.message("makeKeyAndOrderFront:", &NSWindow::makeKeyAndOrderFront);
    type.message("performClose:", &NSWindow::performClose);
    type.message("close", &NSWindow::close);
    type.key("title", &NSWindow::title, &NSWindow::setTitle);
    type.key("visible", &NSWindow::isVisible);
    type.outlet("delegate", &NSWindow::delegate, &NSWindow::setDelegate);
    type.outlet("contentView", &NSWindow::contentView, &NSWindow::setContentView);
}

NS_IMPLEMENTATION(NSPanel, NSWindow) { }

NSWindow::NSWindow() = default;
NSWindow::~NSWindow() = default;

void NSWindow::setTitle(CFString* title)
{
    const NSKeyValueChange change(this, "title");
    mTitle = title ? title : CFSTR("");
    if (mHost)
        mHost->windowAppearanceChanged();
}

void NSWindow::setContentView(NSView* view)
{
    if (view == mContentView.get())
        return;
    mContentView = view;
    if (mHost)
        mHost->windowContentViewChanged();
}

NSObject* NSWindow::delegate() const
{
    return autorelease(mDelegate.strongReference());
}

void NSWindow::registerForDraggedTypes(CFArray* types)
{
    mDraggedTypes = types ? types : autorelease(make<CFArray>());
}

/// Null when nobody wants to hear of it; \p delegate keeps it.
NSDraggingDestination* NSWindow::destinationFor(SEL selector, Ref<NSObject>* delegate) const
{
    *delegate = mDelegate.strongReference();
    const bool isAsked = *delegate && mDraggedTypes->containsObject(NSPasteboardTypeFileURL)
        && (*delegate)->respondsToSelector(selector);
    return isAsked ? kindOf<NSDraggingDestination>(*delegate) : nullptr;
}

NSDragOperation NSWindow::draggingEntered(NSDraggingInfo* sender)
{
    Ref<NSObject> delegate;
    auto* const destination = destinationFor("draggingEntered:", &delegate);
    return destination ? destination->draggingEntered(sender) : NSDragOperationNone;
}

void NSWindow::draggingExited(NSDraggingInfo* sender)
{
    Ref<NSObject> delegate;
    if (auto* const destination = destinationFor("draggingExited:", &delegate))
        destination->draggingExited(sender);
}

bool NSWindow::performDragOperation(NSDraggingInfo* sender)
{
    Ref<NSObject> delegate;
    auto* const destination = destinationFor("performDragOperation:", &delegate);
    return destination && destination->performDragOperation(sender);
}

bool NSWindow::isVisible() const
{
    return mHost && mHost->windowIsVisible();
}

bool NSWindow::isKeyWindow() const
{
    return mHost && mHost->windowIsKey();
}

void NSWindow::orderFront(NSObject* /*sender*/)
{
    if (mHost)
        mHost->windowOrderFront(false);
}

void NSWindow::orderOut(NSObject* /*sender*/)
{
    if (mHost)
        mHost->windowOrderOut();
}

void NSWindow::makeKeyAndOrderFront(NSObject* /*sender*/)
{
    if (mHost)
        mHost->windowOrderFront(true);
}

void NSWindow::close()
{
    // A delegate that reacts by closing the window, or by ending the program, gets back here once only.
    if (mClosing)
        return;
    mClosing = true;
    const auto keepAlive = Ref<NSWindow>(this);
    const auto notification = make<NSNotification>(NSWindowWillCloseNotification, this, nullptr);
    const auto object = mDelegate.strongReference();
    if (auto* const told = kindOf<NSWindowDelegate>(object); told && object->respondsToSelector("windowWillClose:"))
        told->windowWillClose(notification);
    NSNotificationCenter::defaultCenter()->postNotificationName_object(NSWindowWillCloseNotification, this);
    orderOut(this);
    mClosing = false;
}

void NSWindow::performClose(NSObject* /*sender*/)
{
    close();
}

void NSWindow::setBackgroundColor(NSColor* color)
{
    mBackgroundColor = color;
    if (mHost)
        mHost->windowAppearanceChanged();
}

void NSWindow::setAlphaValue(double alpha)
{
    mAlphaValue = alpha;
    if (mHost)
        mHost->windowAppearanceChanged();
}
