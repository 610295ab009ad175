#include "Tovrin09/LTCCamWindow/NXRolloverTextFieldRevealFolder.h"

#include "Platform/AppKit/NSWorkspace.h"

NS_IMPLEMENTATION(NXRolloverTextFieldRevealFolder, NXRolloverTextField)
{
    type.key("representedFolderURL", &NXRolloverTextFieldRevealFolder::representedFolderURL);
}

void NXRolloverTextFieldRevealFolder::setRepresentedFolderURL(NSObject* url)
{
    const NSKeyValueChange change(this, "representedFolderURL");
    mRepresentedFolder = kindOf<NSURL>(url);
}

void NXRolloverTextFieldRevealFolder::mouseDown(NSEvent* event)
{
    if (rolloverConditionsMet() && mRepresentedFolder)
        NSWorkspace::sharedWorkspace()->activateFileViewerSelectingURLs(
            CFArray::create({ mRepresentedFolder.get() }).get());
    NXRolloverTextField::mouseDown(event);
}
