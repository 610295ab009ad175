#include "Tovrin09/LTCCamWindow/NXRolloverTextField.h"

NS_IMPLEMENTATION(NXRolloverTextField, NSTextField)
{
    type.key("rolloverConditionsMet", &NXRolloverTextField::rolloverConditionsMet);
    type.dependentKey("rolloverConditionsMet", { "stringValue" });
}

void NXRolloverTextField::mouseEntered(NSEvent* /*event*/)
{
    setPointerInside(true);
}

void NXRolloverTextField::mouseExited(NSEvent* /*event*/)
{
    setPointerInside(false);
}

bool NXRolloverTextField::hasValidStringValue() const
{
    return CFStringGetLength(stringValue()) > 0;
}

void NXRolloverTextField::setPointerInside(bool inside)
{
    if (inside == mPointerInside)
        return;
    const NSKeyValueChange change(this, "rolloverConditionsMet");
    mPointerInside = inside;
    setNeedsDisplay(true);
}
