#pragma once

#include "Platform/Foundation/NSURL.h"
#include "Tovrin09/LTCCamWindow/NXRolloverTextField.h"

/// A line of text that stands for a folder: a click while it is lit shows the folder in the file manager. Main thread.
class NXRolloverTextFieldRevealFolder : public NXRolloverTextField {
    NS_OBJECT(NXRolloverTextFieldRevealFolder)
public:
    NSURL* representedFolderURL() const { return mRepresentedFolder; }
    /// Anything but an `NSURL` clears it.
    void setRepresentedFolderURL(NSObject* url);
    void mouseDown(NSEvent* event) override;

private:
    Ref<NSURL> mRepresentedFolder;
};
