#pragma once

#include "Platform/AppKit/NSTextField.h"

/// A line of text that lights up while the pointer is over it, unless it is empty. Main thread.
///
/// Key `rolloverConditionsMet`: whether it is lit now.
class NXRolloverTextField : public NSTextField {
    NS_OBJECT(NXRolloverTextField)
public:
    void mouseEntered(NSEvent* event) override;
    void mouseExited(NSEvent* event) override;
    bool hasValidStringValue() const;
    bool rolloverConditionsMet() const { return mPointerInside && hasValidStringValue(); }

private:
    void setPointerInside(bool inside);
    bool mPointerInside = false;
};
