#pragma once

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/Foundation/NSObject.h"

/// Files, as a file manager drags them.
inline CFString* const NSPasteboardTypeFileURL = CFSTR("public.file-url");

enum NSDragOperation : unsigned long {
    NSDragOperationNone = 0,
    NSDragOperationCopy = 1,
};

/// What is dragged over a window. Immutable.
class NSDraggingInfo : public NSObject {
    NS_OBJECT(NSDraggingInfo)
public:
    /// \param files  `NSURL`s
    explicit NSDraggingInfo(Ref<CFArray> files);
    CFArray* draggedFileURLs() const { return mFiles; }

private:
    const Ref<CFArray> mFiles;
};

/// What the delegate of a window is told of drags over it; all operations are optional and called on the main thread.
class NSDraggingDestination {
public:
    virtual ~NSDraggingDestination() = default;
    /// \return what a drop would do; without this operation nothing can be dropped
    virtual NSDragOperation draggingEntered(NSDraggingInfo* /*sender*/) { return NSDragOperationNone; }
    /// The drag left the window, or ended over it without a drop.
    virtual void draggingExited(NSDraggingInfo* /*sender*/) { }
    /// \return whether the drop was taken
    virtual bool performDragOperation(NSDraggingInfo* /*sender*/) { return false; }
};
